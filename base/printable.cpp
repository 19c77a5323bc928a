// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/printable.h"

namespace {

// Length of the UTF-8 letter at the front, 2 to 4; 0 where none stands there in full and in its
// one right form, or where it is one of the controls 128 to 159.
std::size_t letterlength(std::string_view front)
{
    const auto byte = [front](std::size_t i) {
        return i < front.size() ? static_cast<unsigned char>(front[i]) : 0u;
    };
    static const struct {
        unsigned firstlead, lastlead, low, high;  // the second byte lies between low and high
        std::size_t length;
    } forms[] = {
        {0xC2, 0xC2, 0xA0, 0xBF, 2}, {0xC3, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
        {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
        {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
    };
    for (const auto& form : forms) {
        if (byte(0) < form.firstlead || byte(0) > form.lastlead) continue;
        bool whole = byte(1) >= form.low && byte(1) <= form.high;
        for (std::size_t i = 2; i < form.length; ++i) whole = whole && (byte(i) & 0xC0) == 0x80;
        return whole ? form.length : 0;
    }
    return 0;
}

}  // namespace

int makeprintable(std::string_view from, char* to, std::size_t room)
{
    std::size_t count = 0;
    while (!from.empty()) {
        const auto c = static_cast<unsigned char>(from[0]);
        const std::size_t letter = c >= 128 ? letterlength(from) : 0;
        const bool ascii = (c < 32 && c != '\t') || c == 127;
        const bool eightbit = c >= 128 && c <= 159;
        const std::size_t taken = letter > 0 ? letter : 1;
        const std::size_t needed = ascii || eightbit ? 2 : taken;
        if (needed > room - count) break;
        if (ascii || eightbit) {
            to[count] = ascii ? '^' : '~';
            to[count + 1] = static_cast<char>(ascii ? c ^ 64 : c - 64);
        } else {
            for (std::size_t i = 0; i < taken; ++i) to[count + i] = from[i];
        }
        count += needed;
        from.remove_prefix(taken);
    }
    return static_cast<int>(count);
}
