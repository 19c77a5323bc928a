// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/printable.h"

#include <algorithm>

namespace {

// Length of the UTF-8 letter at the front, 2 to 4; 0 if it is incomplete, not in its shortest form,
// or a control code 128 to 159.
std::size_t letterlength(std::string_view front)
{
    const unsigned lead = static_cast<unsigned char>(front[0]);
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC0 || front.size() < length) return 0;
    unsigned code = lead & (0xFFu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned c = static_cast<unsigned char>(front[i]);
        if ((c & 0xC0) != 0x80) return 0;
        code = code << 6 | (c & 0x3F);
    }
    static constexpr unsigned least[] = {0xA0, 0x800, 0x10000};  // by length
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= least[length - 2] && code <= 0x10FFFF && !surrogate ? length : 0;
}

}  // namespace

int makeprintable(std::string_view from, char* to, std::size_t room)
{
    std::size_t count = 0;
    while (!from.empty()) {
        const unsigned c = static_cast<unsigned char>(from[0]);
        const bool control = (c < 32 && c != '\t') || (c >= 127 && c <= 159);
        const std::size_t letter = std::max<std::size_t>(letterlength(from), 1);
        if ((control ? 2 : letter) > room - count) break;
        if (control) {
            to[count++] = c < 128 ? '^' : '~';
            to[count++] = static_cast<char>((c ^ 64) & 127);
        } else {
            for (std::size_t i = 0; i < letter; ++i) to[count++] = from[i];
        }
        from.remove_prefix(letter);
    }
    return static_cast<int>(count);
}
