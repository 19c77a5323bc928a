// SPDX-License-Identifier: GPL-3.0-or-later
#include "calc/attenuation.h"
#include "help/comhelp.h"
#include "terminal/key.h"
#include "tests/session.h"

namespace {

// Tells mu/rho of the element Test, from the table in the working directory.
void coefficient(float energy)
{
    float atc = -1.0f;
    findblock("Test");
    attenuation(energy, atc);
    tell(atc);
}

// Tells mu/rho of a compound, or without an energy the groups of its formula.
void ofcompound(const std::string& formula, float value)
{
    elementlist<lead> list;
    std::int32_t j = 0;
    dim<std::int32_t, 1, 12> indx, mult;
    list.read();
    contentformula(text<132>(formula), list.es, j, indx, mult);
    for (int i = 1; i <= j && value == 0.0f; ++i) tell(indx(i), mult(i));
    if (value == 0.0f) return;
    float atc = 0.0f;
    atcoefficient(5, 6, j, indx, mult, list.ename, list.emolweight, value, atc);
    tell(atc);
}

// Writes the block of Test: of each row the energy and mu/rho, in their columns, or the line as it
// stands behind a "=".
void writeblock(const row& c, std::size_t i)
{
    std::ofstream table("attenuation.coefficients");
    table << " Before\n\n" << (i < c.size() ? " Test\nZ =   1\n1\n2\n3\n4\n5\n6\n" : "");
    for (; i < c.size(); ++i) {
        char line[80], energy[20]{}, mu[20]{};
        sscanf(c[i].c_str(), "%19s %19s", energy, mu);
        snprintf(line, sizeof line, "   %11s  %9s  %9s", energy, mu, mu);
        table << (c[i].starts_with('=') ? c[i].substr(1) : line) << '\n';
    }
}

// Expects the number of field i, told by the action, within a tolerance.
void near(const row& c, std::size_t i, double tolerance, auto action)
{
    const std::string told = said(action, "\n");
    const float number = std::strtof(told.c_str() + told.rfind('<') + 1, nullptr);
    EXPECT_NEAR(number / c.number(i), 1.0, tolerance) << told;
}

}  // namespace

TEST(Calc, TablesOfItsOwn)
{
    const workdirectory here;
    checks check;
    check["parabel"] = [](auto& c) {
        dim<double, 1, 4> xs, ys;
        std::istringstream points(c[1]);
        for (int k = 1; k <= 4; ++k) points >> xs(k) >> ys(k);
        float att = 7.0f;
        parabel(c.integer(0), xs, ys, std::stod(c[2]), att);
        EXPECT_NEAR(att, c.number(3), 2e-5);
    };
    check["block"] = [](auto& c) { writeblock(c, 0); };
    check["value"] = [](auto& c) { near(c, 1, c.number(2), [&] { coefficient(c.number(0)); }); };
    check["refused"] = [](auto& c) {
        writeblock(c, 1);
        const row message("<attenuation: attenuation.coefficients: " + c[0]);
        message.expectin(said([] { coefficient(1.5f); }), 0);
    };
    check["densities"] = [](auto& c) {
        std::ofstream("dichte.dat", std::ios::app) << c[0] << '\n';
    };
    check["density"] = [](auto& c) {
        scrd.helpar(3) = "kept";
        const auto action = [&c] {
            window(1);
            tell(elementdensity(c.integer(0)));
            tell(scrd.helpar(2), scrd.helpar(3), rest());
        };
        c.expectin(said(action, c[1]), 2);
    };
    check["number"] = [](auto& c) {
        std::ofstream("elements.dat") << contentof(DATA_DIR "/elements.dat");
        std::ofstream("attenuation.coefficients") << " Iron\n" << c[0] << '\n';
        const row message(
            "coefficients: line 2: the atomic number of Iron is missing or malformed\n>");
        message.expectin(said([] { dialogue(); }, "2\n\n\n"), 0);
    };
    check["elements"] = [](auto& c) {
        std::string all = contentof(DATA_DIR "/elements.dat");
        all.replace(all.find(c[0]), c[0].empty() ? all.npos : c[0].size(), c[1]);
        if (all.empty()) std::filesystem::remove("elements.dat");
        else std::ofstream("elements.dat") << all;
        c.expectin(said([] { ofcompound("Pr_1", 30.0f); }, "\n"), 2);
    };
    cases("tables.txt", check);
}

TEST(Calc, ShippedTables)
{
    std::filesystem::current_path(DATA_DIR);
    checks check;
    check["groups"] = [](auto& c) { c.expectin(said([&] { ofcompound(c[0], 0.0f); }), 1); };
    check["published"] = [](auto& c) {
        near(c, 2, 0.0006, [&] { ofcompound(c[0], c.number(1)); });
    };
    check["fault"] = [](auto& c) { c.expectin(said([&] { ofcompound(c[0], 30.0f); }, "\n"), 1); };
    cases("formulas.txt", check);
}
