// SPDX-License-Identifier: GPL-3.0-or-later
// Whole runs of the program from a pipe, on the shipped tables.
#include <gtest/gtest.h>

#include <cmath>
#include <regex>

#include "tests/session.h"

namespace {

// The number behind a label in the output, NaN if it is not there.
double number(const std::string& out, const std::string& label)
{
    const std::size_t at = out.find(label);
    return at == std::string::npos ? std::nan("") : std::strtod(out.c_str() + at + label.size(), nullptr);
}

constexpr const char* last = "n\n\n";  // no new thickness

}  // namespace

// mu/rho of XCOM (as xraylib 4.0 gives it), the density of the table or of the menu, and a thickness
// in mm whose transmission follows by hand.
TEST(Dialogue, EveryAbsorber)
{
    struct { const char *keys, *width; double mu, density; } const cases[] = {
        {"\n\n", "%7.3f", 0.30417, 8.908},
        {"2\n\n\n\n", "%7.3f", 63.84, 7.874},
        {"3\n\n\n", "%7.3f", 3.366, 11.34},
        {"4\n\n\n", "%7.3f", 8.9691, 2.699},
        {"5\n\n\n\n", "%7.3f", 82.797, 8.96},
        {"5\n\nFe\n\n\n\n", "%7.3f", 63.84, 7.874},
        {"mylar\n\n\n", "%6.3f", 1.2578, 1.38},
        {"7\n\n\n", "%6.3f", 2.3429, 2.2},
        {"8 Na\n\n\n", "%6.3f", 13.777, 1.72},
        {"9\n\n\n", "%6.3f", 13.240, 1.86},
        {"comp\n\n\n2\n\n\n", "%6.3f", 13.240, 2.0},
    };
    for (const auto& c : cases) {
        const result r = run(std::string(c.keys) + "mm\n\n\n" + last);
        EXPECT_EQ(r.status, 0) << c.keys << r.err;
        const double mu = number(r.out, " mue/rho="), density = number(r.out, "density=");
        EXPECT_NEAR(mu, c.mu, 0.007 * c.mu) << c.keys;
        EXPECT_NEAR(density, c.density, 0.0005) << c.keys;
        const double areal = 100.0 * 0.125 * density;
        EXPECT_NEAR(number(r.out, "       mg/cm2="), areal, 0.01 * areal);
        EXPECT_NEAR(number(r.out, " transmission="), std::exp(-mu * areal / 1000), 0.0002) << c.keys;
        char line[120];
        const std::string f = c.width;
        std::snprintf(line, sizeof line, ("\n mue/rho=" + f + " [cm^2/g]  density=" + f).c_str(), mu,
                      density);
        EXPECT_NE(r.out.find(line), std::string::npos) << line;
    }
}

TEST(Dialogue, TwoLinesOf57Co)
{
    const result r = run("0.111\n\n\n\n\n\n\n1000\n\n" + std::string(last));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("=[122.01]"), std::string::npos);
    EXPECT_NE(r.out.find("=[136.46]"), std::string::npos);
    EXPECT_EQ(r.out.find("mue/rho"), std::string::npos);
    const double d1 = number(r.out, "122keV:"), d2 = number(r.out, " 136keV:");
    EXPECT_TRUE(d1 > d2 && d2 > 0.1);
    EXPECT_NEAR(number(r.out, " transmission="), 0.889 * std::exp(-d1) + 0.111 * std::exp(-d2), 1e-4);
}

TEST(Dialogue, UnitsAndThicknesses)
{
    // Three passes: 50 and 100 mg/cm2 in mm at 2.699 g/cm3, where mm is offered again, then 50 mg/cm2.
    const result r = run("4\n\n\nmm\n\n.1853\n\n\n\n.3705\n\ny\n\nmg\n\n50\n\n" + std::string(last));
    std::vector<double> seen;
    std::string rest = r.out;
    for (std::size_t at; (at = rest.find(" transmission=")) != std::string::npos;) {
        seen.push_back(number(rest, " transmission="));
        if (seen.size() < 3) rest = rest.substr(at + 1);
        else break;
    }
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_NEAR(seen[0] * seen[0], seen[1], 2e-4);  // two layers multiply
    EXPECT_NEAR(seen[2], seen[0], 2e-4);
    EXPECT_NE(rest.find("thickness mg/cm2=[50.00]"), std::string::npos);

    // Density 0 asks no unit; a cancelled menu of units keeps the thickness, 0 at first.
    const result zero = run(std::string("comp\n\n\n\n\n\n") + last);
    EXPECT_EQ(zero.status, 0) << zero.err;
    EXPECT_EQ(zero.out.find("of the sample"), std::string::npos);
    EXPECT_EQ(number(zero.out, "       mg/cm2="), 100.0);
    EXPECT_EQ(number(run(std::string("3\n\n\n*\n") + last).out, " transmission="), 1.0);
    // Numbers too large for their field.
    const result wide = run(std::string("comp\n\nPb_1\n\n100\n\n2\n\n\n1e5\n99.9e5\n\n") + last);
    EXPECT_NE(wide.out.find("density=******"), std::string::npos);
    EXPECT_NE(wide.out.find("mue/rho=******"), std::string::npos);
}

TEST(Dialogue, SaysWhatIsWrong)
{
    struct { const char *keys, *message; } const cases[] = {
        {"", "end of input at the menu \"select\""},
        {"2\n\n", "end of input at the question \"Photon energy in keV\""},
        {"5\n\n", "end of input at the question \"symbol for the element\""},
        {"5\n\ncu\n\n", "elements.dat: no element from hydrogen to lead has the symbol \"cu\""},
        {"5\n\nq\n", "has the symbol \"\\* \""},
        {"2\n\n1\n\n\n", "1 keV is outside the usable energies of Iron, 1.22 keV to below 15000 keV"},
        {"comp\n\nFeO2\n\n\n", "formula \"FeO2\": \"FeO2\" at position 1: the symbol must"},
        {"comp\n\n\026\033[2JO_2\n\n\n", "\"\\^\\[\\[2JO_2\" at position 1: no symbol"},
    };
    for (const auto& c : cases) {
        const result r = run(c.keys);
        EXPECT_EQ(r.status, 1) << c.keys;
        EXPECT_TRUE(std::regex_search(r.err, std::regex(std::string("^attenuation: .*") + c.message)))
            << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_NE(r.out.find("The program uses the tables:"), std::string::npos);
    }
    const workdirectory here({{"elements.dat", filecontent(DATA_DIR "/elements.dat").substr(0, 408)}});
    EXPECT_EQ(run("", here.path).err, "attenuation: elements.dat: ends after 11 of 82 lines\n");
}

TEST(Dialogue, HelpOnTheWay)
{
    // In the menu: a page, two levels down, back up, then iron as if nothing had happened.
    const result r = run("Iron\nhe\n\nmu\n\n\n\033[B\n\n\nreturn\n\nreturn\n\n"
                         "2\n\nhelp\n\n\n\n\n\n\n" + std::string(last));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("related information"), std::string::npos);
    EXPECT_NEAR(number(r.out.substr(r.out.rfind(" mue/rho=")), "="), 63.89, 0.05);
}
