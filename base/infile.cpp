// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/infile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

bool infile::open(const char* filename, const char* directory)
{
    close();
    needed = false;
    // A path too long for `name` is cut there to one that is too long for the system, too.
    std::snprintf(name, sizeof name, "%s%s%s", directory, *directory != '\0' ? "/" : "", filename);
    // Without waiting for a writer if the name turns out to be a named pipe.
    fd = ::open(name, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return false;
    struct stat found = {};
    if (fstat(fd, &found) == 0 && S_ISREG(found.st_mode)) return true;
    close();
    errno = S_ISDIR(found.st_mode) ? EISDIR : EINVAL;
    return false;
}

void infile::opentable(const char* filename, bool own)
{
    // What is in the working directory counts, even where it cannot be read: a link to nowhere too.
    struct stat found = {};
    const char* directory = std::getenv("ATTENUATION_DATA");
    const bool shipped =
        directory != nullptr && *directory != '\0' && (!own || lstat(filename, &found) != 0);
    needed = open(filename, shipped ? directory : "");
    if (needed) return;
    const int error = errno;
    char path[PATH_MAX];
    if (!shipped) directory = getcwd(path, sizeof path);
    const bool hint = error == ENOENT && !shipped;
    stop("%s: cannot be read in %.*s: %s%s", filename, PATH_MAX,
         directory ? directory : "this directory",
         error == EINVAL ? "not a regular file" : std::strerror(error),
         hint ? "; use ./run, or start in data/" : "");
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
    if (count < 0 && needed) stop("%s: read error: %s", name, std::strerror(errno));
    if (count > 0) filled = static_cast<std::size_t>(count);
    return count > 0;
}

bool infile::next(std::span<char> record)
{
    return fillrecord(record, [this] {
        if (at == filled && !fill()) return std::string_view();
        const std::string_view rest(block + at, filled - at);
        const std::string_view part =  // up to and with the line feed, or all
            rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
        at += part.size();
        return part;
    });
}

bool infile::nextwith(std::string_view wanted)
{
    text<132> line;
    bool any = true, found = false;
    while (any && !found) {
        // Passed over: all lines before the one that has the name somewhere, or is not whole yet.
        const std::string_view rest(block + at, filled - at);
        at += rest.substr(0, rest.find(wanted)).rfind('\n') + 1;  // npos + 1 is 0
        any = next(line);
        found = any && line(2, 132).starts_with(wanted);
    }
    return found;
}

long infile::lineno() const
{
    infile again;
    again.fd = fd;  // `pread` does not move it
    text<1> line;
    long lines = 0;
    while (again.start + again.at < start + at && again.next(line)) ++lines;
    again.fd = -1;  // or it would be closed
    return lines;
}

void stopat(const infile& table, const char* format, ...)
{
    char message[400];
    va_list values;
    va_start(values, format);
    std::vsnprintf(message, sizeof message, format, values);
    va_end(values);
    stop("%s: line %ld: %s", table.name, table.lineno(), message);
}
