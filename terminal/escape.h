// SPDX-License-Identifier: GPL-3.0-or-later
// terminal/escape.h: the terminal control sequences that the program writes, all in one place.
#pragma once

#include <string_view>

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
