// SPDX-License-Identifier: GPL-3.0-or-later
// terminal/settings.h: the settings of the terminal on standard input, and the way back to them.
#pragma once

/// Key mode on: standard input delivers each byte at once, and "#" raises the interrupt signal in
/// place of Ctrl-C. The settings found are kept for `reset_keypress`. In the background the program
/// stops here until it has the terminal; where nothing can stop it, the settings stay as they are.
/// From the first call on every signal that ends or stops the program gives the terminal back
/// first; after a stop key mode is set again, and what is asked is shown again. Does nothing where
/// standard input is not a terminal.
void set_keypress();

/// Key mode off: the kept settings are in force again.
void reset_keypress();

/// The same care for line editing, which has settings of its own: to be called before it reads and
/// changes the terminal's settings, and after it has put them back. False if the terminal belongs
/// to another job, and must be left alone.
bool guardsettings();
void settingsback();
