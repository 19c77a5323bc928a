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

result good(const std::string& keys)
{
    const result r = run(keys + "n\n\n");  // no new thickness
    EXPECT_EQ(r.status, 0) << r.err;
    return r;
}

}  // namespace

TEST(Dialogue, Cases)
{
    cases("dialogues.txt", {
        {"absorbers", [](auto& c) {
            const result r = good(c[0] + "mm\n\n\n");
            const double mu = number(r.out, " mue/rho="), density = number(r.out, "density=");
            EXPECT_NEAR(mu / c.number(1), 1.0, 0.007);
            EXPECT_NEAR(density, c.number(2), 0.0005);
            const double areal = 100.0 * 0.125 * density;
            EXPECT_NEAR(number(r.out, "       mg/cm2=") / areal, 1.0, 0.01);
            EXPECT_NEAR(number(r.out, "mu_e="), mu * density / 10.0, 0.001 + 0.001 * mu);
            EXPECT_NEAR(number(r.out, " transmission="), std::exp(-mu * areal / 1000), 0.0002);
            c.expectin(r.out, 3);
        }},
        {"runs", [](auto& c) { c.expectin(good(c[0]).out, 1); }},
        {"faults", [](auto& c) {
            const result r = run(c[0]);
            EXPECT_EQ(r.status, 1);
            c.expectin(r.err, 1);
            EXPECT_TRUE(r.err.starts_with("attenuation: ") && r.err.find('\n') + 1 == r.err.size());
            EXPECT_NE(r.out.find("The program uses the tables:"), std::string::npos);
        }},
    });
}
