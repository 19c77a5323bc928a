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

// A line on its way into columns 1..n: collects what fits and pads the rest.
struct linefield {
    char* to;
    std::size_t n;
    std::size_t length = 0;  // of the whole line, also beyond column n

    void add(std::string_view part)
    {
        if (length < n) part.copy(to + length, n - length);
        length += part.size();
    }
    void finish()
    {
        if (length > 0 && length <= n && to[length - 1] == '\r') --length;
        if (length < n) std::memset(to + length, ' ', n - length);
    }
};

}  // namespace

void openchannels()
{
    const auto isopen = [](int fd) {
        struct stat found {};
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

bool writeout()
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
    if (ncollected == 0 || writeout()) return;
    if (errno == EPIPE) std::_Exit(EXIT_FAILURE);  // the reader has gone: nobody to tell
    stop("standard output cannot be written: %s", std::strerror(errno));
}

void connectscript(std::FILE* stream) { scriptstream = stream; }

namespace {

// Reads one byte; -1 at the end of input.
int readbyte()
{
    unsigned char c = 0;
    for (;;) {
        const ssize_t count = read(STDIN_FILENO, &c, 1);
        if (count == 1) return c;
        if (count == 0 || (errno != EINTR && errno != EAGAIN)) return -1;
        if (errno == EAGAIN) await(STDIN_FILENO, POLLIN);
    }
}

int heldbyte = -1;  // read while looking behind a carriage return
long taken = 0;     // bytes handed out

}  // namespace

int inputbyte()
{
    flushoutput();
    int c = heldbyte >= 0 ? heldbyte : readbyte();
    heldbyte = -1;
    if (c == '\r' && !isatty(STDIN_FILENO)) {
        const int next = readbyte();
        if (next == '\n') c = next;
        else heldbyte = next;
    }
    ended = c < 0;
    if (!ended) ++taken;
    return c;
}

long inputcount() { return taken; }

bool inputended() { return ended; }

void noteinputend(bool end) { ended = end; }

bool readrecord(int unit, char* to, int n)
{
    const auto nextbyte = [unit] { return unit == nscript ? std::getc(script()) : inputbyte(); };
    linefield line{to, static_cast<std::size_t>(n)};
    int c = nextbyte();
    const bool any = c >= 0;
    for (; c >= 0 && c != '\n'; c = nextbyte()) {
        const char byte = static_cast<char>(c);
        line.add({&byte, 1});
    }
    line.finish();
    return any;
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

bool infile::open(const char* filename)
{
    close();
    needed = false;
    name = filename;
    // Without waiting for a writer if the name turns out to be a named pipe.
    fd = ::open(filename, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return false;
    struct stat found {};
    if (fstat(fd, &found) == 0 && S_ISREG(found.st_mode)) return true;
    close();
    errno = S_ISDIR(found.st_mode) ? EISDIR : EINVAL;
    return false;
}

void infile::opentable(const char* filename)
{
    needed = open(filename);
    if (needed) return;
    const int error = errno;
    char room[256];
    const char* const directory = getcwd(room, sizeof room);
    stop("%s: cannot be read in %s: %s%s", filename, directory ? directory : "this directory",
         std::strerror(error), error == ENOENT ? "; start ./run, or start in data/" : "");
}

void infile::close()
{
    if (fd >= 0) ::close(fd);
    fd = -1;
    rewind();
}

// Reads the next block. False at the end of the file, and where reading fails if the program can do
// without the rest.
bool infile::fill()
{
    start += filled;
    at = filled = 0;
    ssize_t count = 0;
    do {
        count = pread(fd, block, sizeof block, static_cast<off_t>(start));
    } while (count < 0 && errno == EINTR);
    if (count < 0 && needed) stop("%s: cannot be read on: %s", name, std::strerror(errno));
    if (count > 0) filled = static_cast<std::size_t>(count);
    return count > 0;
}

bool infile::next(char* to, int n)
{
    linefield line{to, static_cast<std::size_t>(n)};
    bool any = false, whole = false;
    while (!whole && (at < filled || fill())) {
        const std::string_view rest(block + at, filled - at);
        const std::size_t count = std::min(rest.find('\n'), rest.size());
        whole = count < rest.size();
        line.add(rest.substr(0, count));
        at += count + (whole ? 1 : 0);
        any = true;
    }
    line.finish();
    return any;
}

// Looks for the line among those that lie whole in the block before `end`, and goes on behind the
// name if it is there, else to `end`.
bool infile::findline(std::string_view wanted, std::size_t end)
{
    // Numbers are full of "E" and "D"; a name that begins so is looked for by its second letter.
    const std::size_t letter = wanted.size() > 1 && (wanted[0] == 'E' || wanted[0] == 'D') ? 1 : 0;
    const std::string_view lines(block, end);
    for (std::size_t i = at; (i = lines.find(wanted[letter], i)) < end; ++i) {
        if (i <= at + letter) continue;
        const std::size_t first = i - letter - 1;  // where the line would begin
        // Column 1 may hold any character, but there must be one: not the end of an empty line.
        const bool begins = (first == at || block[first - 1] == '\n') && block[first] != '\n';
        const std::string_view rest(block + first + 1, end - first - 1);
        if (!begins || !rest.starts_with(wanted)) continue;
        at = first + 1 + wanted.size();
        return true;
    }
    at = end;
    return false;
}

bool infile::nextwith(std::string_view wanted)
{
    text<132> line;
    if (wanted.empty()) return next(line);
    while (at < filled || fill()) {
        const std::size_t last = std::string_view(block, filled).rfind('\n');
        if (last != std::string_view::npos && last >= at && findline(wanted, last + 1)) {
            return next(line);
        }
        // What is left of the block is the beginning of a line that goes on in the next one.
        if (next(line) && line(2, 132).starts_with(wanted)) return true;
    }
    return false;
}

long infile::lineno() const
{
    infile again;  // on the file itself, which may have lost its name
    again.fd = fd;
    text<1> line;
    long lines = 0;
    while (again.start + again.at < start + at && again.next(line)) ++lines;
    again.fd = -1;
    return lines;
}
