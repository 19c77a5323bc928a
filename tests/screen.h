// SPDX-License-Identifier: GPL-3.0-or-later
// tests/screen.h: runs the program on a pseudo-terminal and shows what a person sees on its screen.
#pragma once

#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <utmp.h>
#include <vterm.h>

#include "tests/session.h"

// The program, or a shell, on a terminal of its own. A wait that runs out is a failure.
struct screen {
    int status = -1;  // once it has ended, as a shell has it: 128 + n after signal n
    bool ended() const { return status >= 0; }

    // `before`: shell commands ahead of the program, such as a redirection.
    screen(int height, int width, const std::string& before = "true")
    {
        EXPECT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
        fcntl(master, F_SETFL, O_NONBLOCK);
        resize(height, width);
        vterm_screen_reset(vterm_obtain_screen(emulated), 1);
        found = settings();
        if ((leader = fork()) == 0) lead(before);
        settle();
    }
    ~screen()
    {
        if (!ended()) send(SIGKILL), kill(leader, SIGKILL);  // which hangs up on a shell, too
        end();
        close(master);
        close(slave);
        vterm_free(emulated);
    }

    void resize(int height, int width)
    {
        winsize size{};
        size.ws_row = static_cast<unsigned short>(height);
        size.ws_col = static_cast<unsigned short>(width);
        ioctl(master, TIOCSWINSZ, &size);
        vterm_set_size(emulated, rows = height, columns = width);
    }

    // Types `keys`, each line, cursor key, Ctrl-Z and Ctrl-D when the program waits for it.
    screen& type(std::string keys)
    {
        std::replace(keys.begin(), keys.end(), '\n', '\r');  // as the Return key sends it
        for (std::size_t at = 0, size; at < keys.size() && !ended(); at += size) {
            size = std::min(keys.find_first_of("\r\032\004", at), keys.size()) - at;
            if (keys[at] == '\033') size = 3;
            else if (keys[at + size] == '\r' || size == 0) ++size;
            EXPECT_EQ(write(master, &keys[at], size), static_cast<ssize_t>(size));
            settle();
        }
        return *this;
    }
    // To the foreground job, if there is one: 0 and -1 would mean others.
    void send(int signal) const
    {
        if (pid_t job = tcgetpgrp(master); job > 1) kill(job, signal);
    }

    // The lines on the screen, without the blanks at their ends; or all that is red there.
    std::string shown(bool red = false) const
    {
        std::string text;
        for (VTermPos at{0, 0}; at.row < rows; ++at.row, text += '\n') {
            for (at.col = 0; at.col < columns; ++at.col) {
                VTermScreenCell cell{};
                vterm_screen_get_cell(vterm_obtain_screen(emulated), at, &cell);
                const bool isred = VTERM_COLOR_IS_INDEXED(&cell.fg) && cell.fg.indexed.idx == 1;
                if (isred || !red) text += static_cast<char>(std::max(cell.chars[0], 32u));
            }
            text.resize(text.find_last_not_of(' ') + 1);
        }
        return text.substr(0, text.find_last_not_of('\n') + 1);
    }
    // The entry highlighted last, empty if there is none.
    std::string marked() const { return shown(true).substr(shown(true).rfind('\n') + 1); }

    // Settings of the terminal.
    std::string settings() const
    {
        termios now{};
        tcgetattr(slave, &now);
        return {reinterpret_cast<char*>(&now), reinterpret_cast<char*>(now.c_cc + NCCS)};
    }
    bool asfound() const { return settings() == found; }
    // As a shell does after a stop that nothing can catch.
    void setasfound() const
    {
        termios now{};
        std::copy(found.begin(), found.end(), reinterpret_cast<char*>(&now));
        tcsetattr(slave, TCSANOW, &now);
    }

    // Name of the foreground job and its state: "S" asleep, "T" stopped.
    std::string state() const
    {
        std::string id, name, as;
        std::ifstream("/proc/" + std::to_string(tcgetpgrp(master)) + "/stat") >> id >> name >> as;
        return name + as;
    }

    // Takes up what is written until `done` held and nothing came after it. The bound is a count of
    // turns, not a time: while the machine stands still it does not run out.
    bool until(auto done)
    {
        for (int turns = 0; turns < patience; ++turns) {
            const bool was = done();
            char bytes[4096];
            const auto count = read(master, bytes, sizeof bytes);
            if (count > 0) vterm_input_write(emulated, bytes, std::size_t(count));
            else if (was) return true;
            else usleep(500);
            if (int how; !ended() && waitpid(leader, &how, WNOHANG) > 0) status = WEXITSTATUS(how);
        }
        patience = 2000;  // one failure is enough to wait for
        return false;
    }
    // The exit status, or -1 if there is no end.
    int end() { return until(std::bind_front(&screen::ended, this)), status; }

    // Waits until all that was typed has been read, and the program, or the shell at its prompt,
    // waits for more; or until it has ended. A poll moves what is on its way to the slave there.
    void settle()
    {
        const auto waits = [this] {
            pollfd typed{slave, POLLIN, 0};
            if (poll(&typed, 1, 0) != 0) return false;
            termios now{};
            tcgetattr(slave, &now);
            return state() == "(attenuation)S" || (state() == "(bash)S" && !(now.c_lflag & ICANON));
        };
        if (until([&] { return ended() || waits(); })) return;
        ADD_FAILURE() << "the program neither waits nor ends:\n" << shown();
        send(SIGKILL);
    }
    // Plays the shell with job control, without which no signal stops a program.
    void lead(const std::string& before) const
    {
        const std::string command =
            "export TANOHEPATH=. TERM=xterm INPUTRC=/dev/null PATH=\"${0%/*}:$PATH\"; ulimit -c 0;"
            " shell() { exec env -i TANOHEPATH=. TERM=xterm INPUTRC=/dev/null PATH=\"$PATH\" "
            "LC_ALL=C"
            " PS1='$ ' bash --norc --noprofile -i; };"
            " cd '" DATA_DIR "'; " +
            before + "; exec \"$0\"";
        close(master);
        login_tty(slave);
        signal(SIGTTOU, SIG_IGN);  // for tcsetpgrp from the background
        if (before == ": container") unshare(CLONE_NEWUSER | CLONE_NEWPID);  // fork: process 1
        if (fork() == 0) {
            setpgid(0, 0);
            tcsetpgrp(0, getpid());
            signal(SIGTTOU, SIG_DFL);
            execl("/bin/sh", "sh", "-c", command.c_str(), PROGRAM, nullptr);
        }
        int state = 0;
        wait(&state);
        _exit(WIFSIGNALED(state) ? 128 + WTERMSIG(state) : WEXITSTATUS(state));
    }

    static inline int patience = 40000;
    VTerm* emulated = vterm_new(24, 80);
    int rows = 0, columns = 0;
    std::string found;  // the settings at first
    int master = -1, slave = -1, leader = -1;
};
