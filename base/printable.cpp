// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/printable.h"

#include <algorithm>
#include <cstring>

namespace {

// How many bytes of 128 and above may follow this lead byte of a UTF-8 letter. The lead byte 0xC2
// is left out when a control follows: it writes the codes 128 to 159 themselves.
int followers(unsigned char lead, unsigned char next)
{
    if (lead == 0xC2) return next >= 0xA0 && next <= 0xBF ? 1 : 0;
    if (lead >= 0xC3 && lead <= 0xDF) return 1;
    if (lead >= 0xE0 && lead <= 0xEF) return 2;
    if (lead >= 0xF0 && lead <= 0xF4) return 3;
    return 0;
}

}  // namespace

int makeprintable(std::string_view from, char* to, std::size_t room)
{
    const auto visible = [](char c) { return c >= ' ' && c <= '~'; };
    if (from.size() <= room && std::all_of(from.begin(), from.end(), visible)) {
        if (!from.empty()) std::memcpy(to, from.data(), from.size());
        return static_cast<int>(from.size());
    }
    std::size_t count = 0;
    int letter = 0;  // bytes of a UTF-8 letter still to come
    for (std::size_t i = 0; i < from.size(); ++i) {
        const auto c = static_cast<unsigned char>(from[i]);
        const bool continued = letter > 0 && c >= 0x80 && c <= 0xBF;
        const bool ascii = (c < 32 && c != '\t') || c == 127;
        const bool eightbit = c >= 0x80 && c <= 0x9F && !continued;
        if (count + (ascii || eightbit ? 2 : 1) > room) break;
        if (ascii || eightbit) {
            to[count++] = ascii ? '^' : '~';
            to[count++] = static_cast<char>(ascii ? c ^ 64 : c - 64);
        } else {
            to[count++] = from[i];
        }
        const auto next = static_cast<unsigned char>(i + 1 < from.size() ? from[i + 1] : '\0');
        letter = continued ? letter - 1 : followers(c, next);
    }
    return static_cast<int>(count);
}
