// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>

#include "calc/attenuation.h"
#include "help/comhelp.h"
#include "terminal/key.h"
#include "tests/session.h"

namespace {

const elementlist& elements()
{
    static const elementlist list = [] {
        const auto before = std::filesystem::current_path();
        std::filesystem::current_path(DATA_DIR);
        elementlist read;
        readelements(read);
        std::filesystem::current_path(before);
        return read;
    }();
    return list;
}

// mu/rho of an element, from the table in the working directory.
float coefficient(const char* name, float energy)
{
    text<16> numberline;
    float atc = -1.0f;
    findblock(name, text<12>(name).length());
    coefficients.next(numberline);
    attenuation(energy, atc);
    return atc;
}

// A table of one element with these rows.
std::string table(const std::string& rows)
{
    return " Test\n   1\n1\n2\n3\n4\n5\n6\n" + rows + " end\n";
}

std::string row(const char* energy, const char* mu)
{
    return "   " + std::string(energy) + "  " + mu + "  " + mu + "\n";
}

struct compound {
    std::int32_t j = 0;
    dim<std::int32_t, 1, 12> indx, mult;
};

compound parsed(const std::string& formula)
{
    compound c;
    contentformula(text<132>(formula), elements().es, c.j, c.indx, c.mult);
    return c;
}

float compoundcoefficient(const std::string& formula, float value)
{
    const console session("\n");
    const compound c = parsed(formula);
    float atc = 0.0f;
    atcoefficient(5, 6, c.j, c.indx, c.mult, elements().ename, elements().emolweight, value, atc);
    return atc;
}

}  // namespace

TEST(Parabel, ReproducesParabolas)
{
    const auto curve = [](double e) { return 3.0 - 0.5 * e + 0.02 * e * e; };
    for (int ns : {3, 4}) {
        dim<double, 1, 4> xs, ys;
        for (int k = 1; k <= 4; ++k) {
            xs(k) = 0.010 + 0.002 * k * k;
            ys(k) = curve(1000.0 * xs(k));
        }
        float att = 0.0f;
        parabel(ns, xs, ys, 0.0153, att);
        EXPECT_NEAR(att, curve(15.3), 1e-4) << ns;
        EXPECT_DOUBLE_EQ(xs(4), 42.0);  // keV now
    }
    dim<double, 1, 4> xs, ys;
    float att = 7.0f;
    parabel(2, xs, ys, 0.01, att);
    EXPECT_EQ(att, 7.0f);
}

// By hand: about point 2, (f1, f3, f4) = (-1, 1, 4) and (x1, x3, x4) = (-1, 1, 2) give h13 = 2 and
// h43 = 2, a = [2(-1) + 2(4) - (2(2) + 2(-1))] / 8 = 0.5 and b = 0.5.
TEST(Parabel, FitsTheCurvature)
{
    dim<double, 1, 4> xs{{0.001, 0.002, 0.003, 0.004}}, ys{{1.0, 2.0, 3.0, 6.0}};
    float att = 0.0f;
    parabel(4, xs, ys, 0.0025, att);
    EXPECT_FLOAT_EQ(att, 2.0f + 0.5f * 0.5f + 0.5f * 0.25f);
}

TEST(Attenuation, ReadsTheTableAndStaysOnItsSideOfAnEdge)
{
    const std::string rows = row("1.00000E-03", "9.000E+00") + row("2.00000D-03", "4.000E+00") +
                             row(" 300000e-03", "    1.000") + row("5.00000E-03", "1.000E-01") +
                             row("5.00000E-03", "8.000E+00") + row("7.00000E-03", "6.000E+00") +
                             row("50000      ", "    5.000") + row("1.00000E+00", "2.000E+00") +
                             row("2.00000E+00", "         ");
    const workdirectory here({{"attenuation.coefficients", table(rows)}});
    EXPECT_NEAR(coefficient("Test", 2.0f), 4.0f, 1e-5);
    EXPECT_NEAR(coefficient("Test", 3.0f), 1.0f, 1e-5);  // the point before the last five digits
    EXPECT_NEAR(coefficient("Test", 4.9999f), 0.1f, 1e-3);
    EXPECT_NEAR(coefficient("Test", 5.0001f), 8.0f, 1e-3);
    EXPECT_GT(coefficient("Test", 5.5f), 6.0f);          // falls from 8 to 6: three points above
    for (const auto& [energy, message] : std::vector<std::pair<float, const char*>>{
             {0.9f, "Test, 2 keV to below"}, {1.5f, "outside"}, {2000.0f, "outside"},
             {1500.0f, "outside"}}) {
        EXPECT_EXIT(coefficient("Test", energy), testing::ExitedWithCode(1), message);
    }
    EXPECT_EXIT(coefficient("Tes2", 3.0f), testing::ExitedWithCode(1), "no block .* \"Tes2\"");
}

TEST(Attenuation, StopsAtMalformedTables)
{
    const std::string good = row("1.00000E-03", "9.000E+00") + row("2.00000E-03", "4.000E+00");
    struct { std::string content; const char* message; } const cases[] = {
        {table(good + "\n" + good), "line 11: the energies of Test do not ascend"},
        {table(good + good), "line 11: the energies"},
        {table(good), "too few rows for Test"},
        {table(good + row("nan        ", "1.000E+00")), "too few rows"},
        {" Test\n   1\n1\n2\n", "ends within the block of Test"},
        {table(good).substr(0, 60), "ends within the block"},
        {"", "no block"},
    };
    for (const auto& c : cases) {
        const workdirectory here({{"attenuation.coefficients", c.content}});
        EXPECT_EXIT(coefficient("Test", 1.5f), testing::ExitedWithCode(1), c.message);
    }
    const workdirectory here({});
    EXPECT_EXIT(coefficient("Test", 1.5f), testing::ExitedWithCode(1), "cannot be read: No such");
}

TEST(Formula, Groups)
{
    struct { const char* formula; std::vector<int> pairs; } const good[] = {
        {"C_10H_8O_4", {6, 10, 1, 8, 8, 4}},
        {"   C_2F_4", {6, 2, 9, 4}},
        {"N_2H_8Fe_1S_2O_8H_12O_6", {7, 2, 1, 8, 26, 1, 16, 2, 8, 8, 1, 12, 8, 6}},
        {"Fe_12", {26, 122}},          // the second digit is doubled
        {"Fe_6Fe_6", {26, 6, 26, 6}},
        {"H_123", {1, 123}},
        {"Pb_1H_1", {82, 1, 1, 1}},
    };
    for (const auto& g : good) {
        const compound c = parsed(g.formula);
        ASSERT_EQ(c.j, static_cast<int>(g.pairs.size() / 2)) << g.formula;
        for (int i = 1; i <= c.j; ++i) {
            EXPECT_EQ(c.indx(i), g.pairs[static_cast<std::size_t>(2 * i - 2)]) << g.formula;
            EXPECT_EQ(c.mult(i), g.pairs[static_cast<std::size_t>(2 * i - 1)]) << g.formula;
        }
    }
    struct { const char *formula, *message; } const bad[] = {
        {"Fe_12O_3", "\"_3\" at position 7: no symbol"},
        {"C_1CO_2", "\"CO_2\" at position 4: no symbol"},
        {"H2O", "\"H2O\" at position 1"},
        {"FE_2", "no symbol"},
        {"U_1", "no symbol"},
        {"FeO2", "followed by \"_\""},
        {"C_", "followed by \"_\""},
        {"C_2 F_4", "\" F_4\" at position 4"},
        {"", "no symbol"},
        {"H_1H_1H_1H_1H_1H_1H_1H_1H_1H_1H_1H_1H_1", "position 37: more than 12"},
    };
    for (const auto& b : bad) EXPECT_EXIT(parsed(b.formula), testing::ExitedWithCode(1), b.message);
}

TEST(Compound, IsTheMassFractionSumOfItsElements)
{
    std::filesystem::current_path(DATA_DIR);
    EXPECT_FLOAT_EQ(compoundcoefficient("Fe_7", 14.4f), coefficient("Iron", 14.4f));
    EXPECT_FLOAT_EQ(compoundcoefficient("H_4O_2", 30.0f), compoundcoefficient("H_1O_1H_1", 30.0f));
    // Published for mylar and teflon in the tables of NIST, cm2/g at keV.
    struct { const char* formula; float energy, published; } const cases[] = {
        {"C_10H_8O_4", 3, 128.8f},   {"C_10H_8O_4", 5, 27.92f},    {"C_10H_8O_4", 10, 3.481f},
        {"C_10H_8O_4", 20, 0.5798f}, {"C_10H_8O_4", 40, 0.2304f},  {"C_10H_8O_4", 60, 0.1868f},
        {"C_10H_8O_4", 100, 0.1586f}, {"C_10H_8O_4", 200, 0.1282f}, {"C_2F_4", 100, 0.1500f},
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(compoundcoefficient(c.formula, c.energy), c.published, 0.0006f * c.published);
    }
    EXPECT_EXIT(compoundcoefficient("Pr_1", 30.0f), testing::ExitedWithCode(1), "Praseodymium");
    EXPECT_EXIT(compoundcoefficient("H_0", 30.0f), testing::ExitedWithCode(1), "no finite molar");
}

TEST(Density, ComesFromTheChosenLine)
{
    std::string many;
    for (int i = 0; i < 65; ++i) many += "   9    x\n";
    const std::string gap(22, ' ');
    const workdirectory here({{"dichte.dat", "heading 26\n  26    alpha  " + gap + " 7.87 (20 C)\n" +
                                                 "  26    none\n  26    beta   " + gap +
                                                 " 8. g\n  27    x\n" + many + "  28"}});
    struct { int nz; const char* keys; float density; } const cases[] = {
        {26, "\n", 7.87f}, {26, "beta\n\n", 8.0f}, {26, "none\n\n", 0.0f}, {26, "*\n", 0.0f},
        {28, "", 0.0f},
    };
    for (const auto& c : cases) {
        scrd.helpar(3) = "kept";
        const float density = [&c] {
            const console session(c.keys);
            window(1);
            return elementdensity(c.nz);
        }();
        EXPECT_FLOAT_EQ(density, c.density) << c.keys;
        EXPECT_EQ(scrd.helpar(2), text<132>("read/modification"));
        EXPECT_EQ(scrd.helpar(3), text<132>("kept"));
    }
    EXPECT_EXIT(elementdensity(29), testing::ExitedWithCode(1), "no line for atomic number 29");
    EXPECT_EXIT(elementdensity(9), testing::ExitedWithCode(1), "line 70: more than 64 lines");
}
