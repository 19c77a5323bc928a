// SPDX-License-Identifier: GPL-3.0-or-later

#include <sstream>

#include "calc/attenuation.h"
#include "help/comhelp.h"
#include "terminal/key.h"
#include "tests/session.h"

namespace {

// mu/rho of an element, from the table in the working directory.
float coefficient(const std::string& name, float energy)
{
    const text<12> wanted(name);
    text<16> numberline;
    float atc = -1.0f;
    findblock(wanted, wanted.length());
    coefficients.next(numberline);
    attenuation(energy, atc);
    return atc;
}

struct compound : elementlist {
    std::int32_t j = 0;
    dim<std::int32_t, 1, 12> indx, mult;

    explicit compound(const std::string& formula)
    {
        readelements(*this);
        contentformula(text<132>(formula), es, j, indx, mult);
    }
};

float ofcompound(const std::string& formula, float value)
{
    const console session("\n");
    const compound c(formula);
    float atc = 0.0f;
    atcoefficient(5, 6, c.j, c.indx, c.mult, c.ename, c.emolweight, value, atc);
    return atc;
}

}  // namespace

TEST(Attenuation, Tables)
{
    const workdirectory here;
    cases("tables.txt", {
        {"parabel", [](auto& c) {
            dim<double, 1, 4> xs, ys;
            std::istringstream points(c[1]);
            for (int k = 1; k <= 4; ++k) points >> xs(k) >> ys(k);
            float att = 7.0f;
            const double last = xs(4);
            parabel(c.integer(0), xs, ys, std::stod(c[2]), att);
            EXPECT_NEAR(att, c.number(3), 2e-5);
            EXPECT_DOUBLE_EQ(xs(4), 1000.0 * last);  // keV now
        }},
        {"table", [](auto& c) {
            std::ofstream table("attenuation.coefficients");
            for (const std::string& part : c) table << part;
        }},
        {"value", [](auto& c) {
            EXPECT_NEAR(coefficient("Test", c.number(0)), c.number(1), c.number(2));
        }},
        {"fault", [](auto& c) { c.expectin(fault([&] { coefficient(c[0], c.number(1)); }), 2); }},
    });
}

TEST(Formula, Groups)
{
    std::filesystem::current_path(DATA_DIR);
    cases("formulas.txt", {
        {"good", [](auto& c) {
            const compound found(c[0]);
            std::string pairs;
            for (int i = 1; i <= found.j; ++i) {
                pairs += std::to_string(found.indx(i)) + " " + std::to_string(found.mult(i)) + " ";
            }
            EXPECT_EQ(pairs, c[1] + " ");
        }},
        {"bad", [](auto& c) { c.expectin(fault([&] { compound found(c[0]); }), 1); }},
    });
}

TEST(Compound, IsTheMassFractionSumOfItsElements)
{
    std::filesystem::current_path(DATA_DIR);
    EXPECT_FLOAT_EQ(ofcompound("Fe_7", 14.4f), coefficient("Iron", 14.4f));
    EXPECT_FLOAT_EQ(ofcompound("H_4O_2", 30.0f), ofcompound("H_1O_1H_1", 30.0f));
    cases("compounds.txt", {
        {"published", [](auto& c) {
            EXPECT_NEAR(ofcompound(c[0], c.number(1)) / c.number(2), 1.0, 0.0006);
        }},
        {"fault", [](auto& c) { c.expectin(fault([&] { ofcompound(c[0], c.number(1)); }), 2); }},
    });
}

TEST(Density, Tables)
{
    const workdirectory here;
    cases("densities.txt", {
        {"table", [](auto& c) { std::ofstream("dichte.dat", std::ios::app) << c[0] << '\n'; }},
        {"value", [](auto& c) {
            scrd.helpar(3) = "kept";
            const console session(c[1]);
            window(1);
            EXPECT_FLOAT_EQ(elementdensity(c.integer(0)), c.number(2));
            EXPECT_EQ(scrd.helpar(2), text<132>("read/modification"));
            EXPECT_EQ(scrd.helpar(3), text<132>("kept"));
        }},
        {"fault", [](auto& c) { c.expectin(fault([&] { elementdensity(c.integer(0)); }), 1); }},
        {"elements", [](auto& c) {
            std::ofstream("elements.dat") << c[0];
            elementlist list;
            c.expectin(fault([&list] { readelements(list); }), 1);
        }},
    });
}
