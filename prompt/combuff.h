// SPDX-License-Identifier: GPL-3.0-or-later
// prompt/combuff.h: the prompts, and the text and number conversions on blank-padded fields.
//
// The prompt calling convention. Every value is asked by `yesno`, `askvalue` or `askstring`. All
// texts and results are references; the last three arguments are always the terminal width in
// columns, the input channel (5) and the output channel (6).
//   querytype  in/out  the question, columns 1 to 131. Column 132 is the script mode: "r" takes the
//                      answer from the script file, "w" records it there, anything else asks only.
//                      It is blanked on entry. Set the field anew before each call.
//   chcom      in/out  the help key of the question; `help` shows its text
// The question is shown with its default in brackets; an empty answer accepts the default, a typed
// one becomes the new default on the same screen line, "he" shows the help text, "*" or "q" quits
// (each prompt says how the caller sees that). "back", but not in `yesno`, goes into columns 1 to
// 4 of `chcom`; a recording then returns, otherwise the question is asked again. At the end of input
// the program ends with a clear line.
#pragma once

#include <cstdint>

#include "base/field.h"

/// Asks for yes or no. `ch1`: on entry the default, "y" or "n"; on return "y", "n", or "*" after
/// a quit.
void yesno(text<132>& querytype, text<1>& ch1, text<132>& chcom, std::int32_t ncol,
           std::int32_t nrd, std::int32_t nwr);

/// Asks for one number, shown in the format `form` (see `trlnu`, which may switch the caller's
/// format to exponent form for good). `value`: on entry the default, on return the accepted number,
/// which is the number as shown. A quit sets all of `querytype` to "*" and leaves `value` as it was.
void askvalue(text<132>& querytype, text<7>& form, float& value, text<132>& chcom,
              std::int32_t ncol, std::int32_t nrd, std::int32_t nwr);

/// Asks for a line of text of at most 80 characters, with line editing, which reads standard input
/// whatever `nrd` is. `chstr`: on entry the default, left-justified in place; on return the answer,
/// or "*" after a quit.
void askstring(text<132>& querytype, text<132>& chstr, text<132>& chcom, std::int32_t ncol,
               std::int32_t nrd, std::int32_t nwr);

/// Writes the number `rn` in the short format `formatch`: a letter (i, f, e or a), the width and,
/// after a point, the decimals, such as "f8.2"; a "+" in front asks for the sign of positive
/// numbers. Other letters count as "f".
///   formatch  in/out  becomes "e15.5" when |rn| is above 1e10
///   chr       out     the text right-justified in columns 1 to nn
///   nn        out     the width in the format
///   chl       out     the text left-justified
///   im        out     its length
/// Digits are made in 32-bit arithmetic, and a following digit of exactly 5 is not rounded up. A
/// text wider than nn is marked in `chl` and `chr` by "***" on both sides, and `im` stays its plain
/// length. A width of 25 and more gives 24 asterisks (`im` is left alone), a number that is not
/// finite nn of them. Up to 15 digits in all can be asked for; more ends the program.
void trlnu(text<7>& formatch, float rn, text<24>& chr, std::int32_t& nn, text<24>& chl,
           std::int32_t& im);

/// Reads all numbers in columns 1 to `n_ch` (at most 132) of `chin`: `iout` is their count (at most
/// 32), `out` holds them. A number counts once something ends it; callers let a blank follow. The
/// arithmetic is 32-bit: a number beyond its range comes out infinite.
void trlch(std::int32_t n_ch, const text<132>& chin, std::int32_t& iout, dim<float, 1, 32>& out);

/// Left-justifies columns 1 to 131 of `ch`; `il` is the length of the text, 0 when it is blank or
/// begins with a NUL (it is then left alone). Column 132 is a flag, not part of the text; it is
/// blanked only by a text that ends in column 131.
void stringlength(text<132>& ch, std::int32_t& il);

/// Column of the last non-blank of `ch` at or before column `il`; the search begins at column 132
/// if `il` is not 1 to 132. 0 if there is none.
void stringend(const text<132>& ch, std::int32_t& il);

/// Left-justifies `ch` and makes its letters A to Z lower-case.
void lc_character(text<132>& ch);

/// Steps to the next item of a line of items separated by blanks and commas. `il`: end of the
/// current item, 0 for the first (capped at 130). `ip`: column of the next item; `cha`: the line
/// from there on; `ia`: length of the item, 0 if there is none.
void nextchar(const text<132>& chl, std::int32_t& il, std::int32_t& ip, text<132>& cha,
              std::int32_t& ia);

/// Writes `nn` to a field of 8: "-" or a blank, then the digits of the magnitude (asterisks if they
/// are more than 7). Zero gives a blank field without any digit; callers rely on it.
void itoc8(text<8>& ch, std::int32_t nn);

/// Reads an integer from a field of 8: after leading blanks "+", "-" (both optional) and digits, up
/// to the next blank. Characters above "9" become blanks, also in the caller's field; 0 for a field
/// without a number.
void c8toi(text<8>& ch, std::int32_t& n);
