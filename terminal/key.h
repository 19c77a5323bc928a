// SPDX-License-Identifier: GPL-3.0-or-later
// terminal/key.h: terminal geometry, single keys, and the environment paths.
//
// The chief header of terminal/: it holds the shared records `term` and `path`. This folder alone
// knows the terminal's settings and its control sequences (terminal/escape.h).
#pragma once

#include <cstdint>

#include "base/field.h"

/// Terminal geometry. Windows are numbered 1 to 8; the program uses window 1 only, the terminal on
/// standard input. Filled by `window`; zero before.
struct terminalrecord {
    std::int32_t id1 = 0;             // carried along, not used
    std::int32_t npl = 0;             // line width in use, in characters
    dim<std::int32_t, 1, 8> ncol;     // width of window n in columns
    dim<std::int32_t, 1, 8> nrows;    // height of window n in rows
    dim<std::int32_t, 1, 8> ixpixel;  // width in pixels, 0 where the terminal does not know
    dim<std::int32_t, 1, 8> iypixel;  // height in pixels, likewise
    text<16> winfile;                 // device of a window other than 1
    std::int32_t led = 0;             // carried along, not used
};
extern terminalrecord term;

/// Environment values as `infopath` copies them: each starts at the first character of its field
/// and ends at the first NUL; a field without a NUL counts as empty.
struct pathrecord {
    dim<char, 1, 80> hepath;    // TANOHEPATH: directory of the help file
    dim<char, 1, 80> utpath;    // TANOUTPATH
    dim<char, 1, 80> term;      // TERM
    dim<char, 1, 80> editor;    // EDITOR
    dim<char, 1, 80> shell;     // SHELL
    dim<char, 1, 80> colfile;   // COLORFILE
    dim<char, 1, 132> workdir;  // PWD
};
extern pathrecord path;

/// Measures the terminal on file descriptor `fd` into entry `it` + 1 of `term` (`it` = 0..7).
/// Returns 1 when the size query succeeded, else 0. A descriptor that is not a terminal, a failing
/// query and a width of 0 give 80 columns, 24 rows and a line width `npl` of 80.
int pr_winsize(int fd, int it);

/// Measures window n (1..8; stops on any other) into `term`. For window 1 `npl` becomes its width,
/// at most 130; `ncol` keeps the full width.
void window(const std::int32_t& n);

/// Size of the terminal on standard input as it is at this moment; 24 rows and 80 columns where it
/// is not known. `term` is left alone.
void sizenow(int& rows, int& columns);

/// What `key` returns for Enter and for the cursor keys of an ANSI terminal.
constexpr int keyenter = 64, keyup = -65, keydown = -66, keyright = -67, keyleft = -68;

/// Waits for one key. Returns its character code; 64 for Enter and for "@"; for a control character
/// the negated second of the two bytes that follow it, so that cursor keys give -65 (up), -66
/// (down), -67 (right) and -68 (left); -1 at the end of input (`inputended` then holds).
/// The terminal is in key mode only during the call.
int key();

/// Notes that what is waiting in the input now has been echoed already: it was typed ahead. `key`
/// does so at its start and its end; line editing has to before it puts its settings back.
void noteahead();

/// True if input typed ahead is left, on a terminal; see terminal/escape.h.
bool moreahead();

/// True if the last key had been typed before `key` waited for it.
bool keyahead();

/// True if the end of the line just read made no line break after the output: it was typed ahead, or
/// was Ctrl-D.
bool endedinplace();

/// Copies the environment values into `path`. A value longer than its field runs on into the
/// following ones, never past the end of the record; an unset variable leaves its field empty.
void infopath();
