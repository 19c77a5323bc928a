// SPDX-License-Identifier: GPL-3.0-or-later
#include "help/comhelp.h"
#include "terminal/key.h"
#include "tests/session.h"

namespace {

std::string entries;  // of the menus to come, one a line

// Shows a menu: default, "#" behind it for equal columns, keys, the modes of columns 131 and 132, the
// title and the width are the first fields of the case.
void menu(const row& c)
{
    term.npl = term.ncol(1) = c[4].empty() ? 80 : c.integer(4);
    std::int32_t lq = 0, lk = -1;
    std::istringstream all(entries);
    for (std::string line; std::getline(all, line);) {
        scrd.queryar(++lq) = text<132>(line);
        scrd.helpar(lq) = "read/key";
        scrd.ext(lq) = text<16>();
    }
    text<132> cheader(c[3].empty() ? "select" : c[3]);
    cheader.put(131, 132, c[2]);
    text<80> chdf(c[0]);
    if (c[0].ends_with('#')) chdf(chdf.length()) = ' ', chdf(80) = '#';
    query(lq, lk, cheader, chdf);
    tell(lq, lk, text<79>(chdf(1, 79)), static_cast<unsigned char>(chdf(80)) - '0', rest());
}

}  // namespace

// On a help file of its own, in 80 columns and 24 rows.
TEST(Help, Cases)
{
    const workdirectory here;
    std::ofstream("further") << "one\033[2J\nlast";
    setenv("TANOHEPATH", here.path.c_str(), 1);
    localpath.localhepath = "/attenuation.help";
    cmpa.tanohepath = text<64>(here.path);
    std::FILE* script = std::fopen("script", "w+");
    std::setvbuf(script, nullptr, _IONBF, 0);
    connectscript(script);
    cases("help.txt", {
        {"entries", [](auto& c) { entries = c[0]; }},
        {"menus", [](auto& c) { c.expectin(said([&] { menu(c); }, c[1]), 5); }},
        {"choices", [](auto& c) {
            c.expectin(said([&] { menu(row(c[0])); }, c[1]), 2);
        }},
        {"script", [&](auto& c) {
            if (c[0] != "-") std::ofstream("script") << c[0];
            std::rewind(script);
        }},
        {"file", [](auto& c) { std::ofstream("attenuation.help") << c[0]; }},
        {"pages", [](auto& c) {
            scrd.queryar(1) = "the caller's";
            scrd.helpar(1) = "c";
            const auto action = [&] { help(text<132>(c[0])), tell(scrd.queryar(1)); };
            c.expectin(said(action, c[1]), 2);
        }},
    });
    connectscript(nullptr);
    std::fclose(script);
    entries = std::string(132, 'y') + "\nshort\n" + std::string(132, 'y') + "\n";
    for (int width = 8; width < 200; width += 7) {  // any width
        const row c("sh# | \\n | \"\" | title | " + std::to_string(width));
        row("<2><0><short>").expectin(said([&] { menu(c); }, "\n"), 0);
    }
}
