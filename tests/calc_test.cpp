// SPDX-License-Identifier: GPL-3.0-or-later
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
    float coefficient(float value) const
    {
        float atc = 0.0f;
        atcoefficient(5, 6, j, indx, mult, ename, emolweight, value, atc);
        return atc;
    }
};

// Writes a block of the coefficient table: of each row the energy and mu/rho, in their columns, or
// the line as it stands behind a "=".
void writeblock(const row& c, std::size_t i)
{
    std::ofstream table("attenuation.coefficients");
    table << " Before\n\n Test\nZ =   1\n1\n2\n3\n4\n5\n6\n";
    for (; i < c.size(); ++i) {
        char line[80], energy[20]{}, mu[20]{};
        sscanf(c[i].c_str(), "%19s %19s", energy, mu);
        snprintf(line, sizeof line, "   %11s  %9s  %9s", energy, mu, mu);
        table << (c[i].starts_with('=') ? c[i].substr(1) : line) << '\n';
    }
}

void near(const std::string& shown, const row& c, std::size_t i, double tolerance)
{
    EXPECT_NEAR(std::strtof(shown.c_str() + shown.rfind('<') + 1, nullptr) / c.number(i), 1.0, tolerance) << shown;
}

}  // namespace

TEST(Calc, TablesOfItsOwn)
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
        {"block", [](auto& c) { writeblock(c, 0); }},
        {"value", [](auto& c) {
            near(said([&c] { tell(coefficient("Test", c.number(0))); }), c, 1, c.number(2));
        }},
        {"refused", [](auto& c) {
            writeblock(c, 1);
            row("<attenuation: attenuation.coefficients: " + c[0]).expectin(said([] { tell(coefficient("Test", 1.5f)); }), 0);
        }},
        {"densities", [](auto& c) { std::ofstream("dichte.dat", std::ios::app) << c[0] << '\n'; }},
        {"density", [](auto& c) {
            scrd.helpar(3) = "kept";
            const auto action = [&c] {
                window(1);
                tell(elementdensity(c.integer(0)));
                tell(scrd.helpar(2), scrd.helpar(3), rest());
            };
            c.expectin(said(action, c[1]), 2);
        }},
        {"elements", [](auto& c) {
            std::ofstream("elements.dat") << c[0];
            elementlist list;
            c.expectin(said([&list] { readelements(list); }), 1);
        }},
        {"missing", [](auto& c) {
            std::filesystem::remove(c[0]);
            c.expectin(said([] { readelements(*new elementlist); }), 1);
        }},
    });
}

TEST(Calc, ShippedTables)
{
    std::filesystem::current_path(DATA_DIR);
    cases("formulas.txt", {
        {"groups", [](auto& c) {
            c.expectin(said([&c] {
                const compound found(c[0]);
                for (int i = 1; i <= found.j; ++i) tell(found.indx(i), found.mult(i));
            }), 1);
        }},
        {"published", [](auto& c) {
            near(said([&c] { tell(compound(c[0]).coefficient(c.number(1))); }, "\n"), c, 2, 0.0006);
        }},
        {"fault", [](auto& c) {
            c.expectin(said([&c] { tell(compound(c[0]).coefficient(30.0f)); }, "\n"), 1);
        }},
    });
}
