// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/stop.h"

#include <unistd.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/channel.h"
#include "base/printable.h"

void stop(const char* format, ...)
{
    char message[PATH_MAX + 400];
    va_list values;
    va_start(values, format);
    std::vsnprintf(message, sizeof message, format, values);
    va_end(values);

    tryflush();
    const printable<sizeof message * 2> shown{std::string_view(message)};
    dprintf(STDERR_FILENO, "%s: %.*s\n", commandname, shown.length, shown.ch);
    std::exit(EXIT_FAILURE);
}
