// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "base/printable.h"
#include "tests/session.h"

TEST(Field, StopsOutsideItsBounds)
{
    dim<int, 1, 3> three;
    text<4> field("abcdef");
    EXPECT_EQ(field.all(), "abcd");
    EXPECT_EXIT(three(0) = 1, testing::ExitedWithCode(1), "attenuation: index 0 outside 1..3");
    EXPECT_EXIT(three(4) = 1, testing::ExitedWithCode(1), "index 4 outside 1..3");
    EXPECT_EXIT(field.put(2, 5, ""), testing::ExitedWithCode(1), "columns 2 to 5 of a 4-column");
}

TEST(Printable, ShowsEveryControlCharacter)
{
    struct { std::string from, to; } const cases[] = {
        {"plain \t\xC3\xA4\xE2\x82\xAC", "plain \t\xC3\xA4\xE2\x82\xAC"},  // letters of UTF-8
        {"\033[2J\x7F\r" + std::string(1, '\0'), "^[[2J^?^M^@"},
        {"\x9B" "1m", "~[1m"},             // the 8-bit control sequence introducer
        {"\xC2\x9B" "1m", "\xC2~[1m"},     // the same in UTF-8
        {"\xC3", "\xC3"},
    };
    for (const auto& c : cases) EXPECT_EQ(printable<64>(c.from).view(), c.to);
    EXPECT_EQ(printable<3>("ab\033").view(), "ab");
}

TEST(Channel, ReadsLinesWithoutReadingAhead)
{
    const console session("one\r\n\ntwo is longer\nlast");
    text<8> line;
    const char* expected[] = {"one", "", "two is l"};
    for (const char* e : expected) {
        EXPECT_TRUE(readrecord(5, line));
        EXPECT_EQ(trimmed(line), e);
    }
    EXPECT_EQ(session.rest(), "last");
}

TEST(Infile, ReadsRegularFilesOnly)
{
    const workdirectory here({{"table", "a\r\n" + std::string(40000, 'x') + "\n\nend"}});
    infile file;
    text<4> line;
    EXPECT_TRUE(file.open("table"));
    for (const char* expected : {"a", "xxxx", "", "end"}) {
        EXPECT_TRUE(file.next(line));
        EXPECT_EQ(trimmed(line), expected);
    }
    EXPECT_FALSE(file.next(line));
    EXPECT_EQ(file.lineno(), 4);
    mkfifo("pipe", 0600);
    for (const char* name : {".", "pipe", "/dev/zero", "missing"}) EXPECT_FALSE(file.open(name));
}
