// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/stat.h>

#include "terminal/key.h"
#include "terminal/readalinef.h"
#include "tests/session.h"

TEST(Window, HasDefaultsWithoutATerminal)
{
    const console session("");
    for (int n : {1, 8}) {
        window(n);
        EXPECT_EQ(std::tuple(term.ncol(n), term.nrows(n), term.npl), std::tuple(80, 24, 80));
        term.npl = 0;
    }
    EXPECT_EQ(term.winfile, text<16>(std::string(16, '\0')));
    EXPECT_EQ(fault([] { window(9); }), "attenuation: index 9 outside 1..8\n");
}

TEST(Keys, Cases)
{
    cases("keys.txt", {
        {"key", [](auto& c) {
            const console session(c[0] + "~");
            EXPECT_EQ(key(), c.integer(1));
            EXPECT_EQ(session.rest(), "~");
        }},
        {"line", [](auto& c) {
            const console session(c[0] + "rest");
            dim<std::int32_t, 1, 132> k;
            EXPECT_EQ(readaline(k, ">"), c.integer(1));
            EXPECT_TRUE(k(1) == c.integer(2) && k(2) == c.integer(3) && !inputended()) << k(1);
            EXPECT_EQ(session.rest(), "rest");
        }},
    });
}

TEST(Infopath, CopiesWithoutBoundsButInsideTheRecord)
{
    const auto field = [](const auto& f) { return std::string(f.item, strnlen(f.item, sizeof f)); };
    cases("paths.txt", {{"", [&field](auto& c) {
        unsetenv("TANOHEPATH");
        unsetenv("TANOUTPATH");
        if (c[0] != "unset") setenv("TANOHEPATH", c[0].c_str(), 1);
        setenv("PWD", c[1].c_str(), 1);
        infopath();
        EXPECT_EQ(std::tuple(field(path.hepath), field(path.utpath), field(path.workdir)),
                  std::tuple(c[2], c[3], c[4]));
    }}});
}

TEST(Viewer, IsStartedInTheBackground)
{
    const workdirectory here({{"xdvi", "#!/bin/sh\necho \"$@\" >started; mv started done\n"}});
    chmod("xdvi", 0700);
    setenv("PATH", (here.path + ":" + getenv("PATH")).c_str(), 1);
    setenv("TANOHEPATH", "/help", 1);
    const std::string out = apart([] {
        viewdvi("$TANOHEPATH/dvifiles/units/units.dvi &");
        viewdvi(std::string(126, 'x').c_str());
        flushoutput();
    }).out;
    EXPECT_EQ(out, " xdvi $TANOHEPATH/dvifiles/units/units.dvi &\n"
                   " the command for the document viewer is too long\n");
    for (int i = 0; i < 500 && access("done", F_OK) != 0; ++i) usleep(10000);
    EXPECT_EQ(filecontent("done"), "/help/dvifiles/units/units.dvi\n");
}
