// SPDX-License-Identifier: GPL-3.0-or-later
// What a person sees: whole runs on an emulated terminal.
#include "tests/screen.h"

TEST_F(Terminal, LowestLines)
{
    const std::string dashes(77, '-');
    const struct { unsigned short columns; const char* keys; std::string lowest; } cases[] = {
        // A typed answer replaces the default on its line. The blanks that wipe a number or yes and
        // no are as wide as the question, so that the end of a longer default stays.
        {80, "2\n\n5\n", "-\n\nPhoton energy in keV=[5.00]]"},
        {80, "comp\n\nFeO\n", "-\n\nformula of the compound [FeO]\n>"},
        {80, "7\n\n\n\n\nn\n", "\n\nnew value for the thickness [n]"},
        // Where the question and its default take two lines, the upper one stays.
        {15, "2\n\n25\n", "-\n\nPhoton energy i\nPhoton energy i\n=[25.00]"},
        {30, "comp\n\nFeO\n", "formula of the compound [N_2H_\nformula of the compound [FeO]\n>"},
        {30, "7\n\n\n\n\nn\n", "thickness [y\nnew value for the thickness [n\n]"},
        // The up-arrow key brings the default back.
        {80, "5\n\n\033[A", "-\n\nsymbol for the element [Cu]\n>Cu"},
        {80, "5\n\nAg\n\033[A\n\n", "symbol for the element [Ag]\nPhoton energy in keV=[14.40]"},
        // A menu of one entry takes it. The next one is a block, as are those of the help.
        {80, "\n\n", " [mm^-1]\n\n----------------------thickness of the sample (help:he)"
                     "----------------------\n[thickness mg/cm2]    thickness in mm\n" + dashes},
        {200, "he\n\n", "es      about/tables         about/document\n" + std::string(127, '-')},
    };
    for (const auto& c : cases) {
        screen s(60, c.columns);
        EXPECT_TRUE(s.type(c.keys).shown().ends_with(c.lowest)) << c.keys << "\n" << s.shown();
    }
}

TEST_F(Terminal, Highlight)
{
    const std::string one = "[1 Nickel foil]", title = "-select (help:he)-";
    const struct { const char* keys; std::string marked; bool again; } cases[] = {
        {"\033[D\033[A\033[C\033[B\033[B", "[2 Iron foil]", false},  // 11, 10, 11, 1, 2
        {"foil\nfoil\nfoil\n", one, false},                        // 2, 4, from the top again
        {"lead\n", "", false},                                     // not found
        {"lead\n\n", one, true},                                   // so that nothing is chosen
        {"q\n", one, true},
        {"\033[B*\n", one, true},
        {"Lead\nhe\n\n\n", one, true},  // help and back
        {"he\n\n\n\033[A", "[11 0.111(136.5keV), 0.889(122.0keV)]", true},
    };
    for (const auto& c : cases) {
        screen s(60, 80);
        EXPECT_EQ(s.type(c.keys).marked(), c.marked) << c.keys;
        EXPECT_EQ(s.shown().find(title) != s.shown().rfind(title), c.again) << s.shown();
    }
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

TEST_F(Terminal, AnyWidth)
{
    for (auto columns : std::initializer_list<unsigned short>{1, 2, 3, 4, 5, 20, 131, 200, 500}) {
        screen s(200, columns);
        s.type("3\n\n\nn\n\nn\n\nn\n\nn\n\n");
        // One and four columns cut the energy to 1 and to 0 keV, for which there is no table.
        EXPECT_EQ(s.status, columns == 1 || columns == 4 ? 1 : 0) << s.shown();
    }
}
