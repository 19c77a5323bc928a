// SPDX-License-Identifier: GPL-3.0-or-later
// Keys; then what a person sees in whole runs on an emulated terminal, which is given back whatever
// happens.
#include "terminal/key.h"
#include "tests/screen.h"

TEST(Keys, Cases)
{
    checks check;
    check[""] = [](auto& c) { c.expectin(said([] { tell(key()), tell(rest()); }, c[0] + "~"), 1); };
    cases("keys.txt", check);
}

TEST(Terminal, Cases)
{
    int first[2];  // left open
    if (openpty(&first[0], &first[1], nullptr, nullptr, nullptr) < 0) GTEST_SKIP() << "no openpty";
    int left[2];  // a pipe that nobody reads, behind a number of one digit for the shell
    ASSERT_TRUE(pipe(left) == 0 && dup2(left[1], 9) == 9 && close(left[0]) == 0);
    checks check;
    check["runs"] = [](auto& c) {
        screen s(c[0] == "0" ? 0 : 60, c.integer(0), c[2].empty() ? "true" : c[2]);
        if (c[0].size() > 4) s.resize(60, std::stoi(c[0].substr(3)));
        s.type(c[1]);
        const auto text = [&s] { return s.shown() + "|" + s.marked(); };
        // A shell tells of the end of a job at a prompt to come, when another child has ended.
        const auto told = [&] { return text().find(c.back()) != std::string::npos; };
        for (int i = 0; i < 200 && c[2] == "shell" && !told(); ++i) s.type("sleep .01\n");
        if (c[3].empty()) EXPECT_EQ(s.status, -1) << s.shown();
        else EXPECT_TRUE(s.end() == c.integer(3) && s.asfound()) << s.status;
        c.expectin(text(), 4);
    };
    // Also where the screen is full.
    check["inplace"] = [](auto& c) {
        screen s(c.integer(0), std::stoi(c[0].substr(2)));
        const std::string before = s.type(c[1]).shown();
        for (int i = 0; i < 25; ++i) ASSERT_EQ(s.type("\033[B\033[A").shown(), before);
    };
    check["pasted"] = [](auto& c) {
        screen s(60, 80);
        EXPECT_EQ(write(s.master, c[0].data(), c[0].size()), ssize_t(c[0].size()));
        s.settle();
        c.expectin(s.type(c[1]).shown(), 2);
    };
    check["waits"] = [](auto& c) {
        for (int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2,
                           SIGXCPU, SIGABRT, SIGSEGV, SIGBUS}) {
            screen s(24, 80);
            s.type(c[0]);
            if (signal == SIGTERM) s.type("\023").send(SIGCONT);  // with Ctrl-S: nothing is written
            if (signal == SIGINT || signal == SIGQUIT) s.type(signal == SIGINT ? c[1] : "\034");
            else s.send(signal);
            EXPECT_TRUE(s.end() == 128 + signal && s.asfound()) << signal;
        }
        screen s(24, 80);
        const std::string settings = s.type(c[0]).settings();
        for (int signal : {SIGTSTP, SIGTTIN, SIGTSTP, SIGSTOP}) {
            s.send(signal);
            EXPECT_TRUE(s.until([&s] { return s.state().ends_with("T"); }));
            if (signal == SIGSTOP) s.setasfound();
            EXPECT_TRUE(s.asfound()) << signal;
            s.send(SIGCONT);
            EXPECT_TRUE(s.until([&] { return s.settings() == settings; })) << signal;
            s.resize(24, s.columns + 10);
            s.settle();  // the line editor notes a signal only where it waits
        }
        c.expectin(s.type(c[2]).shown(), 3);
    };
    cases("screens.txt", check);
}
