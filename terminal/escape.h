// SPDX-License-Identifier: GPL-3.0-or-later
// terminal/escape.h: the terminal control sequences that the program writes, all in one place, and
// where the cursor is.
//
// Output is written in whole lines: before and after each of them the cursor is in column 1. Ways
// up are counted in lines written, so none may be wider than the terminal, `term.ncol(1)`: it would
// take several lines of the screen. After an answer the cursor has to be in the line below it:
//
//   what is typed                      echo                   what is written then
//   a line                             itself, a line break   -
//   a line ended by Ctrl-D             itself                 " " and a line break
//   a line typed ahead                 before the question    " " and a line break
//   an edited line                     by the line editor     -
//   in key mode: Enter                 a line break           " " and a line break
//     a cursor key                     ^[[A                   " " and a line break
//     a character, then the rest       itself, a line break   -
//     the same, pasted as a whole      itself, a line break   `freshline`
//
// The second line break for Enter leaves an empty line below a menu. In key mode the terminal shows
// the end of a line in two ways, which cannot be told apart: as a line break if it was sent by the
// Return key, or pasted as most terminals do it, but as "^J" if it was sent as a line feed. The
// rest of a pasted answer has been echoed in key mode, too, so `freshline` serves both.
#pragma once

#include <string_view>

#include "base/channel.h"

namespace escape {

constexpr std::string_view bold = "\033[1m";
constexpr std::string_view underline = "\033[4m";
constexpr std::string_view red = "\033[31m";
constexpr std::string_view blue = "\033[34m";
constexpr std::string_view normal = "\033[0m";  // all attributes off
constexpr std::string_view up1 = "\033[1A";     // cursor up, column kept
constexpr std::string_view up2 = "\033[2A";
constexpr std::string_view up3 = "\033[3A";

}  // namespace escape

/// Takes the cursor up by the sequence `lines` and then, by the end of the line, one line down: to
/// the start of the line above after `up2`, of the one above that after `up3`. What is above the
/// cursor is then not shown again after a stop: ways up are counted from what is.
inline void cursorup(int unit, std::string_view lines)
{
    writerecord(unit, {" ", lines});
    keepfromhere();
}

/// Takes the cursor to the start of a line: that in which it is if it is there already, the next
/// one if it is beyond column 2. The blanks reach the edge of the terminal, and pass it if they
/// begin further right.
inline void freshline(int unit, int width)
{
    for (int left = width - 1; left > 0; left -= 132) writepart(unit, blanks(left));
    writepart(unit, "\r");
}
