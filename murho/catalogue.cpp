// SPDX-License-Identifier: GPL-3.0-or-later
#include "murho/catalogue.h"

#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace {

// True where the working directory is that of the shipped files.
bool isshipped(const char* name)
{
    const char* const directory = std::getenv("ATTENUATION_DATA");
    char path[PATH_MAX];
    struct stat own = {}, shipped = {};
    std::snprintf(path, sizeof path, "%s/%s", directory ? directory : ".", name);
    return stat(name, &own) == 0 && stat(path, &shipped) == 0 && own.st_ino == shipped.st_ino &&
           own.st_dev == shipped.st_dev;
}

// Opens the next of the two files. The shipped one has to be there.
void opennext(catalogue& c)
{
    struct stat found = {};
    if (++c.opened == 1 && (lstat(c.filename, &found) != 0 || isshipped(c.filename))) ++c.opened;
    if (c.opened <= 2) c.file.opentable(c.filename, c.opened == 1);
}

// Item k of a text, from 1, its items set off by a character.
std::string_view item(std::string_view from, int k, char separator)
{
    for (; k > 1 && !from.empty(); --k) {
        from = without(from, std::min(from.find(separator), from.size()) + 1);
    }
    return from.substr(0, from.find(separator));
}

// Takes the first of the names from the front.
std::string_view nextname(std::string_view& names)
{
    const std::string_view name = names.substr(0, names.find(' '));
    names = stripped(without(names, name.size()));
    return name;
}

// Reads on to the entry with a name that is the same as another one, and returns it; empty if there
// is none.
std::string_view findname(catalogue& c, std::string_view wanted,
                          bool (*same)(std::string_view, std::string_view))
{
    while (c.next()) {
        for (std::string_view names = c.field(1); !names.empty();) {
            if (const std::string_view name = nextname(names); same(name, wanted)) return name;
        }
    }
    return {};
}

}  // namespace

bool alike(std::string_view a, std::string_view b)
{
    const auto skip = [](std::string_view& s) {
        while (s.starts_with('-') || s.starts_with('_')) s.remove_prefix(1);
    };
    const auto small = [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; };
    for (;; a.remove_prefix(1), b.remove_prefix(1)) {
        skip(a);
        skip(b);
        if (a.empty() || b.empty()) return a.empty() && b.empty();
        if (small(a[0]) != small(b[0])) return false;
    }
}

bool catalogue::next()
{
    if (opened == 0) opennext(*this);
    while (opened <= 2) {
        if (!file.next(line)) {
            opennext(*this);
        } else if (line(1) != '#' && (line(1) != ' ' || !line.blank())) {
            if (line(600) != ' ') stopat(file, "a line of more than 599 characters");
            for (std::size_t i; (i = line.all().find('\t')) != std::string_view::npos;)
                line.ch[i] = ' ';
            if (field(2).empty()) stopat(file, "expected names, \"|\" and what they are");
            return true;
        }
    }
    return false;
}

std::string_view catalogue::field(int k) const { return stripped(item(line.all(), k, '|')); }

bool catalogue::find(std::string_view wanted)
{
    const auto equal = [](std::string_view a, std::string_view b) { return a == b; };
    return !findname(*this, wanted, equal).empty();
}

std::string_view catalogue::similar(std::string_view wanted)
{
    return findname(*this, wanted, alike);
}
