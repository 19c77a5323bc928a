// SPDX-License-Identifier: GPL-3.0-or-later
// base/infile.h: the reader of the data files.
#pragma once

#include <climits>
#include <string_view>

#include "base/field.h"

/// A data file, read line by line in one pass. The file is closed at the end of this value's life.
struct infile {
    char name[PATH_MAX + 1];  // of the file that was really opened, for messages

    infile() { name[0] = '\0'; }
    infile(const infile&) = delete;
    infile& operator=(const infile&) = delete;
    ~infile() { close(); }

    /// Opens a file for reading from its start, after closing the one before; a file in `directory`
    /// unless that is empty. Only a regular file is opened, so that no pipe or device can hold up
    /// the program. False, with the reason in `errno`, if that fails.
    bool open(const char* filename, const char* directory = "");

    /// The same for a table that the program cannot do without: ends the program on failure, also
    /// where reading it fails later on. A table that is not in the working directory is read from
    /// the directory that the environment variable ATTENUATION_DATA names, if it is set; with
    /// `own` false only from there.
    void opentable(const char* filename, bool own = true);

    void close();

    /// Goes back to the first line.
    void rewind() { start = at = filled = 0; }

    /// Reads the next line into a text, cut or blank-padded; the rest of a longer line is dropped,
    /// and so is a carriage return at its end. False at the end of the file, or where reading a
    /// file other than a table fails.
    bool next(std::span<char> record);

    /// Reads on up to a line that has `wanted` from column 2 on, as calls of `next` would, but without
    /// looking at every line: the twelve heaviest elements would take six times the instructions.
    /// `wanted` is a name: no line end in it, no blank at its end. False at the end of the file.
    bool nextwith(std::string_view wanted);

    /// Number of the line read last, from 1; counted in the file anew, for messages.
    long lineno() const;

private:
    int fd = -1;
    bool needed = false;             // opened as a table: a read error is fatal
    std::size_t start = 0;           // place of the block in the file
    std::size_t at = 0, filled = 0;  // next byte of the block, and its end
    char block[16384];               // of the sizes tried the one that makes a dialogue shortest

    bool fill();
};

/// Ends the program over the line of a table read last: "file: line 26: " and the message.
[[noreturn]] void stopat(const infile& table, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
