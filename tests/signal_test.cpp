// SPDX-License-Identifier: GPL-3.0-or-later
// The terminal is given back whatever happens, and an output that fails is noticed.
#include "tests/screen.h"

// Where the program waits for a key, a number, the rest of an edited line, the end of a page.
const struct { const char *keys, *interrupt, *more, *after; } states[] = {
    {"", "#", "\033[B", "\n[2 Iron foil]\n"},
    {"2\n\n", "\003", "25\n", "=[25.00]"},
    {"5\n\nA", "\003", "g\n", " [Ag]\n>"},
    {"he\n", "\003", "\n", "\n[return] "},
};

TEST_F(Terminal, Signals)
{
    for (const auto& state : states) {
        for (int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
            screen s(24, 80);
            s.type(state.keys);
            if (signal == SIGTERM || signal == SIGHUP) s.send(signal);
            else s.type(signal == SIGINT ? state.interrupt : "\034");
            s.until([&s] { return s.ended(); });
            EXPECT_TRUE(s.status == 128 + signal && s.asfound()) << state.keys << signal;
        }
    }
}

TEST_F(Terminal, StopAndResize)
{
    for (const auto& state : states) {
        screen s(24, 80);
        const std::string settings = s.type(state.keys).settings();
        for (bool wide : {true, false}) {
            s.send(SIGTSTP);
            EXPECT_TRUE(s.until([&s] { return s.state() == "T"; }) && s.asfound()) << state.keys;
            s.send(SIGCONT);
            EXPECT_TRUE(s.until([&] { return s.settings() == settings; })) << state.keys;
            s.resize(24, wide ? 100 : 90);
        }
        EXPECT_NE(s.type(state.more).shown().find(state.after), std::string::npos) << s.shown();
    }
}

TEST_F(Terminal, OtherEnds)
{
    int left[2];  // a pipe that nobody reads
    ASSERT_TRUE(pipe(left) == 0 && close(left[0]) == 0);
    const std::string gone = "exec >&" + std::to_string(left[1]), out = "attenuation: standard ";
    const struct { const char* keys; std::string before; int status; std::string said; } cases[] = {
        {"2\n\n\004", "true", 1, "the question \"Photon energy in keV\""},
        {"5\n\n\004", "true", 1, "the question \"symbol for the element\""},
        {"he\n\004", "true", 1, "end of input at a page of the help text"},
        {"7\n\n\n\n\n\004", "true", 1, "the question \"new value for the thickness\""},
        {"5\n\ncu\n\n", "true", 1, "has the symbol \"cu\""},
        {"7\n\n\n\n\nn\n\n", "true", 0, "new value for the thickness [n]"},
        {"", "exec >/dev/full", 1, out + "output cannot be written: No space left on device"},
        {"", "exec >&- <elements.dat", 1, out + "output is closed"},
        {"", gone, 128 + SIGPIPE, ""},
        {"", "trap '' PIPE; " + gone + " <elements.dat", 1, ""},
    };
    for (const auto& c : cases) {
        screen s(24, 80, c.before);
        EXPECT_TRUE(s.type(c.keys).status == c.status && s.asfound()) << c.keys << s.shown();
        // A fault of the output is told in one line, or not at all.
        EXPECT_TRUE(*c.keys ? s.shown().ends_with(c.said) : s.shown() == c.said) << s.shown();
    }
    close(left[1]);
}
