// SPDX-License-Identifier: GPL-3.0-or-later
// Whole runs of the program from a pipe, on the shipped tables.
#include <cmath>

#include "tests/session.h"

namespace {

// The number behind a label in the output, NaN if it is not there.
double number(const std::string& out, const std::string& label)
{
    const std::size_t at = out.find(label);
    return at == out.npos ? std::nan("") : std::strtod(out.c_str() + at + label.size(), nullptr);
}

}  // namespace

TEST(Dialogue, Cases)
{
    checks check;
    check["absorbers"] = [](auto& c) {
        const std::string out = run(c[0] + "mm\n\n\nn\n\n");
        const double mu = number(out, " mue/rho="), density = number(out, "density=");
        EXPECT_NEAR(mu / c.number(1), 1.0, 0.007);
        EXPECT_NEAR(density, c.number(2), 0.0005);
        const double areal = 100.0 * 0.125 * density;
        EXPECT_NEAR(number(out, "       mg/cm2=") / areal, 1.0, 0.01);
        EXPECT_NEAR(number(out, "mu_e="), mu * density / 10.0, 0.001 + 0.001 * mu);
        EXPECT_NEAR(number(out, " transmission="), std::exp(-mu * areal / 1000), 0.0002);
        c.expectin(out, 3);
    };
    check["runs"] = [](auto& c) { c.expectin(run(c[0]), 1); };
    cases("dialogues.txt", check);
}
