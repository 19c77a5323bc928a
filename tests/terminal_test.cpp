// SPDX-License-Identifier: GPL-3.0-or-later
// Keys, paths and the viewer; then what a person sees, in whole runs on an emulated terminal, and that
// the terminal is given back whatever happens.
#include "terminal/key.h"
#include "terminal/readalinef.h"
#include "tests/screen.h"

TEST(Keys, Cases)
{
    cases("keys.txt", {
        {"key", [](auto& c) { c.expectin(said([] { tell(key()), tell(rest()); }, c[0] + "~"), 1); }},
        {"line", [](auto& c) {
            dim<std::int32_t, 1, 132> k;
            const auto action = [&k] { tell(readaline(k, ">")), tell(k(1), k(2), k(132), inputended(), rest()); };
            c.expectin(said(action, c[0] + "rest"), 1);
        }},
        {"window", [](auto& c) {
            const auto action = [&c] { window(c.integer(0)), tell(term.ncol(1), term.nrows(1), term.npl); };
            c.expectin(said(action), 1);
        }},
        {"paths", [](auto& c) {
            const auto field = [](const auto& f) { return std::string(f.item, strnlen(f.item, sizeof f)); };
            for (const char* name : {"TERM", "EDITOR", "SHELL", "COLORFILE"}) setenv(name, name, 1);
            unsetenv("TANOHEPATH");
            if (c[0] != "unset") setenv("TANOHEPATH", c[0].c_str(), 1);
            setenv("TANOUTPATH", c[1].c_str(), 1);
            setenv("PWD", c[2].c_str(), 1);
            infopath();
            std::ostringstream all;
            for (const auto& f : {path.hepath, path.utpath, path.term, path.editor, path.shell, path.colfile}) all << '<' << field(f) << '>';
            all << '<' << field(path.workdir) << '>';
            c.expectin(all.str(), 3);
        }},
    });
}

TEST(Viewer, IsStartedInTheBackground)
{
    const workdirectory here;
    std::ofstream("xdvi") << "#!/bin/sh\necho \"$@\" >started; mv started done\n";
    std::filesystem::permissions("xdvi", std::filesystem::perms::owner_all);
    setenv("PATH", (here.path + ":" + getenv("PATH")).c_str(), 1);
    setenv("TANOHEPATH", "/help", 1);
    row("< xdvi $TANOHEPATH/dvifiles/units/units.dvi &\\n the command for the document viewer is too long\\n>").expectin(said([] {
        viewdvi("$TANOHEPATH/dvifiles/units/units.dvi &");
        viewdvi(std::string(126, 'x').c_str());
    }), 0);
    for (int naps = 0; naps < 9999 && access("done", F_OK) != 0; ++naps) usleep(500);
    EXPECT_EQ(contentof(open("done", O_RDONLY)), "/help/dvifiles/units/units.dvi\n");
}

TEST(Screen, Cases)
{
    if (close(posix_openpt(O_RDWR | O_NOCTTY)) < 0) GTEST_SKIP() << "no pseudo-terminal here";
    int left[2];  // a pipe that nobody reads, behind a number of one digit for the shell
    ASSERT_TRUE(pipe(left) == 0 && dup2(left[1], 9) == 9 && close(left[0]) == 0);
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
        // Also where the screen is full.
        {"inplace", [](auto& c) {
            screen s(c.integer(0), 80);
            const std::string before = s.type(c[1]).shown();
            for (int i = 0; i < 25; ++i) ASSERT_EQ(s.type("\033[B\033[A").shown(), before);
        }},
        {"pages", [](auto& c) {
            screen s(c.integer(0), 80);
            for (std::size_t i = 0; i < c.size(); i += 2) {
                s.resize(c.integer(i), 80);
                row("< An element: | " + c[i + 1] + ">").expectin(s.type("he\n").shown(), 0);
                s.type("\n\n\n");
            }
        }},
        {"ends", [](auto& c) {
            screen s(c[0] == "0" ? 0 : 60, c.integer(0), c[2]);
            EXPECT_TRUE(s.type(c[1]).end() == c.integer(3) && s.asfound()) << s.status << s.shown();
            // A fault of the output is told in one line, or not at all.
            EXPECT_TRUE(c[1].empty() ? s.shown() == c[4] : s.shown().ends_with(c[4])) << s.shown();
        }},
        {"waits", [](auto& c) {
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
            for (int signal : {SIGTSTP, SIGTTIN}) {
                s.send(signal);
                EXPECT_TRUE(s.until([&s] { return s.state().ends_with("T"); }) && s.asfound()) << signal;
                s.send(SIGCONT);
                EXPECT_TRUE(s.until([&] { return s.settings() == settings; })) << signal;
                s.resize(24, s.columns + 10);
            }
            EXPECT_NE(s.type(c[2]).shown().find(c[3]), std::string::npos) << s.shown();
        }},
        // Under a shell that edits its own lines, in settings of its own.
        {"jobs", [](auto& c) {
            screen s(60, 80, "exec env PS1='$ ' bash --norc --noprofile -ib");
            s.type(c[0]).until([&] { return s.shown().find(c.back()) != std::string::npos; });
            c.expectin(s.shown(), 1);
        }},
    });
}
