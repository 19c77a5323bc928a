// SPDX-License-Identifier: GPL-3.0-or-later
#include <bit>
#include <cmath>
#include <random>

#include "prompt/combuff.h"
#include "tests/session.h"

namespace {

std::vector<float> numbers(const std::string& in, int columns = 80)
{
    int iout = -1;
    dim<float, 1, 32> out;
    trlch(columns, text<132>(in), iout, out);
    return {out.item, out.item + iout};
}

struct shown {
    text<7> form;
    text<24> chr, chl;
    int nn = 0, im = 0;

    shown(float value, const std::string& format) : form(format) { trlnu(form, value, chr, nn, chl, im); }
    std::string left() const { return std::string(chl(1, std::clamp(im, 0, 24))); }
};

// As the C library shows it, but a following digit of 5 is cut off, not rounded.
std::string expected(char letter, int decimals, double value, bool plus)
{
    char shown[40];
    double z = std::fabs(value);
    int exponent = 0;
    const bool fixed = letter == 'f' || letter == 'i';
    if (!fixed) z /= std::pow(10.0, exponent = static_cast<int>(std::floor(std::log10(z) + 1e-9)));
    z = std::floor(z * std::pow(10.0, decimals) + 0.4) / std::pow(10.0, decimals);
    if (!fixed && z >= 10.0) z /= 10.0, ++exponent;
    const char* const sign = value < 0.0 ? "-" : plus ? "+" : "";
    snprintf(shown, sizeof shown, letter == 'f' && decimals == 0 ? "%s%.*f." : "%s%.*f", sign, decimals, z);
    const std::string power = (plus && exponent >= 0 ? "+" : "") + std::to_string(exponent);
    if (letter == 'a') return shown + ("*10@u" + power) + "@n";
    return letter == 'e' ? shown + ("e" + power) : shown;
}

}  // namespace

TEST(Numbers, ShownAsTheLibraryDoesAndReadBack)
{
    std::mt19937 random(1);
    for (int i = 0; i < 40000; ++i) {
        const auto any = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        for (const char* format : {"f8.2", "f8.4", "e15.5", "i9"}) shown(any, format);  // at least no fault
        const char letter = "fiea"[random() % 4];
        const int decimals = letter == 'i' ? 0 : static_cast<int>(random() % 5) + 1;
        const int width = static_cast<int>(17 + random() % 8);
        const double power = std::pow(10.0, static_cast<double>(random() % 7) - 5.0);
        const double value = static_cast<double>(random() % 9998 + 1) * power * (random() % 2 ? 1 : -1);
        const double scale = letter == 'f' || letter == 'i' ? 1.0 : std::pow(10.0, -std::floor(std::log10(std::fabs(value))));
        const double digits = std::fabs(value) * scale * std::pow(10.0, decimals);
        // Not where 32 bits end, and not beside the limit of rounding.
        if (digits > 2e5 || std::fabs(digits - std::floor(digits) - 0.6) < 0.02) continue;
        if (letter == 'i' && std::fabs(value) < 1.0) continue;
        const bool plus = random() % 2;
        const std::string format = (plus ? "+" : "") + std::string(1, letter) + std::to_string(width) + "." + std::to_string(decimals);
        const std::string wanted = expected(letter, decimals, value, plus);
        const shown s(static_cast<float>(value), format);
        ASSERT_EQ(s.left(), wanted) << format << " " << value;
        ASSERT_EQ(s.chr, text<24>(std::string(static_cast<std::size_t>(width) - wanted.size(), ' ') + wanted));
        if (letter == 'a') continue;
        const double back = numbers(" " + wanted + ", 1").at(0);
        ASSERT_NEAR(back, std::stod(wanted), std::fabs(back) * 1e-6) << wanted;
    }
}

TEST(Numbers, Cases)
{
    cases("numbers.txt", {
        {"read", [](auto& c) {
            std::ostringstream list;
            for (float number : numbers(c[0], c.size() > 2 ? c.integer(2) : 80)) list << ' ' << number;
            EXPECT_EQ(list.str(), c[1].empty() ? "" : " " + c[1]);
        }},
        {"show", [](auto& c) {
            const shown s(c.number(0), c[1]);
            EXPECT_EQ(s.left() + "|" + std::string(s.chr.trimmed()), c[2] + "|" + c[3]);
            EXPECT_EQ(s.form, text<7>(c.size() > 4 ? c[4] : c[1]));
        }},
        {"justify", [](auto& c) {
            text<132> ch(c[0]);
            int il = -1;
            stringlength(ch, il);
            EXPECT_TRUE(ch == text<132>(c[1]) && il == c.integer(2)) << il;
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
            EXPECT_TRUE(ip == c.integer(2) && cha == text<132>(c[3]) && ia == c.integer(4)) << ip << ia;
        }},
        {"write", [](auto& c) {
            text<8> ch;
            itoc8(ch, std::stoi(c[0]));
            EXPECT_EQ(ch, text<8>(c[1]));
        }},
        {"integer", [](auto& c) {
            text<8> ch(c[0]);
            int n = -1;
            c8toi(ch, n);
            EXPECT_TRUE(n == c.integer(1) && ch == text<8>(c[2])) << n;
        }},
    });
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
    std::FILE* script = std::fopen("script", "w+");
    std::setvbuf(script, nullptr, _IONBF, 0);  // both processes go on where the other was
    connectscript(script);
    cases("prompts.txt", {
        {"questions", [](auto& c) { c.expectin(said([&] { ask(c); }, c[2]), 3); }},
        {"script", [&](auto& c) {
            if (c.size() > 1) std::ofstream("script") << c[1];
            EXPECT_EQ(contentof(open("script", O_RDONLY)), c.back());
            std::rewind(script);
        }},
    });
    connectscript(nullptr);
    std::fclose(script);
}
