// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "prompt/combuff.h"
#include "tests/session.h"

TEST(Text, LeftJustifiesAndMeasures)
{
    struct { std::string in, out; int length; } const cases[] = {
        {"   ab  ", "ab", 2},
        {"", "", 0},
        {std::string("\0ab", 3), std::string("\0ab", 3), 0},
        {std::string(130, ' ') + "xw", "x", 1},  // ends in column 131: the flag behind it goes
        {std::string(129, ' ') + "x w", "x" + std::string(130, ' ') + "w", 1},
        {std::string(131, ' ') + "w", std::string(131, ' ') + "w", 0},
    };
    for (const auto& c : cases) {
        text<132> ch(c.in);
        int il = -1;
        stringlength(ch, il);
        EXPECT_EQ(il, c.length);
        EXPECT_EQ(ch, text<132>(c.out));
    }
    text<132> mixed("  ABC d\xC4Z");
    lc_character(mixed);
    EXPECT_EQ(trimmed(mixed), "abc d\xC4z");
}

TEST(Text, FindsTheEnd)
{
    struct { const char* in; int from, end; } const cases[] = {
        {"abcdefghijklmno", 10, 10}, {"abcdefghijklmno", 0, 15}, {"abcdefghijklmno", 133, 15},
        {"ab   c", 5, 2},            {"", 7, 0},
    };
    for (const auto& c : cases) {
        int il = c.from;
        stringend(text<132>(c.in), il);
        EXPECT_EQ(il, c.end) << c.in;
    }
}

TEST(Text, StepsThroughItems)
{
    struct { int il, ip; const char* cha; int ia; } const cases[] = {
        {0, 1, "ab, cd  ef", 2}, {2, 5, "cd  ef", 2}, {6, 9, "ef", 2}, {10, 11, "", 0}};
    for (const auto& c : cases) {
        int il = c.il, ip = 0, ia = -1;
        text<132> cha;
        nextchar(text<132>("ab, cd  ef"), il, ip, cha, ia);
        EXPECT_EQ(std::tuple(ip, trimmed(cha), ia), std::tuple(c.ip, std::string(c.cha), c.ia));
    }
}

TEST(Integers, InFieldsOfEight)
{
    struct { int n; const char* field; } const written[] = {
        {0, ""}, {42, " 42"}, {-42, "-42"}, {9999999, " 9999999"}, {12345678, " *******"}};
    for (const auto& c : written) {
        text<8> ch;
        itoc8(ch, c.n);
        EXPECT_EQ(ch, text<8>(c.field));
    }
    struct { const char* field; int n; const char* left; } const read[] = {
        {"  -17", -17, "  -17"}, {"12ab", 12, "12"}, {"+-12", -12, "+-12"}, {" ", 0, ""},
        {"Z = 26 ", 26, "    26"}, {"\xE4 7", 7, "  7"}};
    for (const auto& c : read) {
        text<8> ch(c.field);
        int n = -1;
        c8toi(ch, n);
        EXPECT_EQ(n, c.n) << c.field;
        EXPECT_EQ(ch, text<8>(c.left));
    }
}

TEST(Numbers, AreReadOutOfText)
{
    struct { const char* in; std::vector<float> numbers; int columns = 80; } const cases[] = {
        {"3, 4.5 -6", {3, 4.5f, -6}},
        {"", {}},
        {"-5 3", {-5, 3}},
        {"5-3", {5, -3}},            // the minus then stays in force
        {"5-3 4", {5, -3, -4}},
        {"--5 3", {-5, -3}},
        {"2.5e3", {2500}},
        {"12e3", {12, 3}},           // no point, at the start
        {" 12e3", {123}},            // no point, further on
        {"1.5e-3", {0.0015f}},
        {"1.5e+3 2", {1500, 2}},
        {"1.5e 3", {1.5f, 3}},
        {"1.2.3", {1.2f, 0.3f}},
        {".5", {0.5f}},
        {"1.", {}, 2},               // nothing ends it
        {"1.", {1}},
        {"123", {12}, 2},
        {"8.908 g/cm3  fcc", {8.908f, 3}},
    };
    for (const auto& c : cases) {
        int iout = -1;
        dim<float, 1, 32> out;
        trlch(c.columns, text<132>(c.in), iout, out);
        ASSERT_EQ(iout, static_cast<int>(c.numbers.size())) << c.in;
        for (int i = 1; i <= iout; ++i) {
            EXPECT_FLOAT_EQ(out(i), c.numbers[static_cast<std::size_t>(i - 1)]) << c.in;
        }
    }
    std::string forty;
    for (int i = 1; i <= 40; ++i) forty += std::to_string(i) + ' ';
    int iout = 0;
    dim<float, 1, 32> out;
    trlch(132, text<132>(forty), iout, out);
    EXPECT_EQ(iout, 32);
    EXPECT_EQ(out(32), 32.0f);
}

struct shown {
    std::string left, right, form;
};

static shown show(float value, const char* format)
{
    text<7> form(format);
    text<24> chr, chl;
    int nn = 0, im = 0;
    trlnu(form, value, chr, nn, chl, im);
    return {std::string(chl(1, std::clamp(im, 0, 24))), trimmed(chr), trimmed(form)};
}

TEST(Numbers, AreShownInTheirFormat)
{
    struct { float value; const char *format, *left, *right; } const cases[] = {
        {14.4f, "f8.2", "14.40", "   14.40"},
        {-14.4f, "f8.2", "-14.40", "  -14.40"},
        {0.125f, "f8.4", "0.1250", "  0.1250"},
        {122.01f, "f8.2", "122.01", "  122.01"},
        {0.0f, "f8.2", "0.00", "    0.00"},
        {0.05f, "f8.2", "0.05", "    0.05"},
        {0.007f, "f8.2", "0.01", "    0.01"},
        {0.999f, "f8.2", "1.00", "    1.00"},
        {99.996f, "f8.2", "100.00", "  100.00"},
        {2.125f, "f8.2", "2.12", "    2.12"},  // exactly 5 does not round up
        {0.3f, "i5", "    0", "    0"},
        {0.7f, "i5", "1", "    1"},
        {12345.0f, "e15.5", "1.23450e4", "      1.23450e4"},
        {12345.0f, "+E15.5", "+1.23450E+4", "    +1.23450E+4"},
        {0.00123f, "e15.5", "1.23000e-3", "     1.23000e-3"},
        {1.0f, "e12.3", "1.000e0", "     1.000e0"},
        {9.9999f, "e12.3", "1.000e1", "     1.000e1"},
        {12345.0f, "a15.2", "1.23*10@u4@n", "   1.23*10@u4@n"},
        {123456.7f, "f8.2", "***123456", "***123456.70***"},
    };
    for (const auto& c : cases) {
        const shown s = show(c.value, c.format);
        EXPECT_EQ(s.left, c.left) << c.value << c.format;
        EXPECT_EQ(s.right, c.right) << c.value << c.format;
    }
    EXPECT_EQ(show(2e10f, "f8.2").left, "2.00000e10");
    EXPECT_EQ(show(2e10f, "f8.2").form, "e15.5");
    EXPECT_EQ(show(1.0f, "f25.2").right, std::string(24, '*'));
}

// What is shown reads back as what is shown, and close to the number; for any bits at all nothing
// breaks.
TEST(Numbers, ShownReadBack)
{
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        const float any = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        for (const char* format : {"f8.2", "f8.4", "e15.5", "i9"}) show(any, format);
        const float value = static_cast<float>(random() % 9999999) / 1000.0f;
        const std::string left = show(value, "f8.2").left;
        EXPECT_NEAR(std::stof(left), value, 0.0061f + value * 1e-6f);  // the digit 5 is cut off
        int iout = 0;
        dim<float, 1, 32> out;
        trlch(80, text<132>(left), iout, out);
        EXPECT_EQ(iout, 1) << left;
        EXPECT_EQ(show(out(1), "f8.2").left, left);
    }
}

namespace {

enum class kind { yesno, value, string };

struct asked {
    std::string answer, query, key, out, rest;
};

// Asks one question; `mode` is the script mode, `question` and `offered` what the caller sets.
asked ask(kind k, const std::string& input, const char* offered, char mode = ' ', int ncol = 80,
          const char* question = "how much")
{
    console session(input);
    text<132> querytype(question), chcom("read/energy"), chin(offered);
    querytype(132) = mode;
    text<1> ch1(offered);
    text<7> form("f8.2");
    float value = std::strtof(offered, nullptr);
    if (k == kind::yesno) yesno(querytype, ch1, chcom, ncol, 5, 6);
    if (k == kind::value) askvalue(querytype, form, value, chcom, ncol, 5, 6);
    if (k == kind::string) askstring(querytype, chin, chcom, ncol, 5, 6);
    const std::string answer = k == kind::yesno   ? std::string(ch1.all())
                               : k == kind::value ? show(value, "f9.3").left
                                                  : trimmed(chin);
    return {answer, trimmed(querytype), trimmed(chcom), session.output(), session.rest()};
}

const std::string up2 = " \033[2A\n", up3 = " \033[3A\n";

}  // namespace

TEST(Prompts, ClassifyAnswers)
{
    struct { kind k; const char *input, *offered, *answer; } const cases[] = {
        {kind::yesno, "\n", "n", "n"},
        {kind::yesno, "Y\n\n", "n", "y"},
        {kind::yesno, "maybe\n\n", "n", "n"},
        {kind::yesno, "Quit\n", "y", "*"},
        {kind::value, "\n", "3.14159", "3.140"},         // as shown, not as it was
        {kind::value, "2.5e3\n\n", "1", "2500.000"},
        {kind::value, "1 2\nabc\n12e3\n1.e99\n\n", "1", "1.000"},  // none is one number
        {kind::value, "7\nQ\n", "3.14159", "3.141"},     // the value at the call, all of it
        {kind::string, "\n", "  Cu", "Cu"},
        {kind::string, "Fe\n\n", "Cu", "Fe"},
        {kind::string, "  Q x\n\n", "Cu", "Q x"},
        {kind::string, "quartz\n", "Cu", "*"},
        {kind::string, "    x\n", "Cu", "Cu"},           // four blanks: accepted
        {kind::string, "help\n\n", "Cu", "help"},        // only the word "he" is a request
        {kind::string, "\n", "", ""},
    };
    for (const auto& c : cases) {
        const asked a = ask(c.k, std::string(c.input) + "next", c.offered);
        EXPECT_EQ(a.answer, c.answer) << c.input;
        EXPECT_EQ(a.rest, "next") << c.input;
    }
    EXPECT_EQ(ask(kind::value, "*\n", "1").query, "*");
}

TEST(Prompts, WriteTheirBytes)
{
    const std::string wipe8 = up2 + "        \n        \n" + up3;
    EXPECT_EQ(ask(kind::yesno, "y\n\n", "n").out,
              "how much [n]\n" + up2 + wipe8 + "how much [y]\n" + up2);
    EXPECT_EQ(ask(kind::value, "x\n5\n\n", "1").out,
              "how much=[1.00]\n" + up2 + "how much=[1.00]\n" + up2 + wipe8 + "how much=[5.00]\n" +
                  up2);
    // Cut at the terminal width, but for text answers.
    EXPECT_EQ(ask(kind::value, "\n", "1", ' ', 3).out, "how=[1.00]\n" + up2);
    EXPECT_NE(ask(kind::string, "\n", "a", ' ', 3).out.find("how much [a]\n"), std::string::npos);
    // Without a script file "back" leads nowhere, but alters the key.
    const asked back = ask(kind::value, "back\n\n", "1");
    EXPECT_NE(back.out.find("\n a script file has not been defined\nhow much=[1.00]\n"),
              std::string::npos);
    EXPECT_EQ(back.key, "back/energy");
    EXPECT_EQ(ask(kind::value, "back\n", "1", 'w').key, "back/energy");
}

TEST(Prompts, RecordAndReplay)
{
    std::FILE* script = std::tmpfile();
    connectscript(script);
    EXPECT_EQ(ask(kind::yesno, "n\n\n", "y", 'w').out.substr(0, 3), "how");  // no mark in this one
    EXPECT_EQ(ask(kind::value, "2.5\n\n", "1", 'w').out.substr(0, 16), "(b) how much=[1.");
    ask(kind::string, "Fe_2\n\n", "Cu", 'w');
    ask(kind::string, "q\n", "Cu", 'w');
    std::rewind(script);
    char lines[200]{};
    EXPECT_GT(std::fread(lines, 1, sizeof lines, script), 0u);
    EXPECT_STREQ(lines, "how much [n]\nhow much=[2.50]\nhow much [Fe_2]\nhow much [Cu]\n");

    std::rewind(script);
    EXPECT_EQ(ask(kind::yesno, "", "y", 'r').answer, "n");
    EXPECT_EQ(ask(kind::value, "", "1", 'r').answer, "2.500");
    EXPECT_EQ(ask(kind::string, "", "Cu", 'r').answer, "Fe");        // as long as the default
    EXPECT_EQ(ask(kind::string, "", "Mylar", 'r').answer, "Cu]");
    EXPECT_EQ(ask(kind::yesno, "\n", "y", 'r').out.substr(0, 48),
              "1end of sript file: switch to interactive mode\nh");
    EXPECT_EQ(ask(kind::value, "\n", "1", 'r').out.substr(0, 48),
              " end of sript file: switch to interactive mode\nh");
    connectscript(nullptr);
    std::fclose(script);
}
