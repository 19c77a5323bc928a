// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/key.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unctrl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "base/channel.h"

terminalrecord term;
pathrecord path;

// Terminal geometry.

int pr_winsize(int fd, int it)
{
    const int n = it + 1;
    int flag = 0;
    winsize size{};
    if (isatty(fd)) flag = ioctl(fd, TIOCGWINSZ, &size) < 0 ? 0 : 1;
    if (flag == 1) {
        term.ncol(n) = size.ws_col;
        term.nrows(n) = size.ws_row;
        term.ixpixel(n) = size.ws_xpixel;
        term.iypixel(n) = size.ws_ypixel;
        if (size.ws_col != 0) return 1;
    }
    term.ncol(n) = 80;
    term.npl = 80;
    term.nrows(n) = 24;
    return flag;
}

void window(const std::int32_t& n)
{
    const int it = n - 1;
    if (n == 1) {
        pr_winsize(STDIN_FILENO, it);
        term.npl = term.ncol(1) > 130 ? 130 : term.ncol(1);
        return;
    }
    char device[17]{};
    for (int i = 1; i <= 16; ++i) {
        if (term.winfile(i) == ' ') term.winfile(i) = '\0';
        device[i - 1] = term.winfile(i);
    }
    const int fd = open(device, O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    pr_winsize(fd, it);
    if (fd >= 0) close(fd);
}

// Single keys.

namespace {

termios stored_settings;                 // as found before this key
volatile std::sig_atomic_t keymode = 0;  // 1 while they have to be put back

// The signals that end or stop the program, and what was to happen on each before key mode.
constexpr int endings[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP};
constexpr int nending = sizeof endings / sizeof endings[0];
struct sigaction found[nending];
bool caught = false;  // `found` is to be put back

void entersettings()
{
    if (tcgetattr(STDIN_FILENO, &stored_settings) < 0) return;
    termios keys = stored_settings;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON);  // deliver bytes, not lines; echo stays on
    keys.c_cc[VMIN] = 1;                             // a read returns with the first byte
    keys.c_cc[VTIME] = 0;                            // and waits for it without a limit
    keys.c_cc[VINTR] = '#';                          // interrupts; Ctrl-C is an ordinary key
    keymode = 1;
    tcsetattr(STDIN_FILENO, TCSANOW, &keys);
}

void leavesettings()
{
    if (keymode) tcsetattr(STDIN_FILENO, TCSANOW, &stored_settings);
    keymode = 0;
}

sigset_t endingset()
{
    sigset_t all;
    sigemptyset(&all);
    for (int signal : endings) sigaddset(&all, signal);
    return all;
}

// Gives the terminal back, then lets the signal have its usual effect. Calls async-signal-safe
// functions only. After a stop the program goes on here, and key mode is set again.
extern "C" void giveback(int signal)
{
    const int error = errno;
    const bool inkeymode = keymode != 0;
    leavesettings();

    struct sigaction mine, usual{};
    usual.sa_handler = SIG_DFL;
    sigaction(signal, &usual, &mine);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, signal);
    raise(signal);  // held back until it is unblocked; then the program ends, or stops and goes on
    sigprocmask(SIG_UNBLOCK, &only, nullptr);

    sigprocmask(SIG_BLOCK, &only, nullptr);
    sigaction(signal, &mine, nullptr);
    if (inkeymode) entersettings();
    errno = error;
}

void catchendings()
{
    if (caught) return;
    caught = true;
    struct sigaction action {};
    action.sa_handler = giveback;
    action.sa_flags = SA_RESTART;  // a key is still awaited after a stop
    action.sa_mask = endingset();
    for (int i = 0; i < nending; ++i) {
        sigaction(endings[i], nullptr, &found[i]);
        if (found[i].sa_handler != SIG_IGN) sigaction(endings[i], &action, nullptr);
    }
}

}  // namespace

void set_keypress()
{
    if (!isatty(STDIN_FILENO)) return;
    const sigset_t all = endingset();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &all, &before);  // settings and signal actions change as one
    catchendings();
    entersettings();
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

void reset_keypress()
{
    if (!caught) return;
    caught = false;
    const sigset_t all = endingset();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &all, &before);
    leavesettings();
    for (int i = 0; i < nending; ++i) sigaction(endings[i], &found[i], nullptr);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

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

}  // namespace

int key()
{
    flushoutput();  // a fault of the output must not end the program in key mode
    set_keypress();
    const int code = keycode(inputbyte());
    reset_keypress();
    return code;
}

// Environment paths.

void infopath()
{
    static_assert(std::is_standard_layout_v<pathrecord> && sizeof(pathrecord) == 6 * 80 + 132);
    struct {
        const char* variable;
        std::size_t place;
    } const fields[] = {
        {"TANOHEPATH", offsetof(pathrecord, hepath)}, {"TANOUTPATH", offsetof(pathrecord, utpath)},
        {"TERM", offsetof(pathrecord, term)},         {"EDITOR", offsetof(pathrecord, editor)},
        {"SHELL", offsetof(pathrecord, shell)},       {"COLORFILE", offsetof(pathrecord, colfile)},
        {"PWD", offsetof(pathrecord, workdir)},
    };
    path = pathrecord{};  // a second call shows nothing of the first
    char* const record = reinterpret_cast<char*>(&path);
    for (const auto& field : fields) {
        const char* value = std::getenv(field.variable);
        if (value == nullptr) continue;
        std::size_t place = field.place;
        do {  // runs on into the following fields, on purpose; an empty value writes one NUL
            record[place++] = *value;
        } while (*value != '\0' && *++value != '\0' && place < sizeof(pathrecord));
    }
}
