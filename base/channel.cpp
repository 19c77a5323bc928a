// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/channel.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

bool ended = false;                 // standard input, at the last read
std::FILE* scriptstream = nullptr;  // channel 10

const text<132> blank132;
const text<132> dash132{
    "------------------------------------------------------------------"
    "------------------------------------------------------------------"};

std::FILE* script()
{
    if (scriptstream == nullptr) stop("the script file is not connected");
    return scriptstream;
}

}  // namespace

void openchannels()
{
    const auto isopen = [](int fd) {
        struct stat found = {};
        return fstat(fd, &found) == 0;
    };
    // What is opened takes the lowest number that is free, so in ascending order.
    if (!isopen(STDIN_FILENO)) open("/dev/null", O_RDONLY);
    if (!isopen(STDOUT_FILENO)) stop("standard output is closed");
    if (!isopen(STDERR_FILENO)) open("/dev/null", O_WRONLY);
}

namespace {

char collected[4096];  // output not yet written
std::size_t ncollected = 0;

// Waits until a stream that another program has left non-blocking is ready.
void await(int fd, short event)
{
    pollfd ready{fd, event, 0};
    poll(&ready, 1, -1);
}

}  // namespace

bool tryflush()
{
    std::size_t written = 0;
    while (written < ncollected) {
        const ssize_t count = write(STDOUT_FILENO, collected + written, ncollected - written);
        if (count > 0) written += static_cast<std::size_t>(count);
        else if (errno == EAGAIN) await(STDOUT_FILENO, POLLOUT);
        else if (errno != EINTR) break;
    }
    const bool all = written == ncollected;
    ncollected = 0;
    return all;
}

void flushoutput()
{
    if (ncollected == 0 || tryflush()) return;
    if (errno == EPIPE) std::_Exit(EXIT_FAILURE);  // the reader has gone: nobody to tell
    stop("standard output cannot be written: %s", std::strerror(errno));
}

void connectscript(std::FILE* stream) { scriptstream = stream; }

namespace {

// Reads one byte; -1 at the end of input.
int rawbyte()
{
    unsigned char c = 0;
    for (;;) {
        const ssize_t count = read(STDIN_FILENO, &c, 1);
        if (count == 1) return c;
        if (count == 0 || (errno != EINTR && errno != EAGAIN)) return -1;
        if (errno == EAGAIN) await(STDIN_FILENO, POLLIN);
    }
}

int heldbyte = -1;  // read while looking after a carriage return
long taken = 0;     // bytes handed out

}  // namespace

int inputbyte()
{
    flushoutput();
    int c = heldbyte >= 0 ? heldbyte : rawbyte();
    heldbyte = -1;
    if (c == '\r' && !isatty(STDIN_FILENO)) {
        const int next = rawbyte();
        if (next == '\n') c = next;
        else heldbyte = next;
    }
    ended = c < 0;
    if (!ended) ++taken;
    return c;
}

long inputcount() { return taken; }

bool inputended() { return ended; }

void setinputended(bool end) { ended = end; }

bool readrecord(int unit, std::span<char> record)
{
    char byte = 0;
    return fillrecord(record, [unit, &byte] {
        const int c = unit == nscript ? std::getc(script()) : inputbyte();
        byte = static_cast<char>(c);
        return std::string_view(&byte, c >= 0 ? 1 : 0);
    });
}

void writepart(int unit, std::string_view part)
{
    if (unit == nscript) {
        std::fwrite(part.data(), 1, part.size(), script());
        return;
    }
    if (part.size() > sizeof collected - ncollected) flushoutput();
    ncollected += part.copy(collected + ncollected, sizeof collected - ncollected);
}

void writerecord(int unit, std::initializer_list<std::string_view> parts)
{
    for (const std::string_view part : parts) writepart(unit, part);
    writepart(unit, "\n");
}

std::string_view blanks(int n) { return blank132(1, std::clamp(n, 0, 132)); }

std::string_view dashes(int n) { return dash132(1, std::clamp(n, 0, 132)); }
