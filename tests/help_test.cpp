// SPDX-License-Identifier: GPL-3.0-or-later
#include "help/comhelp.h"
#include "terminal/key.h"
#include "tests/session.h"

namespace {

// Shows a menu: the entries, one a line, the default, the keys and the set-up are the first fields.
void menu(const row& c)
{
    int width = 80;
    char mode = '-', title[132] = "select";
    sscanf(c[3].c_str(), "%d %c %131[^\n]", &width, &mode, title);
    term.npl = term.ncol(1) = width;
    std::int32_t lq = 0, lk = -1;
    std::istringstream all(c[0]);
    for (std::string line; std::getline(all, line);) {
        scrd.queryar(++lq) = text<132>(line);
        scrd.helpar(lq) = "read/key";
        scrd.ext(lq) = text<16>();
    }
    text<132> cheader(title);
    cheader(mode == 'g' ? 131 : 132) = mode;
    text<80> chdf(c[1]);
    if (c[1].ends_with('#')) chdf(chdf.length()) = ' ', chdf(80) = '#';
    query(lq, lk, cheader, chdf);
    tell(lq, lk, text<79>(chdf(1, 79)), static_cast<unsigned char>(chdf(80)) - '0', rest());
}

}  // namespace

// On a help file of its own, in 80 columns and 24 rows.
TEST(Help, Cases)
{
    const workdirectory here;
    std::ofstream("further") << "one\033[2J" << std::string(99, '\n') << "last";
    std::ofstream("xdvi") << "#!/bin/sh\necho \"$@\" >started; mv started done\n";
    std::filesystem::permissions("xdvi", std::filesystem::perms::owner_all);
    setenv("PATH", (here.path + ":" + getenv("PATH")).c_str(), 1);
    setenv("TANOHEPATH", here.path.c_str(), 1);
    localpath.localhepath = "/attenuation.help";
    cmpa.tanohepath = text<64>(here.path);
    std::FILE* script = std::fopen("script", "w+");
    std::setvbuf(script, nullptr, _IONBF, 0);
    connectscript(script);
    checks check;
    check["menus"] = [&, entries = std::string()](row c) mutable {
        if (c[0].empty()) c.front() = entries;
        entries = c[0];
        const bool replays = c[3].find(" r ") != std::string::npos;
        if (!replays || !c[2].empty()) std::ofstream("script") << (replays ? c[2] : "");
        std::rewind(script);
        c.expectin(said([&] { menu(c); }, c[2]), 4);
    };
    check["file"] = [](auto& c) {
        std::ofstream(c.size() > 1 ? c[1] : "attenuation.help") << c[0];
    };
    check["pages"] = [](auto& c) {
        scrd.queryar(1) = "the caller's";
        scrd.helpar(1) = "c";
        const auto action = [&] { help(text<132>(c[0])), tell(scrd.queryar(1)); };
        c.expectin(said(action, c[1]), 2);
    };
    cases("help.txt", check);
    connectscript(nullptr);
    std::fclose(script);
    for (int naps = 0; naps < 9999 && access("done", F_OK) != 0; ++naps) usleep(500);
    EXPECT_EQ(contentof("done"), here.path + "/dvifiles/AZaz09._+-/x/AZaz09._+-/x.dvi\n");
}
