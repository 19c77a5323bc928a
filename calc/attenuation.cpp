// SPDX-License-Identifier: GPL-3.0-or-later
#include "calc/attenuation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/channel.h"
#include "calc/formula.h"
#include "help/comhelp.h"
#include "prompt/combuff.h"
#include "terminal/key.h"

namespace {

constexpr std::int32_t nrd = ninput;   // handed to every prompt
constexpr std::int32_t nwr = noutput;  // for every prompt and all printing

// Measures the terminal; menus take its full width.
void measure()
{
    window(1);
    term.npl = term.ncol(1);
}

// Shows the menu of the `n` entries set by `menuentry`. `offered`: text of its default. Returns the
// number of the entry chosen, 0 for none.
std::int32_t choose(std::string_view title, std::int32_t n, std::string_view offered)
{
    int rows = 0, columns = 0;
    sizenow(rows, columns);
    if (columns != term.ncol(1)) measure();  // resized
    std::int32_t lq = n, lk = n;
    text<132> chin(title);
    text<80> ch80(offered);
    ch80(80) = '#';
    query(lq, lk, chin, ch80);
    return lq;
}

}  // namespace

void attenuation(float energy, float& atc)
{
    tablerows rows;
    readblock(rows);
    coefficients.close();
    atc = coefficient(rows, energy);
}

// Formulas and compounds.

namespace {

// Ends the program over the group of a formula that begins in column `position`. `better`: how to
// write the formula, or blank.
[[noreturn]] void stopformula(const text<132>& formula, int position, const char* what,
                              const text<132>& better = {})
{
    const text<132> rest(formula(position, 132));
    stop("formula \"%s\": \"%s\" at position %d: %s%s%s", cstring(formula.trimmed()).ch,
         cstring(rest(1, std::min(rest.length(), 8))).ch, position, what,
         better.blank() ? "" : "; write ", cstring(better.trimmed()).ch);
}

// Reads the group at the front, a symbol and a count, which is -1 if there is none. Returns how
// many columns it takes.
int readgroup(const text<132>& w, text<2>& symbol, std::int32_t& n)
{
    const int p = w(2) == '_' ? 3 : 4;  // the first digit
    symbol = text<2>(w(1, p - 2));
    n = w(p) - '0';
    int columns = p;
    // After a two-letter symbol column 5 is read twice, not columns 5 and 6: a second digit is
    // doubled and the parser moves on one column too far. These are the formula's rules.
    for (const char d : {w(p + 1), w(5)}) {
        if (!isdecimal(d)) continue;
        n = 10 * n + (d - '0');
        ++columns;
    }
    if (!isdecimal(w(p)) || w(p - 1) != '_') n = -1;
    return columns;
}

// How to write a formula such as "H2O" or "Fe_12O_19" here; blank if that cannot be said, or takes
// more groups than a formula may have.
text<132> suggestion(std::string_view formula, const dim<text<2>, 1, lead>& es)
{
    atoms found;
    if (readformula(formula, es.item, found).what) return {};
    char line[160];
    int length = 0, groups = 0;
    for (int k = 1; k <= found.n; ++k) {
        const text<2>& symbol = es(found.element(k));
        const int most = symbol(2) == ' ' ? 999 : 9;  // a two-letter symbol takes one digit
        if (found.count(k) != std::floor(found.count(k)) || found.count(k) > 12.0 * most) return {};
        for (int count = static_cast<int>(found.count(k)); count > 0; count -= most) {
            if (++groups > 12) return {};
            length += std::snprintf(line + length, sizeof line - static_cast<std::size_t>(length),
                                    "%.*s_%d", symbol.length(), symbol.ch, std::min(count, most));
        }
    }
    return text<132>(std::string_view(line, static_cast<std::size_t>(length)));
}

}  // namespace

void contentformula(const text<132>& formula, const dim<text<2>, 1, lead>& es, std::int32_t& j,
                    dim<std::int32_t, 1, 12>& indx, dim<std::int32_t, 1, 12>& mult)
{
    int position = 1;  // of the next group
    while (position < 132 && formula(position) == ' ') ++position;
    j = 0;
    do {
        text<2> symbol;
        std::int32_t n = 0;
        const int columns = readgroup(text<132>(formula(position, 132)), symbol, n);
        const int index = findsymbol(es.item, symbol);
        if (index == 0 || n < 0) {
            stopformula(formula, position,
                        "expected a symbol from H to Pb, \"_\" and a count; no brackets",
                        suggestion(stripped(formula.all()), es));
        }
        if (j == 12) stopformula(formula, position, "more than 12 groups");
        indx(++j) = index;
        mult(j) = n;
        position = std::min(position + columns, 133);
    } while (position <= formula.length());
}

void atcoefficient(std::int32_t input, std::int32_t output, std::int32_t j,
                   const dim<std::int32_t, 1, 12>& indx, const dim<std::int32_t, 1, 12>& mult,
                   const dim<text<12>, 1, lead>& ename, const dim<float, 1, lead>& emolweight,
                   float& value, float& atc)
{
    text<132> querytype("Photon energy in keV"), chcom("read/energy");
    text<7> form("f8.2");
    // The width is a constant here, not that of the terminal.
    askvalue(querytype, form, value, chcom, 80, input, output);

    compound c;
    dim<float, 1, uranium> a;
    for (int i = 1; i <= j; ++i) {
        const text<12>& name = ename(indx(i));
        if (name.length() > 11) {  // the search reads 12 columns of a line, the first one unused
            stop(
                "%s: line %d: the name \"%.12s\" is longer than the 11 characters that compounds "
                "allow",
                elementtable, indx(i), name.ch);
        }
        findblock(name);
        attenuation(value, a(i));
        c.add(indx(i), static_cast<float>(mult(i)) * emolweight(indx(i)));
    }
    atc = mixture(c, a);
    if (!std::isfinite(atc)) stop("the molar mass of the formula is 0 or too large");
}

// Densities.

float elementdensity(std::int32_t nz)
{
    modifications found;
    readmodifications(nz, found);
    for (int k = 1; k <= found.n; ++k) {
        const text<81>& line = found.line(k);
        menuentry(k, line(9, std::max(8, line.length(80))), scrd.helpar(k).all());
    }
    // Only these two get a help page of their own; further entries keep that of the menu before.
    scrd.helpar(1) = scrd.helpar(2) = "read/modification";
    const int chosen = choose("density of the modifications", found.n, scrd.queryar(1)(1, 10));
    // From the line itself: the menu has cut its entries at the terminal width.
    return chosen == 0 ? 0.0f : found.density(chosen);
}

// The dialogue.

namespace {

enum class route { element, symbol, compound, formula, twolines };  // to mu/rho

// An absorber: what is given, then what the answers add.
struct absorber {
    std::string_view entry, help;  // text and help key in the menu
    route asks;                    // the questions
    std::string_view name;         // of the block, for a given element
    float value;                   // energy offered, then accepted, keV
    std::string_view form;         // in which it is shown
    float density;                 // g/cm3; the density table replaces it for elements
    std::int32_t j = 0;            // the compound
    dim<std::int32_t, 1, 12> indx{}, mult{};
    float atc = 0.0f;                // mu/rho, cm2/g
    float atc1 = 0.0f, atc2 = 0.0f;  // the same at the two lines of 57Co
    float thick = 0.0f;              // areal density, g/cm2
};

// The two gamma lines of 57Co in keV, and their weights. The labels on the screen round the
// energies; these are in use.
constexpr float energy1 = 122.01f, weight1 = 0.889f;
constexpr float energy2 = 136.46f, weight2 = 0.111f;

// clang-format off
const absorber absorbers[] = {
    {"1 Nickel foil", "read/element", route::element, "Nickel", 122.0f, "f8.2", 8.908f},
    {"2 Iron foil", "read/element", route::element, "Iron", 14.4f, "f8.2", 7.874f},
    {"3 Lead shielding", "read/element", route::element, "Lead", 122.0f, "f8.1", 11.342f},
    {"4 Aluminium foil", "read/element", route::element, "Aluminum", 14.4f, "f8.2", 2.7f},
    {"5 ES: element symbol", "read/element", route::symbol, "", 14.4f, "f8.2", 8.92f},
    {"6 mylar C_10H_8O_4", "read/mylar", route::compound, "", 14.4f, "f8.2", 1.38f,
     3, {{6, 1, 8}}, {{10, 8, 4}}},
    {"7 teflon C_2F_4", "read/teflon", route::compound, "", 14.4f, "f8.2", 2.2f,
     2, {{6, 9}}, {{2, 4}}},
    // Hydrogen 2, not the 4 of the dihydrate: required, and named under BUGS in the manual.
    {"8 Na_2Fe[(CN)_5NO]2H_2O", "read/sodiumnitrop", route::compound, "", 14.4f, "f8.2", 1.72f,
     6, {{11, 26, 6, 7, 8, 1}}, {{2, 1, 5, 6, 3, 2}}},
    {"9 FAS", "read/fas", route::compound, "", 14.4f, "f8.2", 1.86f,
     5, {{7, 1, 26, 16, 8}}, {{2, 20, 1, 2, 14}}},
    {"10 compound", "read/compound", route::formula, "", 14.4f, "f8.2", 0.0f},
    {"11 0.111(136.5keV), 0.889(122.0keV)", "read/bgco57", route::twolines, "", energy1, "f8.2",
     1.86f},
};
// clang-format on

void startup(elementlist<lead>& elements)
{
    measure();
    writepart(nwr,
              "\n"
              " The program uses the tables:\n"
              " X-Ray Mass Attenuation Coefficients\n"
              " published by National Institute of Standards and Technology (NIST)\n"
              " 1989, 1990, 1996, U.S. Secretary of Commerce for the United States of America\n"
              " and\n"
              " Densities of the Solid Elements, a compilation for attenuation\n"
              " 2026, the attenuation developers, CC0-1.0\n"
              "\n\n\n");
    elements.read();
    localpath.localhepath = "/attenuation.help";
}

const absorber& chooseabsorber()
{
    std::int32_t chosen = 0;
    while (chosen == 0) {
        int n = 0;
        for (const absorber& a : absorbers) menuentry(++n, a.entry, a.help);
        chosen = choose("select", n, "Nickel");
    }
    return absorbers[chosen - 1];
}

// A question for a number, at the terminal width.
void promptvalue(std::string_view question, std::string_view form, float& value,
                 std::string_view help)
{
    text<132> querytype(question), chcom(help);
    text<7> shown(form);
    askvalue(querytype, shown, value, chcom, term.ncol(1), nrd, nwr);
}

text<132> promptstring(std::string_view question, std::string_view offered, std::string_view help)
{
    text<132> querytype(question), chin(offered), chcom(help);
    askstring(querytype, chin, chcom, term.ncol(1), nrd, nwr);
    return chin;
}

// A number in fixed-point form, right-aligned in at most 16 columns; asterisks where it does not
// fit or is none.
struct fixedpoint {
    char ch[64];
    int width;

    fixedpoint(float value, int w, int decimals) : width(w)
    {
        const int used = std::snprintf(ch, sizeof ch, "%*.*f", w, decimals, double{value});
        if (used > w || !std::isfinite(value)) std::memset(ch, '*', sizeof ch);
    }
    operator std::string_view() const { return {ch, static_cast<std::size_t>(width)}; }
};

// The widths differ on purpose: 7 for elements, 6 for compounds.
void printcoefficient(const absorber& a, int width)
{
    writerecord(nwr, {" mue/rho=", fixedpoint(a.atc, width, 3),
                      " [cm^2/g]  density=", fixedpoint(a.density, width, 3), " [g/cm^3]  mu_e=",
                      fixedpoint(a.density * a.atc / 10.0f, width, 3), " [mm^-1]\n"});
}

text<12> askelement(const elementlist<lead>& elements)
{
    const text<132> chin = promptstring("symbol for the element", "Cu", "read/element");
    const text<2> symbol(chin.all());
    const int i = findsymbol(elements.es.item, symbol);
    if (i > 0) return elements.ename(i);
    stop("%s: no element from hydrogen to lead has the symbol \"%s\"", elementtable,
         cstring(symbol.trimmed()).ch);
}

void elementpath(absorber& a, const text<12>& name)
{
    promptvalue("Photon energy in keV", a.form, a.value, "read/energy");
    const std::int32_t nz = findblock(name);
    a.density = elementdensity(nz);
    attenuation(a.value, a.atc);
    printcoefficient(a, 7);
}

// Asks for the energy and gives mu/rho of a compound there.
float compoundcoefficient(const elementlist<lead>& elements, absorber& a)
{
    float atc = 0.0f;
    atcoefficient(nrd, nwr, a.j, a.indx, a.mult, elements.ename, elements.emolweight, a.value, atc);
    return atc;
}

void askcompound(const elementlist<lead>& elements, absorber& a)
{
    const text<132> chin =
        promptstring("formula of the compound", "N_2H_8Fe_1S_2O_8H_12O_6", "read/compound");
    promptvalue("density of the compound g/cm3", a.form, a.density, "read/density");
    contentformula(chin, elements.es, a.j, a.indx, a.mult);
}

void setupabsorber(const elementlist<lead>& elements, absorber& a)
{
    switch (a.asks) {
        case route::element: return elementpath(a, text<12>(a.name));
        case route::symbol: return elementpath(a, askelement(elements));
        case route::formula: askcompound(elements, a); [[fallthrough]];
        case route::compound:
            a.atc = compoundcoefficient(elements, a);
            return printcoefficient(a, 6);
        case route::twolines:
            askcompound(elements, a);
            a.atc1 = compoundcoefficient(elements, a);
            a.value = energy2;
            a.atc2 = compoundcoefficient(elements, a);
    }
}

// Asks for the unit of the thickness: 1 mg/cm2, 2 mm, 0 if cancelled. Offers that of the pass
// before.
std::int32_t askunit(std::int32_t lqq)
{
    menuentry(1, "thickness mg/cm2", "read/mgcm2");
    menuentry(2, "thickness in mm", "read/thickness");
    return choose("thickness of the sample", 2, lqq == 2 ? "mm" : "mg/cm2");
}

// Asks for the thickness. After a cancelled unit menu that of the pass before stays.
void askthickness(absorber& a, std::int32_t lqq)
{
    if (lqq == 1) {
        float value = 100.0f;
        promptvalue("thickness mg/cm2", "f8.2", value, "read/mgcm2");
        a.thick = value / 1000.0f;
    }
    if (lqq == 2) {
        float value = 0.125f;
        promptvalue("thickness in mm", "f8.4", value, "read/mgcm2");  // the key of the other unit
        a.thick = a.density * value / 10.0f;
    }
}

// exp(-depth), rounded once to 32 bits.
float transmitted(float depth) { return static_cast<float>(std::exp(-double{depth})); }

void printtransmission(const absorber& a)
{
    writerecord(nwr, {"\n\n       mg/cm2=", fixedpoint(1000.0f * a.thick, 10, 2)});
    float trm = transmitted(a.atc * a.thick);
    if (a.asks == route::twolines) {
        const float depth1 = a.atc1 * a.thick, depth2 = a.atc2 * a.thick;
        trm = weight1 * transmitted(depth1) + weight2 * transmitted(depth2);
        writerecord(nwr,
                    {"122keV:", fixedpoint(depth1, 12, 4), " 136keV:", fixedpoint(depth2, 12, 4)});
    }
    writerecord(nwr, {" transmission=", fixedpoint(trm, 10, 4), "\n"});
}

bool askagain()
{
    text<132> querytype("new value for the thickness"), chcom("read/repeat");
    text<1> ch1("y");
    yesno(querytype, ch1, chcom, term.ncol(1), nrd, nwr);
    return ch1(1) == 'y';
}

}  // namespace

void dialogue()
{
    elementlist<lead> elements;
    startup(elements);
    absorber a = chooseabsorber();
    setupabsorber(elements, a);
    std::int32_t lqq = 1;  // the unit that needs no density, in case none is asked
    do {
        if (a.density > 0.0f) lqq = askunit(lqq);
        askthickness(a, lqq);
        printtransmission(a);
    } while (askagain());
}
