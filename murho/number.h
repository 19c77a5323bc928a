// SPDX-License-Identifier: GPL-3.0-or-later
// murho/number.h: numbers as they are typed.
#pragma once

#include <string_view>

/// Takes a number such as 25, .5 or 1.5e-3 from the front of a text; not a number, and nothing
/// taken, if there is none.
double takenumber(std::string_view& front);

/// A number above 0 that is the whole text; not a number for anything else.
double positive(std::string_view text);
