// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/settings.h"

#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "base/channel.h"

namespace {

// What the terminal's settings are at the moment:
//
//              set_keypress  reset_keypress  guardsettings  settingsback  a signal
//   asfound    keymode       -               editing        -             asfound
//   keymode    keymode       asfound         -              -             asfound, then keymode
//   editing    -             -               editing        asfound       asfound, then editing
//
// "-" does not occur or does nothing. A signal ends the program in the state `asfound`; after a
// stop, also one that cannot be caught, it goes on to the second state. While another job has the
// terminal the state stays as it is: the settings in force are that job's, and neither read nor
// written.
enum : std::sig_atomic_t { asfound, keymode, editing };
volatile std::sig_atomic_t now = asfound;

termios stored_settings;  // to be put back; in force while `now` is `asfound`

// True where another job has the terminal.
bool inbackground()
{
    const pid_t front = tcgetpgrp(STDIN_FILENO);
    return front > 0 && front != getpgrp();
}

extern "C" void giveback(int signal);
extern "C" void goon(int signal);

// Has a signal caught if it would have its usual effect, or lets it have that again.
void catchsignal(int signal, bool on)
{
    struct sigaction action = {}, found = {};
    if (sigaction(signal, nullptr, &found) < 0) return;
    if (found.sa_handler != (on ? SIG_DFL : giveback)) return;  // ignored, or somebody else's
    action.sa_handler = !on ? SIG_DFL : signal == SIGCONT ? goon : giveback;
    action.sa_flags = SA_RESTART;  // reads and writes go on, also those of the line editor
    // What is shown again may have to wait for the terminal (Ctrl-S), and can be stopped and ended.
    if (signal != SIGCONT) sigfillset(&action.sa_mask);
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
sigset_t awaitforeground()
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    catchstops(false);
    for (int tries = 0; tries < 10 && inbackground(); ++tries) {
        pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
        tcdrain(STDIN_FILENO);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
    }
    return before;
}

// In the background nothing is put back: whoever has the terminal has settings of its own in force.
void restoresettings()
{
    if (now == asfound || inbackground()) return;
    tcsetattr(STDIN_FILENO, TCSANOW, &stored_settings);
    settingsback();
}

void setkeymode()
{
    termios keys = stored_settings;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON);  // deliver bytes, not lines; echo stays on
    keys.c_cc[VMIN] = 1;                             // a read returns with the first byte
    keys.c_cc[VTIME] = 0;                            // and waits for it without a limit
    keys.c_cc[VINTR] = '#';                          // interrupts; Ctrl-C is an ordinary key
    tcsetattr(STDIN_FILENO, TCSANOW, &keys);
}

// Goes to the state `keymode` or `editing`. False if the terminal has to be left alone.
bool enter(std::sig_atomic_t next)
{
    const sigset_t before = awaitforeground();
    const bool mine =
        !inbackground() && (now != asfound || tcgetattr(STDIN_FILENO, &stored_settings) >= 0);
    if (mine) {
        now = next;
        catchstops(true);
    }
    if (mine && next == keymode) setkeymode();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return mine;
}

// Gives the terminal back, then lets the signal have its usual effect. Calls async-signal-safe
// functions only, and all signals are blocked meanwhile. After a stop the program goes on here, and
// key mode is set again, or line editing guarded again, which sets its own settings by itself.
extern "C" void giveback(int signal)
{
    const int error = errno;
    const std::sig_atomic_t before = now;
    restoresettings();

    catchsignal(signal, false);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, signal);
    raise(signal);  // held back until it is unblocked; then the program ends, or stops and goes on
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    // Process 1 of a container is spared by the system, which ends all others here.
    if (signal != SIGTSTP && signal != SIGTTIN && signal != SIGTTOU) _exit(128 + signal);

    pthread_sigmask(SIG_BLOCK, &only, nullptr);
    catchsignal(signal, true);
    if (before != asfound) enter(before);
    errno = error;
}

// Handles the signal after a stop. Where nothing could catch the stop, the settings in force are
// the shell's, and key mode is set again here.
extern "C" void goon(int)
{
    const int error = errno;
    if (now == keymode && !inbackground()) enter(keymode);
    showkept();
    errno = error;
}

// Catches every signal that would end or stop the program, and the one that comes after a stop.
void catchsignals()
{
    static bool caught = false;
    if (caught) return;
    caught = true;
    for (int signal = 1; signal < NSIG; ++signal) {
        const bool harmless = signal == SIGCHLD || signal == SIGURG || signal == SIGWINCH;
        if (!harmless) catchsignal(signal, true);
    }
}

}  // namespace

void set_keypress()
{
    if (!isatty(STDIN_FILENO)) return;
    catchsignals();
    enter(keymode);
}

void reset_keypress()
{
    if (now != keymode) return;
    const sigset_t before = awaitforeground();
    restoresettings();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

bool guardsettings()
{
    if (!isatty(STDIN_FILENO)) return true;
    catchsignals();
    return enter(editing);
}

void settingsback()
{
    now = asfound;
    catchstops(false);
}
