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
        for (int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
            screen s(24, 80);
            s.type(c[0]);
            if (signal == SIGTERM || signal == SIGHUP) s.send(signal);
            else s.type(signal == SIGINT ? c[1] : "\034");
            s.until([&s] { return s.ended(); });
            EXPECT_TRUE(s.status == 128 + signal && s.asfound()) << signal;
        }
        screen s(24, 80);
        const std::string settings = s.type(c[0]).settings();
        for (int width : {100, 90}) {
            s.send(SIGTSTP);
            EXPECT_TRUE(s.until([&s] { return s.state() == "T"; }) && s.asfound());
            s.send(SIGCONT);
            EXPECT_TRUE(s.until([&] { return s.settings() == settings; }));
            s.resize(24, width);
        }
        EXPECT_NE(s.type(c[2]).shown().find(c[3]), std::string::npos) << s.shown();
    }}});
}

TEST_F(Terminal, OtherEnds)
{
    int left[2];  // a pipe that nobody reads, behind a number of one digit for the shell
    ASSERT_TRUE(pipe(left) == 0 && dup2(left[1], 9) == 9 && close(left[0]) == 0);
    cases("ends.txt", {{"", [](auto& c) {
        screen s(60, c.integer(0), c[2]);
        EXPECT_TRUE(s.type(c[1]).status == c.integer(3) && s.asfound()) << s.shown();
        // A fault of the output is told in one line, or not at all.
        EXPECT_TRUE(c[1].empty() ? s.shown() == c[4] : s.shown().ends_with(c[4])) << s.shown();
    }}});
}
