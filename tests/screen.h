// SPDX-License-Identifier: GPL-3.0-or-later
// tests/screen.h: runs the program on a pseudo-terminal and shows what a person sees on its screen.
#pragma once

#include <pty.h>
#include <utmp.h>
#include <vterm.h>

#include <chrono>
#include <csignal>

#include "tests/session.h"

// The program on a terminal of its own. Every wait is bounded; one that runs out is a failure.
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
        if (!ended()) send(SIGKILL);
        until([this] { return ended(); });
        close(master);
        close(slave);
        vterm_free(emulated);
    }

    void resize(int height, int width)
    {
        const winsize size{static_cast<unsigned short>(rows = height),
                           static_cast<unsigned short>(columns = width), 0, 0};
        ioctl(master, TIOCSWINSZ, &size);
        vterm_set_size(emulated, rows, columns);
    }

    // Types `keys`, line by line and cursor key by cursor key, each when the program waits for it.
    screen& type(std::string keys)
    {
        std::replace(keys.begin(), keys.end(), '\n', '\r');  // as the Return key sends it
        for (std::size_t at = 0, size; at < keys.size() && !ended(); at += size) {
            size = keys[at] == '\033' ? 3 : std::min(keys.find('\r', at), keys.size() - 1) - at + 1;
            EXPECT_EQ(write(master, &keys[at], size), static_cast<ssize_t>(size));
            settle();
        }
        return *this;
    }
    // To the foreground job, if there is one: 0 and -1 would mean others.
    void send(int signal) const { if (pid_t job = tcgetpgrp(master); job > 1) kill(job, signal); }

    // The lines on the screen down to the last that is not empty, without the blanks at their ends;
    // or all that is red there.
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

    // Of the process: "S" asleep, "T" stopped.
    std::string state() const
    {
        std::string id, name, as;
        std::ifstream("/proc/" + std::to_string(tcgetpgrp(master)) + "/stat") >> id >> name >> as;
        return as;
    }

    // Takes up what the program writes until `done`.
    bool until(auto done)
    {
        // Long enough for a machine that stalls for a while.
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(40);
        while (!done()) {
            if (std::chrono::steady_clock::now() > end) return false;
            if (int how; !ended() && waitpid(leader, &how, WNOHANG) > 0) status = WEXITSTATUS(how);
            char bytes[4096];
            const auto count = read(master, bytes, sizeof bytes);
            if (count > 0) heard += vterm_input_write(emulated, bytes, std::size_t(count));
            else usleep(500);
        }
        return true;
    }

    // Waits until the program has taken notice of what was typed, which at least an echo shows, and
    // waits for more, or has ended; and until nothing is on its way to the screen: a NUL, which
    // leaves no trace there, has come back alone.
    void settle()
    {
        const std::size_t before = heard;
        const auto waits = [&] {
            int unread = 0;
            ioctl(slave, FIONREAD, &unread);
            return ended() || (heard > before && unread == 0 && state() == "S");
        };
        const auto quiet = [&] {
            const std::size_t now = heard;
            return write(slave, "", 1) && until([&] { return heard > now; }) && heard == now + 1;
        };
        if (until([&] { return waits() && quiet() && waits(); })) return;
        ADD_FAILURE() << "the program neither waits nor ends:\n" << shown();
        send(SIGKILL);
    }
    // Plays the shell with job control, without which no signal stops a program: runs it as the
    // foreground job of the terminal.
    void lead(const std::string& before) const
    {
        const std::string command = "export TANOHEPATH=. TERM=xterm INPUTRC=/dev/null; ulimit -c 0;"
                                    " cd '" DATA_DIR "'; " + before + "; exec '" PROGRAM "'";
        close(master);
        login_tty(slave);
        signal(SIGTTOU, SIG_IGN);  // for tcsetpgrp from the background
        if (fork() == 0) {
            setpgid(0, 0);
            tcsetpgrp(0, getpid());
            for (int n : {SIGINT, SIGQUIT, SIGTSTP, SIGHUP}) signal(n, SIG_DFL);  // as of a login
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        }
        int state = 0;
        wait(&state);
        _exit(WIFSIGNALED(state) ? 128 + WTERMSIG(state) : WEXITSTATUS(state));
    }

    VTerm* emulated = vterm_new(24, 80);
    int rows = 0, columns = 0;
    std::string found;  // the settings at first
    int master = -1, slave = -1, leader = -1;
    std::size_t heard = 0;  // bytes written to the screen so far
};

// Base of the tests on a terminal.
struct Terminal : testing::Test {
    void SetUp() override
    {
        if (close(posix_openpt(O_RDWR | O_NOCTTY)) < 0) GTEST_SKIP() << "no pseudo-terminal here";
    }
};
