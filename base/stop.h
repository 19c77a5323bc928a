// SPDX-License-Identifier: GPL-3.0-or-later
// base/stop.h: the one exit for fatal errors.
#pragma once

/// The command that is running, as its messages name it.
inline const char* commandname = "attenuation";

/// Ends the program with a failure status after a last line on standard error.
///
/// What was already computed is written out first, so that it stays on the screen. The line is
/// the command, ": " and the message, made from `format` as printf does it; beside the path of a
/// file it has room for 400 characters. Control characters, which may come from a data file or an
/// answer, are shown in caret notation. Needs no newline in `format`.
[[noreturn]] void stop(const char* format, ...) __attribute__((format(printf, 1, 2)));
