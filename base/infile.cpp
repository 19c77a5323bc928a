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

bool infile::open(const char* filename)
{
    close();
    needed = false;
    if (std::snprintf(name, sizeof name, "%s", filename) >= int{sizeof name}) {
        errno = ENAMETOOLONG;
        return false;
    }
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
    char path[PATH_MAX];
    if (!shipped) {
        needed = open(filename);
    } else if (std::snprintf(path, sizeof path, "%s/%s", directory, filename) < int{sizeof path}) {
        needed = open(path);
    } else {
        errno = ENAMETOOLONG;
    }
    if (needed) return;
    const int error = errno;
    if (!shipped) directory = getcwd(path, sizeof path);
    const bool hint = error == ENOENT && !shipped;
    stop("%s: cannot be read in %s: %s%s", filename, directory ? directory : "this directory",
         std::strerror(error), hint ? "; use ./run, or start in data/" : "");
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

// Looks for the line among those that lie whole in the block before `end`, and goes on after the
// name if it is there, else to `end`.
bool infile::findline(std::string_view wanted, std::size_t end)
{
    const std::string_view lines(block, end);
    for (std::size_t i = at; (i = lines.find(wanted, i + 1)) < end;) {
        // Column 1 may hold any character, but there must be one: not the end of an empty line.
        const bool begins = (i == at + 1 || block[i - 2] == '\n') && block[i - 1] != '\n';
        if (!begins) continue;
        at = i + wanted.size();
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
    char bytes[4096];
    long lines = 0;
    bool inside = false;  // a line has begun that did not end yet
    for (std::size_t place = 0; place < start + at;) {
        const ssize_t count =
            pread(fd, bytes, std::min(sizeof bytes, start + at - place), static_cast<off_t>(place));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        lines += std::count(bytes, bytes + count, '\n');
        inside = bytes[count - 1] != '\n';
        place += static_cast<std::size_t>(count);
    }
    return lines + inside;
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
