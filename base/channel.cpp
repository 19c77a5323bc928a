// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/channel.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

std::FILE* scriptstream = nullptr;  // channel 10

char collected[32768];  // output: what is written already, then what is not; room for any menu
std::size_t ncollected = 0;
// Atomic, because a signal handler uses them.
std::atomic<std::size_t> nwritten = 0;
std::atomic<std::size_t> keptfrom = 0;  // what is shown again after a stop begins here
std::atomic<bool> again = false;        // it has been shown

int heldbyte = -1;   // of standard input, read ahead after a carriage return
long taken = 0;      // bytes of standard input handed out
bool ended = false;  // at the last read

const text<132> blank132;
const text<132> dash132{
    "------------------------------------------------------------------"
    "------------------------------------------------------------------"};

std::FILE* script()
{
    if (scriptstream == nullptr) stop("the script file is not connected");
    return scriptstream;
}

// Whether a read or write that failed is to be tried again: after a signal, and, where another
// program has left the stream non-blocking, as soon as it is ready.
bool tryagain(int fd, short event)
{
    if (errno == EINTR) return true;
    if (errno != EAGAIN) return false;
    pollfd ready{fd, event, 0};
    poll(&ready, 1, -1);
    return true;
}

// Writes out all, and keeps nothing of it.
void emptyoutput()
{
    flushoutput();
    keptfrom = nwritten = ncollected = 0;
}

// Reads one byte; -1 at the end of input.
int rawbyte()
{
    unsigned char c = 0;
    ssize_t count = 0;
    do {
        count = read(STDIN_FILENO, &c, 1);
    } while (count < 0 && tryagain(STDIN_FILENO, POLLIN));
    return count == 1 ? c : -1;
}

}  // namespace

void openchannels()
{
    const auto isopen = [](int fd) { return fcntl(fd, F_GETFD) >= 0; };
    // What is opened takes the lowest number that is free, so in ascending order.
    if (!isopen(STDIN_FILENO)) open("/dev/null", O_RDONLY);
    if (!isopen(STDOUT_FILENO)) stop("standard output is closed");
    if (!isopen(STDERR_FILENO)) open("/dev/null", O_WRONLY);
}

bool tryflush()
{
    while (nwritten < ncollected) {
        const ssize_t count = write(STDOUT_FILENO, collected + nwritten, ncollected - nwritten);
        if (count > 0) nwritten += static_cast<std::size_t>(count);
        else if (!tryagain(STDOUT_FILENO, POLLOUT)) break;
    }
    const bool all = nwritten == ncollected;
    nwritten = ncollected;
    return all;
}

void flushoutput()
{
    if (tryflush()) return;
    if (errno == EPIPE) std::_Exit(EXIT_FAILURE);  // the reader has gone: nobody to tell
    stop("standard output cannot be written: %s", std::strerror(errno));
}

void keepfromhere()
{
    if (ncollected > sizeof collected / 2) emptyoutput();
    keptfrom = ncollected;
}

void showkept()
{
    const std::size_t from = keptfrom, to = nwritten;
    pollfd ready{STDOUT_FILENO, POLLOUT, 0};  // not where Ctrl-S holds it: the handler would wait
    if (from < to && tcgetpgrp(STDOUT_FILENO) == getpgrp() && poll(&ready, 1, 0) > 0) {
        [[maybe_unused]] const ssize_t count = write(STDOUT_FILENO, collected + from, to - from);
        again = true;
    }
}

bool shownagain() { return again.exchange(false); }

void connectscript(std::FILE* stream) { scriptstream = stream; }

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
    if (part.size() > sizeof collected - ncollected) emptyoutput();
    ncollected += part.copy(collected + ncollected, sizeof collected - ncollected);
}

void writerecord(int unit, std::initializer_list<std::string_view> parts)
{
    for (const std::string_view part : parts) writepart(unit, part);
    writepart(unit, "\n");
}

std::string_view blanks(int n) { return blank132(1, std::clamp(n, 0, 132)); }

std::string_view dashes(int n) { return dash132(1, std::clamp(n, 0, 132)); }
