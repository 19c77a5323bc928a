// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/stat.h>

#include "base/infile.h"
#include "base/printable.h"
#include "tests/session.h"

TEST(Field, StopsOutsideItsBounds)
{
    dim<int, 1, 3> three;
    text<4> field("abcdef");
    field.put(2, 3, "x");
    EXPECT_EQ(field.all(), "ax d");
    for (int i : {0, 4}) {
        row("outside 1..3").expectin(said([&] { three(i) = 1; }), 0);
        row("of a 4-column").expectin(said([&] { field.put(i, 5, ""); }), 0);
    }
}

TEST(Base, Cases)
{
    const workdirectory here;
    mkfifo("pipe", 0600);
    std::filesystem::create_symlink("/proc/self/mem", "unreadable");
    checks check;
    check["printable"] = [](auto& c) {
        std::string shown(c.size() > 2 ? std::stoul(c[2]) : 64, '\0');
        shown.resize(std::size_t(makeprintable(c[0], shown.data(), shown.size())));
        EXPECT_EQ(shown, c.size() > 1 ? c[1] : c[0]);
    };
    check["refused"] = [](auto& c) {
        c.expectin(said([&, name = c[0]] {
                       infile file;
                       text<4> line;
                       file.opentable(name.c_str());
                       file.next(line);
                   }),
                   1);
    };
    // Behind an end of the block of 16384 bytes that is read at once, and about it.
    check["found"] = [](auto& c) {
        for (std::size_t ahead = 16360; ahead < 16386; ++ahead) {
            std::ofstream("table") << std::string(ahead, 'D') << c[0];
            infile file;
            text<4> line;
            ASSERT_TRUE(file.open("table") && file.nextwith(c[1])) << ahead;
            file.next(line);
            EXPECT_EQ(std::to_string(file.lineno()).append(line.all()), c[2]) << ahead;
        }
    };
    cases("base.txt", check);
}
