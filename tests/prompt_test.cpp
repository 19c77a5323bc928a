// SPDX-License-Identifier: GPL-3.0-or-later
#include <bit>
#include <cmath>
#include <random>
#include <sstream>

#include "prompt/combuff.h"
#include "tests/session.h"

TEST(Text, Cases)
{
    cases("text.txt", {
        {"justify", [](auto& c) {
            text<132> ch(c[0]);
            int il = -1;
            stringlength(ch, il);
            EXPECT_EQ(std::pair(ch, il), std::pair(text<132>(c[1]), c.integer(2)));
            lc_character(ch);
            EXPECT_EQ(ch, text<132>(c.size() > 3 ? c[3] : c[1]));
        }},
        {"end", [](auto& c) {
            int il = c.integer(1);
            stringend(text<132>(c[0]), il);
            EXPECT_EQ(il, c.integer(2));
        }},
        {"item", [](auto& c) {
            int il = c.integer(1), ip = 0, ia = -1;
            text<132> cha;
            nextchar(text<132>(c[0]), il, ip, cha, ia);
            EXPECT_EQ(std::tuple(ip, cha, ia),
                      std::tuple(c.integer(2), text<132>(c[3]), c.integer(4)));
        }},
        {"write", [](auto& c) {
            text<8> ch;
            itoc8(ch, std::stoi(c[0]));
            EXPECT_EQ(ch, text<8>(c[1]));
        }},
        {"read", [](auto& c) {
            text<8> ch(c[0]);
            int n = -1;
            c8toi(ch, n);
            EXPECT_EQ(std::pair(n, ch), std::pair(c.integer(1), text<8>(c[2])));
        }},
    });
}

namespace {

std::vector<float> numbers(const std::string& in, int columns = 80)
{
    int iout = -1;
    dim<float, 1, 32> out;
    trlch(columns, text<132>(in), iout, out);
    return {out.item, out.item + iout};
}

struct shown {
    std::string left, right, form;
};

shown show(float value, const std::string& format)
{
    text<7> form(format);
    text<24> chr, chl;
    int nn = 0, im = 0;
    trlnu(form, value, chr, nn, chl, im);
    return {std::string(chl(1, std::clamp(im, 0, 24))), std::string(chr.trimmed()),
            std::string(form.trimmed())};
}

}  // namespace

TEST(Numbers, Cases)
{
    cases("numbers.txt", {
        {"read", [](auto& c) {
            const auto found = numbers(c[0], c.size() > 2 ? c.integer(2) : 80);
            std::istringstream list(c[1]);
            float expected = 0.0f;
            for (float number : found) EXPECT_FLOAT_EQ(number, list >> expected ? expected : NAN);
            EXPECT_FALSE(list >> expected);
        }},
        {"show", [](auto& c) {
            const shown s = show(c.number(0), c[1]);
            EXPECT_EQ(std::pair(s.left, s.right), std::pair(c[2], c[3]));
            EXPECT_EQ(s.form, c.size() > 4 ? c[4] : c[1]);
        }},
    });
}

// What is shown reads back as what is shown, and close to the number; for any bits at all nothing
// breaks.
TEST(Numbers, ShownReadBack)
{
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        const auto any = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        for (const char* format : {"f8.2", "f8.4", "e15.5", "i9"}) show(any, format);
        const float value = static_cast<float>(random() % 9999999) / 1000.0f;
        const std::string left = show(value, "f8.2").left;
        EXPECT_NEAR(std::stof(left), value, 0.0061f + value * 1e-6f);  // the digit 5 is cut off
        EXPECT_EQ(show(numbers(left).at(0), "f8.2").left, left);
    }
}

namespace {

struct asked {
    std::string answer, query, key, out, rest;
};

// Asks the question whose kind, default and keys are the first fields of a case. `mode` is the
// script mode.
asked ask(const row& c, char mode = ' ', int ncol = 80)
{
    console session(c[2] + "rest");
    text<132> querytype("how much"), chcom("read/energy"), chin(c[1]);
    querytype(132) = mode;
    text<1> ch1(c[1]);
    text<7> form("f8.2");
    float value = c.number(1);
    if (c[0] == "yesno") yesno(querytype, ch1, chcom, ncol, 5, 6);
    if (c[0] == "value") askvalue(querytype, form, value, chcom, ncol, 5, 6);
    if (c[0] == "string") askstring(querytype, chin, chcom, ncol, 5, 6);
    EXPECT_EQ(querytype(132), ' ');
    const std::string answer(c[0] == "yesno"   ? ch1.all()
                             : c[0] == "value" ? show(value, "f9.3").left
                                               : chin.trimmed());
    return {answer, std::string(querytype.trimmed()), std::string(chcom.trimmed()),
            session.output(), session.rest()};
}

}  // namespace

TEST(Prompts, Cases)
{
    const workdirectory here;  // without a help file
    unsetenv("TANOHEPATH");
    cases("prompts.txt", {
        {"answers", [](auto& c) {
            const asked a = ask(c);
            EXPECT_EQ(a.answer, c[3]);
            EXPECT_EQ(a.query, c.size() > 4 ? c[4] : "how much");
            EXPECT_EQ(a.rest, "rest");
        }},
        {"bytes", [](auto& c) { c.expectin(ask(c, ' ', c.integer(3)).out, 4); }},
        {"back", [](auto& c) {
            const asked a = ask(c, c[3][0]);
            EXPECT_EQ(a.key, "back/energy");
            c.expectin(a.out, 4);
        }},
    });
}

TEST(Prompts, RecordAndReplay)
{
    const workdirectory here;
    unsetenv("TANOHEPATH");
    std::FILE* script = std::tmpfile();
    connectscript(script);
    const auto step = [](char mode, const row& c) {
        const asked a = ask(c, mode);
        EXPECT_EQ(a.answer, c[3]);
        c.expectin(a.out, 4);
    };
    cases("script.txt", {
        {"record", [&](auto& c) { step('w', c); }},
        {"recorded", [&](auto& c) {
            std::string lines(c[0].size() + 1, '\0');
            std::rewind(script);
            lines.resize(std::fread(lines.data(), 1, lines.size(), script));
            EXPECT_EQ(lines, c[0]);
            std::rewind(script);
        }},
        {"replay", [&](auto& c) { step('r', c); }},
    });
    connectscript(nullptr);
    std::fclose(script);
}
