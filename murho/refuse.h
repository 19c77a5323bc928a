// SPDX-License-Identifier: GPL-3.0-or-later
// murho/refuse.h: what was typed and cannot be taken.
#pragma once

#include <string_view>

/// Ends `murho` with status 2 after one line on standard error: the text as typed in quotation
/// marks, if there is any, ": " and the message, made from `format` as printf does it. Nothing has
/// been printed on standard output by then.
[[noreturn]] void refuse(std::string_view typed, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
