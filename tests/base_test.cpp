// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/stat.h>

#include <random>

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
    cases("base.txt", {
        {"printable", [](auto& c) {
            std::string shown(c.size() > 2 ? std::stoul(c[2]) : 64, '\0');
            shown.resize(std::size_t(makeprintable(c[0], shown.data(), shown.size())));
            EXPECT_EQ(shown, c[1]);
        }},
        {"refused", [](auto& c) {
            c.expectin(said([&] {
                infile file;
                text<4> line;
                file.opentable(c[0].c_str());
                file.next(line);
            }), 1);
        }},
    });
}

// Against the simplest reader; lines end anywhere about the end of a block of 32768 bytes.
TEST(Infile, ReadsAndFindsAsLineByLine)
{
    const workdirectory here;
    std::mt19937 random(1);
    const char* const parts[] = {" Iron", " Ironore", " Iro", " EE", " E", "Iron", " Dy\r", ""};
    for (int i = 0; i < 400; ++i) {
        std::string content;
        for (auto n = random() % 30; n > 0; --n) {
            const std::size_t blocks = content.size() / 32768 + 1;
            if (random() % 6 == 0) content.resize(blocks * 32768 + 9 - random() % 12, 'D');
            content += parts[random() % std::size(parts)];
            if (random() % 5 != 0) content += '\n';
        }
        std::ofstream("table") << content;
        const std::string wanted = std::string(parts[random() % 5]).substr(1);
        infile file;
        ASSERT_TRUE(file.open("table"));
        std::istringstream lines(content);
        text<6> read;
        long number = 0;
        bool at = true;  // the file has been read up to this line
        for (std::string line; std::getline(lines, line); ++number) {
            if (line.size() <= 6 && line.ends_with('\r')) line.pop_back();
            const bool next = at && number % 3 == 1;
            at = next || (!line.empty() && line.substr(1).starts_with(wanted));
            if (!at) continue;
            ASSERT_TRUE(next ? file.next(read) : file.nextwith(wanted)) << line;
            ASSERT_TRUE((!next || read == text<6>(line)) && file.lineno() == number + 1) << line;
        }
        ASSERT_TRUE(!file.nextwith(wanted) && file.lineno() == number && !file.next(read));
        for (file.rewind(); file.next(read);) --number;
        ASSERT_EQ(number, 0);
    }
}
