// SPDX-License-Identifier: GPL-3.0-or-later
// base/channel.h: the numbered input and output channels.
//
// Channel 5 is standard input, 6 standard output, 10 the script file. Standard input is read byte
// by byte and nothing is read ahead (but for one byte after a carriage return in a file or a
// pipe), so that single keys, lines and line editing can take turns on one stream: what is typed,
// pasted or piped ahead goes to the right questions. Standard output is collected and written
// before every wait for input.
#pragma once

#include <cstdio>
#include <initializer_list>
#include <string_view>

#include "base/field.h"

constexpr int ninput = 5;    // standard input
constexpr int noutput = 6;   // standard output
constexpr int nscript = 10;  // the script file

/// Checks the three standard streams. Call once, first of all. A closed standard input reads as
/// ended; a closed standard output ends the program.
void openchannels();

/// Writes out all collected output; ends the program if standard output cannot take it.
void flushoutput();

/// The same, but returns false where `flushoutput` would end the program; `errno` tells why, and the
/// rest is dropped.
bool tryflush();

/// Marks this place: after a stop, what was written from here on is shown again (of more than 32 kB
/// the last part only). Until the next mark the output must not take the cursor above this place.
/// May write out the output.
void keepfromhere();

/// For the handler of the signal after a stop: writes once more what is kept, if standard output is
/// the terminal and this program has it.
void showkept();

/// True once after `showkept` has written: what a line editor shows is then missing below it.
bool shownagain();

/// Connects the script file: a stream open for reading, writing or both; nullptr disconnects.
/// The caller keeps the stream and closes it.
void connectscript(std::FILE* stream);

/// One byte of standard input, 0..255, or -1 at its end. Writes out the output first. In input from
/// a file or a pipe a carriage return and line feed count as one line feed.
int inputbyte();

/// How many bytes `inputbyte` has returned.
long inputcount();

/// True if the last read of standard input met its end. `setinputended` says so for a reader of its
/// own, such as the line editor.
bool inputended();
void setinputended(bool end);

/// Reads the next line of channel `unit`, 5 or 10, into a text, cut or blank-padded; the rest of a
/// longer line is dropped, and so is a carriage return at its end. False at the end of the channel.
/// Channel 10 without a script file ends the program.
bool readrecord(int unit, std::span<char> record);

/// Writes a part of a line, at most 4096 bytes, to channel `unit`, 6 or 10. Channel 10 without a
/// script file ends the program; a fault in writing the script file is not noticed.
void writepart(int unit, std::string_view part);

/// Writes one line: the parts side by side and a line break.
void writerecord(int unit, std::initializer_list<std::string_view> parts);

/// `n` blanks, or `n` characters "-", n cut to 0..132: for wiping and ruling lines.
std::string_view blanks(int n);
std::string_view dashes(int n);
