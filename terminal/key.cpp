// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/key.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unctrl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <type_traits>

#include "base/channel.h"
#include "terminal/settings.h"

terminalrecord term;
pathrecord path;

// Terminal geometry.

int pr_winsize(int fd, int it)
{
    const int n = it + 1;
    winsize size{};
    const int flag = ioctl(fd, TIOCGWINSZ, &size) >= 0 ? 1 : 0;
    if (flag == 1) {
        term.ncol(n) = size.ws_col;
        term.nrows(n) = size.ws_row;
        term.ixpixel(n) = size.ws_xpixel;
        term.iypixel(n) = size.ws_ypixel;
    }
    if (size.ws_col == 0) {
        term.ncol(n) = 80;
        term.npl = 80;
        term.nrows(n) = 24;
    }
    return flag;
}

void window(const std::int32_t& n)
{
    if (n == 1) {
        pr_winsize(STDIN_FILENO, 0);
        term.npl = std::min(term.ncol(1), 130);
        return;
    }
    std::replace(term.winfile.ch, term.winfile.ch + sizeof term.winfile.ch, ' ', '\0');
    const int fd = open(cstring(term.winfile.all()), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    pr_winsize(fd, n - 1);
    if (fd >= 0) close(fd);
}

void sizenow(int& rows, int& columns)
{
    winsize size{};  // left at zero where the terminal does not know
    ioctl(STDIN_FILENO, TIOCGWINSZ, &size);
    rows = size.ws_row > 0 ? size.ws_row : 24;
    columns = size.ws_col > 0 ? size.ws_col : 80;
}

// Single keys.

namespace {

// What the bytes that start with `c` mean; see `key`.
int keycode(int c)
{
    if (c < 0) return -1;
    const char first = c == '\n' ? '@' : *unctrl(static_cast<chtype>(c));
    if (first == '@') return keyenter;
    const bool control = c < 32 || c == 127;  // as in the C locale, whichever is in force
    if (!control) return c;
    inputbyte();  // the "[" of a cursor key
    const int third = inputbyte();
    return third < 0 ? -1 : -third;
}

long inplace = 0;       // place in the input: what is before it has been echoed already
bool wasahead = false;  // the last key had been typed before `key` waited for it

}  // namespace

int key()
{
    flushoutput();  // a fault of the output must not end the program in key mode
    noteahead();
    wasahead = moreahead();
    set_keypress();
    const int code = keycode(inputbyte());
    noteahead();
    reset_keypress();
    return code;
}

void noteahead()
{
    int waiting = 0;  // left at that if it cannot be told
    ioctl(STDIN_FILENO, FIONREAD, &waiting);
    inplace = inputcount() + waiting;
}

bool moreahead() { return isatty(STDIN_FILENO) && inputcount() < inplace; }

bool keyahead() { return wasahead; }

bool endedinplace() { return isatty(STDIN_FILENO) && (inputended() || inputcount() <= inplace); }

// Environment paths.

void infopath()
{
    // The fields of the record in order, 80 characters each.
    static constexpr const char* variables[] = {"TANOHEPATH", "TANOUTPATH", "TERM", "EDITOR",
                                                "SHELL",      "COLORFILE",  "PWD"};
    static_assert(std::is_standard_layout_v<pathrecord> && sizeof(pathrecord) == 6 * 80 + 132);
    path = pathrecord{};  // a second call shows nothing of the first
    char* const record = reinterpret_cast<char*>(&path);
    for (std::size_t i = 0; i < std::size(variables); ++i) {
        const char* value = std::getenv(variables[i]);
        if (value == nullptr) continue;
        // Runs on into the following fields, on purpose; an empty value writes one NUL.
        const std::size_t count = std::max<std::size_t>(std::strlen(value), 1);
        std::memcpy(record + 80 * i, value, std::min(count, sizeof path - 80 * i));
    }
}
