// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "terminal/key.h"
#include "terminal/readalinef.h"
#include "tests/session.h"

TEST(Window, HasDefaultsWithoutATerminal)
{
    const console session("");
    for (int n : {1, 8}) {
        term = terminalrecord{};
        window(n);
        EXPECT_EQ(std::tuple(term.ncol(n), term.nrows(n), term.npl), std::tuple(80, 24, 80));
    }
    EXPECT_EQ(term.winfile, text<16>(std::string(16, '\0')));
    EXPECT_EXIT(window(9), testing::ExitedWithCode(1), "index 9 outside 1..8");
}

TEST(Key, CodesFromBytes)
{
    struct { std::string bytes; int code; } const cases[] = {
        {"\n", 64},      {"@", 64},       {"a", 97},  {"\033[A", -65}, {"\033[D", -68},
        {"\tab", -98},   {"\x7Fxy", -121}, {"\xE4", 228}, {"\003qr", -114},
    };
    for (const auto& c : cases) {
        const console session(c.bytes + "~");
        EXPECT_EQ(key(), c.code);
        EXPECT_EQ(session.rest(), "~");
    }
}

TEST(Infopath, CopiesWithoutBoundsButInsideTheRecord)
{
    const auto field = [](const auto& f) {
        const std::string whole(f.item, sizeof f.item);
        return whole.substr(0, whole.find('\0'));
    };
    setenv("TANOHEPATH", std::string(90, 'h').c_str(), 1);
    unsetenv("TANOUTPATH");
    setenv("PWD", std::string(5000, 'w').c_str(), 1);
    infopath();
    EXPECT_EQ(field(path.hepath), std::string(80, 'h'));  // no NUL: its readers take it as empty
    EXPECT_EQ(field(path.utpath), std::string(10, 'h'));
    EXPECT_EQ(field(path.workdir), std::string(132, 'w'));
    setenv("TANOHEPATH", "/usr/help", 1);
    setenv("PWD", "", 1);
    infopath();
    EXPECT_EQ(field(path.hepath), "/usr/help");
    EXPECT_EQ(field(path.utpath), "");  // nothing is left of the long value
    EXPECT_EQ(field(path.workdir), "");
    unsetenv("TANOHEPATH");
    infopath();
    EXPECT_EQ(path.hepath(1), '\0');
}

TEST(Readaline, GivesCodesOfOneLine)
{
    const std::string input = "Fe2O3\n\xC3\xA4\n" + std::string(200, 'x') + "\n\nrest";
    std::vector<int> counts;
    dim<dim<std::int32_t, 1, 132>, 1, 4> k;
    std::string rest;
    {
        const console session(input);
        for (int i = 1; i <= 4; ++i) counts.push_back(readaline(k(i), ">"));
        rest = session.rest();
    }
    EXPECT_EQ(counts, (std::vector<int>{5, 2, 132, 0}));
    EXPECT_EQ(std::vector<int>(k(1).item, k(1).item + 5), (std::vector<int>{70, 101, 50, 79, 51}));
    EXPECT_EQ(k(2)(1), -61);  // sign-extended
    EXPECT_FALSE(inputended());
    EXPECT_EQ(rest, "rest");
}

TEST(Viewer, IsStartedInTheBackground)
{
    const workdirectory here({{"xdvi", "#!/bin/sh\necho \"$@\" >started; mv started done\n"}});
    chmod("xdvi", 0700);
    setenv("PATH", (here.path + ":" + getenv("PATH")).c_str(), 1);
    setenv("TANOHEPATH", "/help", 1);
    {
        const console session("");
        viewdvi("$TANOHEPATH/dvifiles/units/units.dvi &");
        viewdvi(std::string(127, 'x').c_str());
        EXPECT_EQ(session.output(), " xdvi $TANOHEPATH/dvifiles/units/units.dvi &\n"
                                    " the command for the document viewer is too long\n");
    }
    for (int i = 0; i < 500 && access("done", F_OK) != 0; ++i) usleep(10000);
    EXPECT_EQ(filecontent("done"), "/help/dvifiles/units/units.dvi\n");
}
