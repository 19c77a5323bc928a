// SPDX-License-Identifier: GPL-3.0-or-later
// terminal/readalinef.h: line editing, its history, and the document viewer.
//
// Texts come as NUL-terminated strings.
#pragma once

#include <cstdint>

#include "base/field.h"

/// Reads one edited line after `prompt`. Puts the code of each character, sign-extended from a
/// signed byte, into k(1), k(2), ... and returns their count: 0 for an empty line and at the end of
/// input (`inputended` then holds). Characters beyond the 132nd are dropped.
int readaline(dim<std::int32_t, 1, 132>& k, const char* prompt);

/// Adds a line to the history that the arrow keys of the line editor recall.
void addhist(const char* s);

/// Starts the document viewer: prints and runs "xdvi " and `dvifile`, the rest of the shell command
/// line, which ends in " &" to run it in the background. A command of more than 130 characters is
/// not run; one line says so.
void viewdvi(const char* dvifile);
