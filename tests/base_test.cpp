// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/stat.h>

#include "base/printable.h"
#include "tests/session.h"

TEST(Field, StopsOutsideItsBounds)
{
    dim<int, 1, 3> three;
    text<4> field("abcdef");
    field.put(2, 3, "x");
    EXPECT_EQ(field.all(), "ax d");
    EXPECT_TRUE(three(1) == 0 && three(3) == 0 && field(5, 4).empty());
    EXPECT_EQ(fault([&] { three(0) = 1; }), "attenuation: index 0 outside 1..3\n");
    EXPECT_EQ(fault([&] { three(4) = 1; }), "attenuation: index 4 outside 1..3\n");
    for (const auto& [from, to] : {std::pair(2, 5), {0, 1}, {3, 1}}) {
        const auto put = [&field, i = from, j = to] { text<4>(field).put(i, j, ""); };
        row("of a 4-column text\\n>").expectin(fault(put), 0);
    }
}

TEST(Base, Cases)
{
    text<4> line;
    infile file;
    cases("base.txt", {
        {"printable", [](auto& c) {
            std::string shown(c.size() > 2 ? std::stoul(c[2]) : 64, '\0');
            shown.resize(std::size_t(makeprintable(c[0], shown.data(), shown.size())));
            EXPECT_EQ(shown, c[1]);
        }},
        {"input", [&](auto& c) {
            const console session(c[0]);
            EXPECT_TRUE(readrecord(5, line) && line == text<4>(c[1]));
            EXPECT_EQ(session.rest(), c[2]);
        }},
        {"lines", [&](auto& c) {
            const workdirectory here({{"table", c[0]}});
            EXPECT_TRUE(file.open("table"));
            for (std::size_t i = 1; i < c.size(); ++i) {
                EXPECT_TRUE(file.next(line) && line == text<4>(c[i])) << c[i];
            }
            EXPECT_FALSE(file.next(line));
            EXPECT_EQ(file.lineno(), static_cast<long>(c.size() - 1));
        }},
        {"search", [&](auto& c) {
            const workdirectory here({{"table", c[0]}});
            file.open("table");
            EXPECT_EQ(file.nextwith(c[1]) ? file.lineno() : 0, c.integer(2));
            EXPECT_EQ(file.next(line), c.size() > 3);
            EXPECT_EQ(line, text<4>(c[3]));
        }},
        {"refused", [&](auto& c) {
            const workdirectory here;
            mkfifo("pipe", 0600);
            c.expectin(fault([&] { file.opentable(c[0].c_str()); }), 1);
        }},
    });
}
