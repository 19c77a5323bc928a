// SPDX-License-Identifier: GPL-3.0-or-later
// murho/catalogue.h: the files of named things, "materials.dat" and "lines.dat".
//
// One line each: fields between "|", the first of them one or more names, set off by blanks. Empty
// lines, and lines that begin with "#", are ignored. A file of that name in the working directory
// adds to the shipped one; its names come first.
#pragma once

#include <string_view>

#include "base/infile.h"

constexpr const char* materialtable = "materials.dat";  // names | composition | g/cm3 | what it is
constexpr const char* linetable = "lines.dat";          // names | keV | what it is

/// True if two names differ at most in capitals, "-" and "_".
bool alike(std::string_view a, std::string_view b);

/// A catalogue while it is being read.
struct catalogue {
    const char* filename;
    infile file;
    int opened = 0;  // files: the user's own, then the shipped one
    text<600> line;  // the entry read last

    explicit catalogue(const char* name) : filename(name) {}

    /// Reads the next entry; false at the end of both files.
    bool next();
    /// Field k of the entry, from 1, without blanks around it; empty if there is none.
    std::string_view field(int k) const;
    /// Reads on to the entry that has this name.
    bool find(std::string_view wanted);
    /// The first name that differs from `wanted` in capitals, "-" and "_" only; empty if there is
    /// none. It is part of the entry read last.
    std::string_view similar(std::string_view wanted);
};
