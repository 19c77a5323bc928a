// SPDX-License-Identifier: GPL-3.0-or-later
#include "murho/refuse.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "base/field.h"
#include "base/printable.h"

void refuse(std::string_view typed, const char* format, ...)
{
    char message[400];
    va_list values;
    va_start(values, format);
    std::vsnprintf(message, sizeof message, format, values);
    va_end(values);
    const printable<200> shown(typed);
    const printable<sizeof message * 2> said{std::string_view(message)};
    if (typed.empty()) dprintf(STDERR_FILENO, "%s: %.*s\n", commandname, said.length, said.ch);
    else
        dprintf(STDERR_FILENO, "%s: \"%.*s%s\": %.*s\n", commandname, shown.length, shown.ch,
                typed.size() > 200 ? "..." : "", said.length, said.ch);
    std::exit(2);
}
