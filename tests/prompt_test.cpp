// SPDX-License-Identifier: GPL-3.0-or-later
#include "prompt/combuff.h"
#include "tests/session.h"

namespace {

// Calls a routine named by the first field, with the next two as text and number or format.
void convert(const row& c)
{
    text<132> ch(c[1]), cha;
    text<8> field(c[1]);
    text<7> form(c[2]);
    text<24> chr, chl;
    dim<float, 1, 32> out;
    int il = c.integer(2), ip = 0, ia = -1;
    if (c[0] == "justify") stringlength(ch, il), tell(ch, il), lc_character(ch), tell(ch);
    if (c[0] == "end") stringend(ch, il), tell(il);
    if (c[0] == "item") nextchar(ch, il, ip, cha, ia), tell(ip, cha, ia);
    if (c[0] == "write") itoc8(field, il), tell(field);
    if (c[0] == "integer") c8toi(field, il), tell(il, field);
    if (c[0] == "read") trlch(il, ch, ip, out);
    for (int i = 1; i <= ip && c[0] == "read"; ++i) tell(out(i));
    if (c[0] != "show") return;
    trlnu(form, c.number(1), chr, il, chl, ip);
    tell(chl(1, std::clamp(ip, 0, 24)), chr, form);
}

}  // namespace

TEST(Numbers, Cases)
{
    checks check;
    check[""] = [](auto& c) { c.expectin(said([&] { convert(c); }), 3); };
    cases("numbers.txt", check);
}

namespace {

// Asks a question: its kind with the script mode or the width, the default and the keys are the
// first fields of the case.
void ask(const row& c)
{
    std::istringstream kind(c[0]);
    std::string name, mode;
    kind >> name >> mode;
    const int ncol = std::isdigit(mode[0]) ? std::stoi(mode) : 80;
    text<132> querytype("how much"), chcom("read/energy"), chin(c[1]);
    querytype(132) = mode.empty() ? ' ' : mode[0];
    text<1> ch1(c[1]);
    text<7> form("f8.2");
    float value = c.number(1);
    if (name == "yesno") yesno(querytype, ch1, chcom, ncol, 5, 6);
    if (name == "value") askvalue(querytype, form, value, chcom, ncol, 5, 6);
    if (name == "string") askstring(querytype, chin, chcom, ncol, 5, 6);
    if (name == "yesno") tell(ch1);
    else if (name == "value") tell(value);
    else tell(chin);
    tell(querytype, chcom, rest());
}

}  // namespace

TEST(Prompts, Cases)
{
    const workdirectory here;  // without a help file
    unsetenv("TANOHEPATH");
    std::ofstream("inputrc") << "set editing-mode vi\n";  // not to be followed
    setenv("INPUTRC", "inputrc", 1);
    std::FILE* script = std::fopen("script", "w+");
    std::setvbuf(script, nullptr, _IONBF, 0);  // both processes go on where the other was
    connectscript(script);
    checks check;
    check["questions"] = [](auto& c) { c.expectin(said([&] { ask(c); }, c[2]), 3); };
    check["script"] = [&](auto& c) {
        if (c.size() > 1) std::ofstream("script") << c[1];
        EXPECT_EQ(contentof("script"), c.back());
        std::rewind(script);
    };
    cases("prompts.txt", check);
    connectscript(nullptr);
    std::fclose(script);
}
