// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/key.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unctrl.h>
#include <unistd.h>

#include <algorithm>
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

namespace {

// Asks a terminal for its size. False if it is none or does not answer.
bool asksize(int fd, winsize& size) { return isatty(fd) && ioctl(fd, TIOCGWINSZ, &size) >= 0; }

}  // namespace

int pr_winsize(int fd, int it)
{
    const int n = it + 1;
    winsize size{};
    const int flag = asksize(fd, size) ? 1 : 0;
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
    std::replace(term.winfile.ch, term.winfile.ch + sizeof term.winfile.ch, ' ', '\0');
    const int fd = open(cstring(term.winfile.all()), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    pr_winsize(fd, it);
    if (fd >= 0) close(fd);
}

void sizenow(int& rows, int& columns)
{
    winsize size{};
    const bool known = asksize(STDIN_FILENO, size);
    rows = known && size.ws_row > 0 ? size.ws_row : 24;
    columns = known && size.ws_col > 0 ? size.ws_col : 80;
}

// The terminal's settings, and the way back to them.

namespace {

termios stored_settings;  // as found before they were changed

// 1 while they have to be put back, and while key mode is to be in force, also after a stop.
volatile std::sig_atomic_t changed = 0, keymode = 0;

// True where another job has the terminal: its settings are not ours then, to read or to write.
bool inbackground()
{
    const pid_t front = tcgetpgrp(STDIN_FILENO);
    return front > 0 && front != getpgrp();
}

extern "C" void giveback(int signal);

// Has a signal caught if it would have its usual effect, or lets it have that again.
void catchsignal(int signal, bool on)
{
    struct sigaction action = {}, found = {};
    if (sigaction(signal, nullptr, &found) < 0) return;
    if (found.sa_handler != (on ? SIG_DFL : giveback)) return;  // ignored, or somebody else's
    action.sa_handler = on ? giveback : SIG_DFL;
    action.sa_flags = SA_RESTART;  // a key is still awaited after a stop
    sigfillset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

// The stops that the terminal itself sends to the background: caught only while there are settings
// to put back. Else the system alone stops the program, and no "fg" can come too early.
void catchstops(bool on)
{
    catchsignal(SIGTTIN, on);
    catchsignal(SIGTTOU, on);
}

// Blocks all signals at a moment when the program has the terminal, and returns the mask in force
// before. In the background `tcdrain` stops the program until it is brought to the front; signals
// can reach it there, so that it can be ended. Where nothing can stop it, it stays in the
// background, and has to leave the settings alone.
sigset_t holdinfront()
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    catchstops(false);
    for (int tries = 0; tries < 10 && inbackground(); ++tries) {
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, nullptr);
        tcdrain(STDIN_FILENO);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
    }
    return before;
}

// Keeps the settings in force for the way back. With all signals blocked.
bool storesettings()
{
    if (inbackground()) return false;
    if (!changed && tcgetattr(STDIN_FILENO, &stored_settings) < 0) return false;
    changed = 1;
    catchstops(true);
    return true;
}

void enterkeymode()
{
    const sigset_t before = holdinfront();
    if (keymode && storesettings()) {
        termios keys = stored_settings;
        keys.c_lflag &= ~static_cast<tcflag_t>(ICANON);  // deliver bytes, not lines; echo stays on
        keys.c_cc[VMIN] = 1;                             // a read returns with the first byte
        keys.c_cc[VTIME] = 0;                            // and waits for it without a limit
        keys.c_cc[VINTR] = '#';                          // interrupts; Ctrl-C is an ordinary key
        tcsetattr(STDIN_FILENO, TCSANOW, &keys);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// In the background nothing is put back: whoever has the terminal has settings of its own in force.
void restoresettings()
{
    if (!changed || inbackground()) return;
    tcsetattr(STDIN_FILENO, TCSANOW, &stored_settings);
    settingsback();
}

// Gives the terminal back, then lets the signal have its usual effect. Calls async-signal-safe
// functions only, and all signals are blocked meanwhile. After a stop the program goes on here, and
// key mode is set again, or line editing guarded again, which sets its own settings by itself.
extern "C" void giveback(int signal)
{
    const int error = errno;
    const bool editing = changed && !keymode;
    restoresettings();

    struct sigaction mine, usual{};
    usual.sa_handler = SIG_DFL;
    sigaction(signal, &usual, &mine);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, signal);
    raise(signal);  // held back until it is unblocked; then the program ends, or stops and goes on
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);

    pthread_sigmask(SIG_BLOCK, &only, nullptr);
    sigaction(signal, &mine, nullptr);
    if (keymode) enterkeymode();
    else if (editing) guardsettings();
    errno = error;
}

// Catches every signal that would end or stop the program.
void catchsignals()
{
    static bool caught = false;
    if (caught) return;
    caught = true;
    for (int signal = 1; signal < NSIG; ++signal) {
        const bool harmless =
            signal == SIGCHLD || signal == SIGCONT || signal == SIGURG || signal == SIGWINCH;
        const bool stop = signal == SIGTTIN || signal == SIGTTOU;
        if (!harmless && !stop) catchsignal(signal, true);
    }
}

}  // namespace

void set_keypress()
{
    if (!isatty(STDIN_FILENO)) return;
    catchsignals();
    keymode = 1;
    enterkeymode();
}

void reset_keypress()
{
    if (!keymode) return;
    keymode = 0;  // first: a stop from here on restores the settings, and that is all
    const sigset_t before = holdinfront();
    restoresettings();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

bool guardsettings()
{
    if (!isatty(STDIN_FILENO)) return true;
    catchsignals();
    const sigset_t before = holdinfront();
    const bool stored = storesettings();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return stored;
}

void settingsback()
{
    changed = 0;
    catchstops(false);
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
