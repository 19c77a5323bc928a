// SPDX-License-Identifier: GPL-3.0-or-later
// help/comhelp.h: the selection menu, and the help file with its display.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "base/field.h"

/// The entries of the selection menu, 1 to 64. A caller of `query` sets the first three fields for
/// its entries; the others hold the layout of the last menu.
struct menurecord {
    dim<text<132>, 1, 64> queryar;    // entry text, also what typed text is searched in; on return
                                      // cut at the terminal width
    dim<text<132>, 1, 64> helpar;     // help key of the entry
    dim<text<16>, 1, 64> ext;         // short annotation after the text, or blank
    dim<text<132>, 1, 64> type;       // display cell with its control sequences
    dim<std::int32_t, 1, 64> ld;      // length of ext
    dim<std::int32_t, 1, 64> lw;      // length of queryar after the cut
    dim<std::int32_t, 1, 64> laenge;  // width of the cell, control sequences included
    dim<std::int32_t, 0, 64> lpart;   // entries on screen row r; lpart(0) is 0
};
extern menurecord scrd;

/// Fills entry `k` of `scrd`, 1..64: its text, without control characters, and its help key; no
/// annotation.
void menuentry(int k, std::string_view entry, std::string_view key);

/// Shows the menu of the first `lq` entries of `scrd` and lets the user choose one: by cursor keys,
/// by typing a part of an entry, and Enter. "he" shows the help text of the highlighted entry, "*"
/// and (where no entry begins with it) "q" cancel. A menu of one entry takes it without a key.
///
///   lq       in/out  number of entries, 0..64, else it stops; out the number of the chosen entry,
///                    0 if cancelled or nothing was highlighted; unchanged if only drawn
///   lk       out     the number of entries if `chdf` is blank, 0 if the menu was answered or took
///                    its single entry; left alone by a replay with a default
///   cheader  in/out  title, columns 1..130; column 131 "g": the default is accepted without a key;
///                    column 132 "w": menu and choice are recorded on the script file, "r":
///                    replayed from it, "l": as wide as the terminal. Column 132 is blanked, and
///                    what is beyond the terminal width.
///   chdf     in/out  default: the text looked for first, columns 1..79, blank to draw the menu
///                    only; column 80 "#": entries in equal columns. Out: text of the chosen entry,
///                    and in column 80 the count of lines written, as the character of code
///                    48 + count
void query(std::int32_t& lq, std::int32_t& lk, text<132>& cheader, text<80>& chdf);

/// What the help display keeps for all its calls.
struct helprecord {
    text<64> tanohepath;         // directory of the "details" texts; nothing fills it
    std::int32_t nwrwin = 0;     // output channel of the display
    dim<text<16>, 1, 8> chterm;  // not used
};
extern helprecord cmpa;

/// Name of this program's help file relative to the help directory, with a leading "/"; set at
/// start-up.
struct localrecord {
    text<80> localhepath;
};
extern localrecord localpath;

/// Shows the help text of the key `chin` ("read/energy"), from the help file in the help directory
/// or, where that has none, from "helpfile.help" in the working directory. Every failure is a line
/// on the screen; the caller goes on.
void help(const text<132>& chin);

/// Shows the entry `chcom` (with its leading "/") of the help file named `helpfile` page by page,
/// and walks through its related entries, at most 4 levels deep. The caller's menu entries survive
/// it, but for the exit at the fifth level.
void helproutine(const text<132>& chcom, const text<132>& helpfile);

/// The parts side by side. Beyond 132 characters they are cut if `cut` says so; else all is blank,
/// as half a path or command is worse than none.
text<132> joined(std::initializer_list<std::string_view> parts, bool cut = false);

/// How many lines of the screen a text of so many columns takes, at least 1.
int screenlines(int columns);
