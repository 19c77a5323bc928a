// SPDX-License-Identifier: GPL-3.0-or-later
#include "help/comhelp.h"
#include "terminal/key.h"
#include "tests/session.h"

namespace {

struct chosen {
    int lq, lk;
    text<80> chdf;
    std::string out;
    int lines;  // as the menu counts them
};

// Shows a menu of the entries, one a line, and lets the keys choose. `modes` are columns 131 and
// 132 of the title; a "#" behind the default asks for equal columns.
chosen menu(const std::string& entries, std::string offered, const std::string& keys,
            const std::string& modes = "", const std::string& title = "select", int width = 80)
{
    const console session(keys);
    term.npl = term.ncol(1) = width;
    std::int32_t lq = 0, lk = -1;
    for (std::size_t at = 0; at < entries.size(); at = entries.find('\n', at) + 1) {
        scrd.queryar(++lq) = text<132>(entries.substr(at, entries.find('\n', at) - at));
        scrd.helpar(lq) = "read/key";
        scrd.ext(lq) = text<16>();
    }
    text<132> cheader(title);
    cheader.put(131, 132, modes);
    text<80> chdf;
    if (offered.ends_with('#')) chdf(80) = '#', offered.pop_back();
    chdf.put(1, 79, offered);
    query(lq, lk, cheader, chdf);
    EXPECT_EQ(cheader(132), ' ');
    const int lines = static_cast<unsigned char>(chdf(80)) - '0';
    return {lq, lk, text<80>(chdf(1, 79)), session.output(), lines};
}

// Asks for help on a key with this help file, in 80 columns and 24 rows.
std::string helped(const std::string& file, const std::string& key, const std::string& keys)
{
    const workdirectory here({{"attenuation.help", file}, {"further", "one\033[2J\nlast"}});
    setenv("TANOHEPATH", here.path.c_str(), 1);
    localpath.localhepath = "/attenuation.help";
    cmpa.tanohepath = text<64>(here.path);
    const console session(keys);
    help(text<132>(key));
    return session.output();
}

}  // namespace

TEST(Menu, Cases)
{
    std::string entries;
    cases("menus.txt", {
        {"entries", [&](auto& c) { entries = c[0]; }},
        {"choices", [&](auto& c) {
            const chosen m = menu(entries, c[0], c[1]);
            EXPECT_EQ(std::pair(m.lq, m.lk), std::pair(c.integer(2), c.integer(3)));
            EXPECT_TRUE(m.lq == 0 || m.lk > 0 || m.chdf == text<80>(scrd.queryar(m.lq).all()));
        }},
        {"layouts", [&](auto& c) {
            const chosen m = menu(entries, c[0], c[1], c[2], c[3], c.integer(4));
            EXPECT_EQ(m.lines, c.integer(5));
            c.expectin(m.out, 6);
        }},
    });
    for (int width = 1; width < 200; width += 7) {
        const std::string wide(132, 'y'), all = wide + "\nshort\n" + wide + "\n";
        EXPECT_EQ(menu(all, "sh#", "\n", "", "title", width).lq, width < 2 ? 0 : 2);
    }
}

// Also with a help text in between.
TEST(Menu, RecordAndReplay)
{
    const workdirectory here;
    unsetenv("TANOHEPATH");
    for (const char* keys : {"\033[A\n", "\033[Bhe\n\033[A\n"}) {
        std::FILE* script = std::tmpfile();
        connectscript(script);
        const std::string entries = unescaped("{12*12345678\n}");
        menu(entries, "12345678#", keys, " w");
        std::rewind(script);
        const chosen m = menu(entries, "123", "", " r");
        EXPECT_EQ(std::tuple(m.lq, m.lk, m.chdf), std::tuple(12, -1, text<80>("12345678")));
        row("\n\\e[0m12----").expectin(m.out, 0);  // the separator with the number is echoed
        connectscript(nullptr);
        std::fclose(script);
    }
}

TEST(Help, Cases)
{
    std::string file;
    cases("helptexts.txt", {
        {"file", [&](auto& c) { file = c[0]; }},
        {"shown", [&](auto& c) { c.expectin(helped(file, c[0], c[1]), 2); }},
        {"levels", [&](auto& c) {
            scrd.queryar(1) = "of the caller";
            scrd.helpar(1) = "c";
            c.expectin(helped(file, "a", c[0]), 2);
            EXPECT_EQ(scrd.queryar(1) == text<132>("of the caller"), c[1] == "whole");
        }},
        {"related", [&](auto& c) {
            c.expectin(helped("/k\ntext\n/#" + c[0] + "\n", "k", "\n" + c[1] + "\n\n"), 2);
        }},
    });
    EXPECT_EQ(fault([&] { helped("/k\n" + std::string(50, '\n'), "k", "\n"); }),
              "attenuation: end of input at a page of the help text\n");
}
