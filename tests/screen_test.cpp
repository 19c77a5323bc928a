// SPDX-License-Identifier: GPL-3.0-or-later
// What a person sees, in whole runs on an emulated terminal; that the terminal is given back
// whatever happens; and that an output that fails is noticed.
#include "tests/screen.h"

TEST_F(Terminal, Screens)
{
    cases("screens.txt", {
        {"lowest", [](auto& c) {
            screen s(60, c.integer(0));
            EXPECT_TRUE(s.type(c[1]).shown().ends_with(c[2])) << s.shown();
        }},
        {"highlight", [](auto& c) {
            screen s(60, 80);
            const std::string title = "-select (help:he)-", shown = s.type(c[0]).shown();
            EXPECT_EQ(s.marked(), c[1]);
            EXPECT_EQ(shown.find(title) != shown.rfind(title), c[2] == "again") << shown;
        }},
    });
}

// On a screen with room below the menu, and on full ones.
TEST_F(Terminal, MenuStaysInPlace)
{
    for (const char* keys : {"\033[B", "Lead\n\n\n\033[B", "he\n\n\033[B"}) {
        screen s(*keys == '\033' ? 40 : 24, 80);
        const std::string before = s.type(keys).shown();
        for (int i = 0; i < 25; ++i) ASSERT_EQ(s.type("\033[B\033[A").shown(), before);
    }
}

TEST_F(Terminal, PagesFollowTheWindow)
{
    screen s(10, 80);
    for (const char* end : {"density that follow.", "\"q\" and \"*\"."}) {
        const std::string page = s.type("he\n").shown();
        EXPECT_TRUE(page.starts_with(" An element: which") && page.ends_with(end)) << page;
        s.type("\n\n\n").resize(12, 80);
    }
}

TEST_F(Terminal, SignalsStopsAndResizes)
{
    cases("waits.txt", {{"", [](auto& c) {
        for (int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2,
                           SIGXCPU, SIGABRT, SIGSEGV, SIGBUS}) {
            screen s(24, 80);
            s.type(c[0]);
            if (signal == SIGINT || signal == SIGQUIT) s.type(signal == SIGINT ? c[1] : "\034");
            else s.send(signal);
            EXPECT_TRUE(s.end() == 128 + signal && s.asfound()) << signal;
        }
        screen s(24, 80);
        const std::string settings = s.type(c[0]).settings();
        for (int signal : {SIGTSTP, SIGTTIN, SIGTTOU}) {
            s.send(signal);
            EXPECT_TRUE(s.until([&s] { return s.state().ends_with("T"); }) && s.asfound()) << signal;
            s.send(SIGCONT);
            EXPECT_TRUE(s.until([&] { return s.settings() == settings; })) << signal;
            s.resize(24, s.columns + 10);
        }
        EXPECT_NE(s.type(c[2]).shown().find(c[3]), std::string::npos) << s.shown();
    }}});
}

// Under a shell that edits its own lines, in settings of its own.
TEST_F(Terminal, JobsOfAShell)
{
    cases("jobs.txt", {{"", [](auto& c) {
        screen s(60, 80, "exec env PS1='$ ' bash --norc --noprofile -ib");
        s.type(c[0]).until([&] { return s.shown().find(c.back()) != std::string::npos; });
        c.expectin(s.shown(), 1);
    }}});
}

TEST_F(Terminal, OtherEnds)
{
    int left[2];  // a pipe that nobody reads, behind a number of one digit for the shell
    ASSERT_TRUE(pipe(left) == 0 && dup2(left[1], 9) == 9 && close(left[0]) == 0);
    cases("ends.txt", {{"", [](auto& c) {
        screen s(60, c.integer(0), c[2]);
        EXPECT_TRUE(s.type(c[1]).end() == c.integer(3) && s.asfound()) << s.shown();
        // A fault of the output is told in one line, or not at all.
        EXPECT_TRUE(c[1].empty() ? s.shown() == c[4] : s.shown().ends_with(c[4])) << s.shown();
    }}});
}
