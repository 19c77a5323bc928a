// SPDX-License-Identifier: GPL-3.0-or-later
#include "murho/number.h"

#include <cmath>
#include <cstdlib>

#include "base/field.h"

namespace {

// Length of the digits at the front of a text.
std::size_t digits(std::string_view s)
{
    std::size_t n = 0;
    while (n < s.size() && isdecimal(s[n])) ++n;
    return n;
}

}  // namespace

double takenumber(std::string_view& front)
{
    std::size_t n = digits(front), all = n;
    if (without(front, n).starts_with('.')) {
        const std::size_t decimals = digits(without(front, n + 1));
        all += decimals;
        n += 1 + decimals;
    }
    if (all == 0) return NAN;
    const std::string_view rest = without(front, n);
    if (rest.starts_with('e') || rest.starts_with('E')) {
        const std::size_t sign =
            without(rest, 1).starts_with('-') || without(rest, 1).starts_with('+');
        const std::size_t power = digits(without(rest, 1 + sign));
        if (power > 0) n += 1 + sign + power;
    }
    char number[64];
    if (n >= sizeof number) return NAN;
    number[front.copy(number, n)] = '\0';
    front.remove_prefix(n);
    return std::strtod(number, nullptr);
}

double positive(std::string_view text)
{
    const double number = takenumber(text);
    return text.empty() && number > 0.0 && std::isfinite(number) ? number : NAN;
}
