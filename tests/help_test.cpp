// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "help/comhelp.h"
#include "terminal/key.h"
#include "tests/session.h"

namespace {

struct chosen {
    int lq, lk;
    std::string chdf, out;
};

// Shows a menu of the entries and lets the keys choose. `modes` are columns 131 and 132 of the title.
chosen menu(const std::vector<std::string>& entries, const char* offered, const std::string& keys,
            const char* modes = "  ", const char* title = "select", int width = 80)
{
    const console session(keys);
    term.npl = term.ncol(1) = width;
    std::int32_t lq = static_cast<int>(entries.size()), lk = -1;
    for (int k = 1; k <= lq; ++k) {
        scrd.queryar(k) = text<132>(entries[static_cast<std::size_t>(k - 1)]);
        scrd.helpar(k) = "read/key";
        scrd.ext(k) = text<16>();
    }
    text<132> cheader(title);
    cheader.put(131, 132, modes);
    text<80> chdf(offered);
    if (chdf.length() > 1 && chdf(chdf.length()) == '#') {
        chdf(chdf.length()) = ' ';
        chdf(80) = '#';
    }
    query(lq, lk, cheader, chdf);
    EXPECT_EQ(cheader(132), ' ');
    return {lq, lk, std::string(chdf.all()), session.output()};
}

// Asks for help on a key with this help file, in 80 columns and 24 rows.
std::string helped(const std::string& file, const char* key, const std::string& keys)
{
    const workdirectory here({{"attenuation.help", file}, {"further", "one\033[2J\nlast"}});
    setenv("TANOHEPATH", here.path.c_str(), 1);
    localpath.localhepath = "/attenuation.help";
    cmpa.tanohepath = text<64>(here.path);
    const console session(keys);
    help(text<132>(key));
    const std::string trailer = "\033[31m \033[1A\n   from help-file:" + here.path;
    std::string out = session.output();
    const std::size_t at = out.rfind(trailer);
    return at == std::string::npos ? out : out.substr(0, at) + "<trailer>";
}

int count(const std::string& in, const std::string& what)
{
    int n = 0;
    for (std::size_t at = in.find(what); at != std::string::npos; at = in.find(what, at + 1)) ++n;
    return n;
}

}  // namespace

TEST(Menu, Choices)
{
    const std::vector<std::string> metals{"Fe", "Al2O3", "Al"}, queues{"one", "queue", "Quarz"};
    const std::string up = "\033[A", down = "\033[B", right = "\033[C", left = "\033[D";
    struct { std::vector<std::string> entries; const char* offered; std::string keys; int lq; }
    const cases[] = {
        {metals, "Al", "\n", 2},
        {metals, "Al", "Al\n\n", 3},          // searches on, from the one at the cursor
        {metals, "Al", "Al\nAl\n\n", 2},      // and from the top again
        {metals, "Al", "  Al\n\n", 3},        // blanks in front do not matter
        {metals, "Al", "xx\n\n", 0},          // no such text: nothing is highlighted
        {metals, "Al", down + right + "\n", 1},
        {metals, "Fe", up + left + "@", 2},
        {metals, "Fe", "\033[Z\n", 0},        // any other control sequence
        {metals, "Fe", "q\n", 0},
        {metals, "Fe", "*\n", 0},
        {metals, "Fe", "Q\n\n", 0},           // a text that no entry holds
        {queues, "one", "q\n\n", 2},          // an entry begins with it: a search
        {queues, "one", "*\n", 0},
        {{"return"}, "return", "", 1},        // a single entry takes itself
        {{"return"}, "other", "", 0},
    };
    for (const auto& c : cases) {
        const chosen m = menu(c.entries, c.offered, c.keys);
        EXPECT_EQ(std::pair(m.lq, m.lk), std::pair(c.lq, 0)) << c.offered << c.keys;
        const std::string text = c.lq > 0 ? c.entries[static_cast<std::size_t>(c.lq - 1)] : "";
        EXPECT_EQ(m.chdf.substr(0, text.size()), text);
    }
    const chosen drawn = menu(metals, "", "");
    EXPECT_EQ(std::tuple(drawn.lq, drawn.lk, drawn.chdf[79]), std::tuple(3, 3, '3'));
    EXPECT_EQ(menu(metals, "Al2", "", "g ").lq, 2);
    EXPECT_EXIT(menu(metals, "Al", ""), testing::ExitedWithCode(1), "end of input at the menu");
    // The line count keeps up over many redraws.
    std::string keys;
    for (int i = 0; i < 90; ++i) keys += right;
    EXPECT_EQ(menu(metals, "Al#", keys + "\n").chdf, menu(metals, "Al#", "\n").chdf);
}

TEST(Menu, Layouts)
{
    const std::vector<std::string> ten(10, "12345678"), twelve(12, "1"), all(64, "x");
    const std::string cell = "\033[0m 12345678     ";  // 18 characters, control sequence included
    const std::string out = menu(ten, "zz#", "*\n").out;
    EXPECT_NE(out.find("\n" + cell + cell + cell + cell + cell + "\n" + cell), std::string::npos);
    EXPECT_EQ(out.find("\033[0m" + std::string(30, '-') + "select (help:he)" +
                       std::string(31, '-') + "\n"), 0u);
    // Rows of ten and more come out as one entry a line, yet count as one: title, row, separator.
    const chosen m = menu(twelve, "1#", "*\n");
    EXPECT_EQ(std::pair(count(m.out, "\033[0m 1 "), m.chdf[79]), std::pair(11, '3'));
    // The row that holds entry 64 is never drawn.
    EXPECT_EQ(count(menu(all, "", "", "  ", "select", 12).out, " x"), 63);
    EXPECT_NE(menu({"a"}, "", "", "  ", "more information", 200).out.find("-more information-"),
              std::string::npos);
    for (int width = 1; width < 200; width += 7) {  // any width, with long entries
        const std::vector<std::string> entries{std::string(132, 'y'), "short", std::string(70, 'z')};
        EXPECT_EQ(menu(entries, "sh#", "\n", "  ", "title", width).lq, width < 2 ? 0 : 2);
    }
}

TEST(Menu, RecordAndReplay)
{
    std::FILE* script = std::tmpfile();
    connectscript(script);
    const std::vector<std::string> entries(12, "12345678");
    menu(entries, "12345678#", "\033[A\n", " w");
    std::rewind(script);
    const chosen m = menu(entries, "123", "", " r");
    EXPECT_EQ(std::pair(m.lq, m.lk), std::pair(12, -1));
    EXPECT_EQ(count(m.out, "\n\033[0m12----"), 1);  // the separator with the number is echoed
    connectscript(nullptr);
    std::fclose(script);
}

TEST(Help, FindsAndShowsEntries)
{
    const std::string file =
        "comment\n/a/one\n\\bf big\n\\xx again\n\\bc sea\nplain \033[31m  \n/a/two\n"
        "\\zz none\n/helpnn\nany two\n/a/on\n/>a/two\n/a/loop\n/>a/loop\n/last";
    struct { const char *key, *keys; std::string begins; } const cases[] = {
        {"a/one", "\n", " \033[1m big\033[0m\n \033[1m again\033[0m\n\033[34m sea\033[0m\n"
                        "plain ^[[31m\n \033[2A\n"},
        {"a/two", "\n", " none\n"},
        {"help07", "\n", "any two\n"},
        {"a/on", "\n", " none\n"},
        {"a/loop", "", "the help texts continue in a circle at /a/loop\n"},
        {"A/one", "", "no entry found for /A/one in helpfile:\n/tmp/"},
        {"", "", "no entry found for / in helpfile:\n"},
        {"a/one*", "", "/a/one\nno entry found for /a/one in helpfile:\n"},
        {"last*", "", "/last\n<trailer>"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(helped(file, c.key, c.keys).substr(0, c.begins.size()), c.begins) << c.key;
    }
    setenv("TANOHEPATH", "/nowhere", 1);
    const workdirectory here({{"empty", ""}});
    const console session("");
    help("a/one");
    mkdir("helpfile.help", 0700);
    help("a/one");
    EXPECT_EQ(session.output(), " helpfile:helpfile.help\n not found in the current directory \n"
                                "entry of helpfile  could not be identified\n");
}

TEST(Help, PausesAfterEachPage)
{
    std::string file = "/k\n";
    for (int i = 0; i < 46; ++i) file += "line\n";
    for (const std::string more : {"", "line\n"}) {
        const std::string out = helped(file + more + "/end\n", "k", "\n\n\n");
        EXPECT_EQ(count(out, " \033[2A\n"), more.empty() ? 2 + 2 : 3 + 2);  // the menu has two
        EXPECT_EQ(out.find(" \033[2A\n"), 23u * 5);
    }
    EXPECT_EXIT(helped(file, "k", "\n"), testing::ExitedWithCode(1), "end of input at a page");
}

TEST(Help, WalksFourLevels)
{
    // Each entry has one related entry besides a common one.
    std::string file;
    for (char c = 'a'; c < 'f'; ++c) {
        file += std::string("/") + c + "\ntext " + c + "\n/#" + static_cast<char>(c + 1) + "\n/#end\n";
    }
    const std::string further = "-further related information-", back = "-related information-";
    const auto menus = [&](const std::string& out) {
        return std::pair(count(out, further), count(out, back));
    };
    scrd.queryar(1) = "of the caller";
    const std::string twice = helped(file, "a", "\nb\n\n\n\nreturn\n\n");
    EXPECT_EQ(menus(twice), std::pair(2, 1));
    EXPECT_EQ(scrd.queryar(1), text<132>("of the caller"));
    EXPECT_EQ(count(twice, "<trailer>"), 1);
    // The way back offers the entry that was chosen.
    EXPECT_EQ(count(twice.substr(twice.find(back)), "\033[31m[b]"), 1);
    // At the second level the new entries stand before those of the first.
    EXPECT_NE(twice.find("[return]"), std::string::npos);
    EXPECT_NE(twice.find("\033[0m c          \033[0m end"), std::string::npos);

    const std::string deep = helped(file, "a", "\nb\n\n\nc\n\n\nd\n\n\ne\n\n\n");
    EXPECT_EQ(menus(deep), std::pair(4, 0));
    const std::string exit = "text e\n \033[2A\n there was no way back to the preceeding level\n";
    EXPECT_EQ(deep.substr(deep.size() - exit.size()), exit);
    EXPECT_NE(scrd.queryar(1), text<132>("of the caller"));  // lost on this way out, on purpose
    // "q" at a pause begins the levels anew.
    EXPECT_EQ(menus(helped(file, "a", "\nb\n\n\nc\n\nq\nd\n\n\ne\n\n\n\nreturn\n\nreturn\n\n")),
              std::pair(5, 2));
    // Help inside the menus of help: the outer menu and the caller's are whole afterwards.
    scrd.queryar(1) = "of the caller";
    scrd.helpar(1) = "c";
    const std::string nested = helped(file, "a", "\nb\n\n\n\nreturn\nhe\n\n\nreturn\n\n");
    EXPECT_EQ(menus(nested), std::pair(3, 2));
    EXPECT_EQ(scrd.queryar(1), text<132>("of the caller"));
}

TEST(Help, OpensFurtherTextsAndRefusesNames)
{
    const auto opened = [](const std::string& related, const char* typed) {
        return helped("/k\ntext\n/#first\n" + related, "k", "\n" + std::string(typed) + "\n\n");
    };
    const std::string pad(72, ' ');
    EXPECT_NE(opened("/#details further\n", "det").find("\none^[[2J" + pad + " \nlast"),
              std::string::npos);
    EXPECT_NE(opened("/#details none\n", "det").find("/none for details not found\n<trailer>"),
              std::string::npos);
    // One field for both kinds: the last line decides.
    EXPECT_NE(opened("/#details further\n/#more none\n", "det")
                  .find(" file $TANOHEPATH/dvifiles/none/none.dvi & for details not found"),
              std::string::npos);
    for (const char* name : {"../x", "-e", "a;b", "$(id)", "a/../../b", "'"}) {
        const std::string out = opened(std::string("/#more ") + name + "\n", "more");
        EXPECT_NE(out.find(" name not accepted: more "), std::string::npos) << name;
        EXPECT_EQ(out.find("xdvi"), std::string::npos) << name;
    }
}
