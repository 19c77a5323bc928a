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
    int n;
    long length = 0;  // of the whole line, also beyond column n

    void add(const char* from, int count)
    {
        if (length < n) {
            const long room = n - length;
            const long used = count < room ? count : room;
            std::memcpy(to + length, from, static_cast<std::size_t>(used));
        }
        length += count;
    }
    void finish()
    {
        if (length > 0 && length <= n && to[length - 1] == '\r') --length;
        if (length < n) std::memset(to + length, ' ', static_cast<std::size_t>(n - length));
    }
};

// Reads a line byte by byte from `nextbyte`, which gives -1 at the end of the channel.
template <typename source>
bool readline(source nextbyte, char* to, int n)
{
    linefield line{to, n};
    int c = nextbyte();
    const bool any = c >= 0;
    for (; c >= 0 && c != '\n'; c = nextbyte()) {
        const char byte = static_cast<char>(c);
        line.add(&byte, 1);
    }
    line.finish();
    return any;
}

std::string_view repeated(const text<132>& of, int n)
{
    return of(1, n < 0 ? 0 : n > 132 ? 132 : n);
}

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

void collect(std::string_view part)
{
    for (std::size_t count = 0; !part.empty(); part.remove_prefix(count)) {
        if (ncollected == sizeof collected) flushoutput();
        count = std::min(part.size(), sizeof collected - ncollected);
        std::memcpy(collected + ncollected, part.data(), count);
        ncollected += count;
    }
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
    return c;
}

bool inputended() { return ended; }

void noteinputend(bool end) { ended = end; }

bool readrecord(int unit, char* to, int n)
{
    if (unit == nscript) return readline([] { return std::getc(script()); }, to, n);
    return readline(inputbyte, to, n);
}

void writepart(int unit, std::string_view part)
{
    if (unit == nscript) std::fwrite(part.data(), 1, part.size(), script());
    else collect(part);
}

void writerecord(int unit, std::initializer_list<std::string_view> parts)
{
    for (const std::string_view part : parts) writepart(unit, part);
    writepart(unit, "\n");
}

std::string_view blanks(int n) { return repeated(blank132, n); }

std::string_view dashes(int n) { return repeated(dash132, n); }

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
    start = at = filled = 0;
}

void infile::rewind()
{
    if (fd >= 0) lseek(fd, 0, SEEK_SET);
    start = at = filled = 0;
}

// Reads the next block. False at the end of the file, and where reading fails if the program can do
// without the rest.
bool infile::fill()
{
    start += filled;
    at = filled = 0;
    if (fd < 0) return false;
    ssize_t count = 0;
    do {
        count = read(fd, block, sizeof block);
    } while (count < 0 && errno == EINTR);
    if (count < 0 && needed) stop("%s: cannot be read on: %s", name, std::strerror(errno));
    if (count > 0) filled = static_cast<int>(count);
    return count > 0;
}

bool infile::next(char* to, int n)
{
    linefield line{to, n};
    bool any = false, whole = false;
    while (!whole && (at < filled || fill())) {
        const char* const from = block + at;
        const void* const end = std::memchr(from, '\n', static_cast<std::size_t>(filled - at));
        whole = end != nullptr;
        const int count =
            whole ? static_cast<int>(static_cast<const char*>(end) - from) : filled - at;
        line.add(from, count);
        at += count + (whole ? 1 : 0);
        any = true;
    }
    line.finish();
    return any;
}

// Looks for the line among those that lie whole in the block before `end`, and goes on behind the
// name if it is there, else to `end`.
bool infile::findline(std::string_view wanted, int end)
{
    // Numbers are full of "E" and "D"; a name that begins so is looked for by its second letter.
    const int letter = wanted.size() > 1 && (wanted[0] == 'E' || wanted[0] == 'D') ? 1 : 0;
    const int length = static_cast<int>(wanted.size());
    for (int i = at; i < end; ++i) {
        const void* hit = std::memchr(block + i, wanted[static_cast<std::size_t>(letter)],
                                      static_cast<std::size_t>(end - i));
        if (hit == nullptr) break;
        i = static_cast<int>(static_cast<const char*>(hit) - block);
        const int first = i - letter - 1;  // where the line would begin
        // Column 1 may hold any character, but there must be one: not the end of an empty line.
        const bool begins =
            first >= at && (first == at || block[first - 1] == '\n') && block[first] != '\n';
        if (!begins || first + 1 + length > end) continue;
        if (std::string_view(block + first + 1, wanted.size()) != wanted) continue;
        at = first + 1 + length;
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
        const void* last = memrchr(block + at, '\n', static_cast<std::size_t>(filled - at));
        const int end = last ? static_cast<int>(static_cast<const char*>(last) - block) + 1 : at;
        if (findline(wanted, end)) return next(line);
        if (at == filled) continue;
        // The last line goes on in the next block.
        if (next(line) && line(2, 132).starts_with(wanted)) return true;
    }
    return false;
}

long infile::lineno() const
{
    long lines = 0, place = 0;
    const long end = start + at;
    char last = '\n', part[4096];
    while (place < end) {
        const auto wanted = std::min(sizeof part, static_cast<std::size_t>(end - place));
        const ssize_t count = pread(fd, part, wanted, place);
        if (count <= 0) break;
        lines += std::count(part, part + count, '\n');
        last = part[count - 1];
        place += count;
    }
    return lines + (last != '\n');
}
