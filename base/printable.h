// SPDX-License-Identifier: GPL-3.0-or-later
// base/printable.h: text from files, the environment and answers, made safe for a terminal.
#pragma once

#include <cstddef>
#include <string_view>

/// Writes `from` to `to` (room for `room` characters) with every control character but the tab in
/// a visible form, so that the text cannot send escape sequences: codes 0 to 31 and 127 as "^@" to
/// "^_" and "^?", the codes 128 to 159 as "~@" to "~_" (the 8-bit control characters) where they
/// are no part of a whole UTF-8 letter. Returns the count of characters written; what does not fit
/// is dropped.
int makeprintable(std::string_view from, char* to, std::size_t room);

/// The printable form of a text, held in place.
template <std::size_t room>
struct printable {
    char ch[room];
    int length;

    explicit printable(std::string_view from) : length(makeprintable(from, ch, room)) {}
    std::string_view view() const { return {ch, static_cast<std::size_t>(length)}; }
};
