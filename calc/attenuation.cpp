// SPDX-License-Identifier: GPL-3.0-or-later
#include "calc/attenuation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/channel.h"
#include "base/printable.h"
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

// The same before each menu, where the terminal has another width by now.
void remeasure()
{
    int rows = 0, columns = 0;
    sizenow(rows, columns);
    if (columns != term.ncol(1)) measure();
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

// The part of a formula not yet read.
struct formularest {
    const text<132>& formula;
    int position = 1;  // of its first character in the formula

    text<132> working() const { return text<132>(formula(position, 132)); }
    void drop(int count) { position = std::min(position + count, 133); }
    [[noreturn]] void fault(const char* what, const text<132>& better = {}) const
    {
        const text<132> w = working();
        stop("formula \"%.*s\": \"%.*s\" at position %d: %s%s%.*s", formula.length(), formula.ch,
             std::min(w.length(), 8), w.ch, position, what, better.blank() ? "" : "; write ",
             better.length(), better.ch);
    }
};

// Reads the group at the front: a symbol and a count.
void readgroup(formularest& rest, text<2>& symbol, std::int32_t& n)
{
    const text<132> w = rest.working();
    const bool oneletter = w(2) == '_';
    symbol = oneletter ? text<2>(w(1, 1)) : text<2>(w(1, 2));
    const char d1 = oneletter ? w(3) : w(4);
    // After a two-letter symbol column 5 is read twice, not columns 5 and 6: a second digit is
    // doubled and the parser moves on one column too far. These are the formula's rules.
    const char d2 = oneletter ? w(4) : w(5);
    const char d3 = w(5);
    int p = oneletter ? 4 : 5;
    n = d1 - '0';
    for (const char d : {d2, d3}) {
        if (!isdecimal(d)) continue;
        n = 10 * n + (d - '0');
        ++p;
    }
    if (!isdecimal(d1) || (!oneletter && w(3) != '_')) n = -1;
    if (n >= 0) rest.drop(p - 1);
}

// How to write a formula such as "H2O" or "Fe_12O_19" here; blank if that cannot be said, or takes
// more groups than a formula may have.
text<132> suggestion(std::string_view formula, const dim<text<2>, 1, 82>& es)
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

void contentformula(const text<132>& formula, const dim<text<2>, 1, 82>& es, std::int32_t& j,
                    dim<std::int32_t, 1, 12>& indx, dim<std::int32_t, 1, 12>& mult)
{
    formularest rest{formula};
    while (rest.position < 132 && formula(rest.position) == ' ') rest.drop(1);
    const int begin = rest.position;
    j = 0;
    do {
        const formularest group = rest;
        text<2> symbol;
        std::int32_t n = 0;
        readgroup(rest, symbol, n);
        const int index = findsymbol(es.item, symbol);
        if (index == 0 || n < 0) {
            group.fault("expected a symbol from H to Pb, \"_\" and a count; no brackets",
                        suggestion(formula(begin, std::max(formula.length(), begin - 1)), es));
        }
        if (j == 12) group.fault("more than 12 groups");
        ++j;
        indx(j) = index;
        mult(j) = n;
    } while (!rest.working().blank());
}

void atcoefficient(std::int32_t input, std::int32_t output, std::int32_t j,
                   const dim<std::int32_t, 1, 12>& indx, const dim<std::int32_t, 1, 12>& mult,
                   const dim<text<12>, 1, 82>& ename, const dim<float, 1, 82>& emolweight,
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
            stop("%s: the name \"%.12s\" is too long for the search in compounds", elementtable,
                 name.ch);
        }
        findblock(name);
        attenuation(value, a(i));
        c.add(indx(i), static_cast<float>(mult(i)) * emolweight(indx(i)));
    }
    atc = mixture(c, a);
    if (!std::isfinite(atc)) stop("the formula gives no finite molar mass");
}

// Densities.

float elementdensity(std::int32_t nz)
{
    remeasure();
    modifications found;
    readmodifications(nz, found);
    std::int32_t lq = found.n, lk = found.n;
    for (int k = 1; k <= lq; ++k) {
        const text<81>& line = found.line(k);
        menuentry(k, line(9, std::max(8, line.length(80))), scrd.helpar(k).all());
    }
    // Only these two get a help page of their own; further entries keep that of the menu before.
    scrd.helpar(1) = scrd.helpar(2) = "read/modification";
    text<80> ch80(scrd.queryar(1)(1, 10));
    ch80(80) = '#';
    text<132> cheader("density of the modifications");
    query(lq, lk, cheader, ch80);
    // From the line itself: the menu has cut its entries at the terminal width.
    return lq == 0 ? 0.0f : found.density(lq);
}

void readelements(elementlist& elements)
{
    readelements(elements.es.item, elements.ename.item, elements.emolweight.item);
}

// The dialogue.

namespace {

enum class route { element, symbol, compound, formula, twolines };  // to mu/rho

struct absorber {
    std::string_view entry, help;  // text and help key in the menu
    route to;                      // the questions asked
    std::string_view name;         // of the block, for a given element
    float value;                   // energy offered, keV
    std::string_view form;         // in which it is shown
    float density;                 // g/cm3; the density table replaces it for elements
    std::int32_t j = 0;            // a given compound
    dim<std::int32_t, 1, 12> indx{}, mult{};
};

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
    {"11 0.111(136.5keV), 0.889(122.0keV)", "read/bgco57", route::twolines, "", 122.01f, "f8.2",
     1.86f},
};
// clang-format on
constexpr std::int32_t nabsorber = sizeof absorbers / sizeof absorbers[0];

// The two gamma lines of 57Co. The labels on the screen round the energies; these are in use.
constexpr float energy1 = 122.01f, weight1 = 0.889f;
constexpr float energy2 = 136.46f, weight2 = 0.111f;

// The absorber chosen, as far as it is known.
struct sample {
    elementlist elements;
    text<4> source = "xkeV";         // "57Co" for its two lines
    float density = 0.0f;            // g/cm3
    float atc = 0.0f;                // mu/rho, cm2/g
    float atc1 = 0.0f, atc2 = 0.0f;  // at the two lines of 57Co
    float thick = 0.0f;              // areal density, g/cm2
};

void startup(elementlist& elements)
{
    measure();
    static constexpr std::string_view lines[] = {
        "",
        " The program uses the tables:",
        " X-Ray Mass Attenuation Coefficients",
        " published by National Institute of Standards and Technology (NIST)",
        " 1989, 1990, 1996, U.S. Secretary of Commerce for the United States of America",
        " and",
        " Densities of the Solid Elements, a compilation for attenuation",
        " 2026, the attenuation developers, CC0-1.0",
        "",
        "",
        "",
    };
    for (const std::string_view line : lines) writerecord(nwr, {line});
    readelements(elements);
    localpath.localhepath = "/attenuation.help";
}

std::int32_t chooseabsorber()
{
    std::int32_t lq = 0;
    while (lq == 0) {
        remeasure();
        lq = nabsorber;
        std::int32_t lk = lq;
        for (int k = 1; k <= lq; ++k) {
            menuentry(k, absorbers[k - 1].entry, absorbers[k - 1].help);
        }
        text<80> ch80("Nickel");
        ch80(80) = '#';
        text<132> chin("select");
        query(lq, lk, chin, ch80);
    }
    return lq;
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
void printcoefficient(const sample& s, int width)
{
    writerecord(nwr, {" mue/rho=", fixedpoint(s.atc, width, 3),
                      " [cm^2/g]  density=", fixedpoint(s.density, width, 3), " [g/cm^3]  mu_e=",
                      fixedpoint(s.density * s.atc / 10.0f, width, 3), " [mm^-1]"});
    writerecord(nwr, {""});
}

text<12> askelement(const elementlist& elements)
{
    const text<132> chin = promptstring("symbol for the element", "Cu", "read/element");
    const int i = findsymbol(elements.es.item, text<2>(chin.all()));
    if (i == 0) {
        stop("%s: no element from hydrogen to lead has the symbol \"%.2s\"", elementtable, chin.ch);
    }
    return elements.ename(i);
}

void elementpath(sample& s, const text<12>& name, const absorber& chosen)
{
    float energy = chosen.value;
    promptvalue("Photon energy in keV", chosen.form, energy, "read/energy");
    const std::int32_t nz = findblock(name);
    s.density = elementdensity(nz);
    attenuation(energy, s.atc);
    printcoefficient(s, 7);
}

// Asks for the energy, `value` in keV being offered, and gives mu/rho of the compound.
float compoundcoefficient(const sample& s, const absorber& compound, float value)
{
    float atc = 0.0f;
    atcoefficient(nrd, nwr, compound.j, compound.indx, compound.mult, s.elements.ename,
                  s.elements.emolweight, value, atc);
    return atc;
}

// Asks for formula and density; `typed` becomes the compound.
void askcompound(sample& s, absorber& typed)
{
    const text<132> chin =
        promptstring("formula of the compound", "N_2H_8Fe_1S_2O_8H_12O_6", "read/compound");
    promptvalue("density of the compound g/cm3", typed.form, s.density, "read/density");
    contentformula(chin, s.elements.es, typed.j, typed.indx, typed.mult);
}

void setupabsorber(sample& s, absorber chosen)
{
    s.density = chosen.density;
    switch (chosen.to) {
        case route::element: return elementpath(s, text<12>(chosen.name), chosen);
        case route::symbol: return elementpath(s, askelement(s.elements), chosen);
        case route::formula: askcompound(s, chosen); [[fallthrough]];
        case route::compound:
            s.atc = compoundcoefficient(s, chosen, chosen.value);
            return printcoefficient(s, 6);
        case route::twolines:
            askcompound(s, chosen);
            s.atc1 = compoundcoefficient(s, chosen, energy1);
            s.atc2 = compoundcoefficient(s, chosen, energy2);
            s.source = "57Co";
    }
}

// Asks for the unit of the thickness: 1 mg/cm2, 2 mm, 0 if cancelled. `ch80` is the unit offered.
std::int32_t askunit(text<80>& ch80)
{
    remeasure();
    std::int32_t lq = 2, lk = 2;
    menuentry(1, "thickness mg/cm2", "read/mgcm2");
    menuentry(2, "thickness in mm", "read/thickness");
    text<132> chin("thickness of the sample");
    ch80(80) = '#';
    query(lq, lk, chin, ch80);
    ch80 = lq == 2 ? "mm" : "mg/cm2";
    return lq;
}

// Asks for the thickness. After a cancelled unit menu that of the pass before stays.
void askthickness(sample& s, std::int32_t lqq)
{
    if (lqq == 1) {
        float value = 100.0f;
        promptvalue("thickness mg/cm2", "f8.2", value, "read/mgcm2");
        s.thick = value / 1000.0f;
    }
    if (lqq == 2) {
        float value = 0.125f;
        promptvalue("thickness in mm", "f8.4", value, "read/mgcm2");  // the key of the other unit
        s.thick = s.density * value / 10.0f;
    }
}

// exp(-depth), rounded once to 32 bits.
float transmitted(float depth) { return static_cast<float>(std::exp(-double{depth})); }

void printtransmission(const sample& s)
{
    writerecord(nwr, {""});
    writerecord(nwr, {""});
    writerecord(nwr, {"       mg/cm2=", fixedpoint(1000.0f * s.thick, 10, 2)});
    float trm = 0.0f;
    if (s.source == text<4>("57Co")) {
        const float depth1 = s.atc1 * s.thick, depth2 = s.atc2 * s.thick;
        trm = weight1 * transmitted(depth1) + weight2 * transmitted(depth2);
        writerecord(nwr,
                    {"122keV:", fixedpoint(depth1, 12, 4), " 136keV:", fixedpoint(depth2, 12, 4)});
    } else {
        trm = transmitted(s.atc * s.thick);
    }
    writerecord(nwr, {" transmission=", fixedpoint(trm, 10, 4)});
    writerecord(nwr, {""});
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
    sample s;
    startup(s.elements);
    setupabsorber(s, absorbers[chooseabsorber() - 1]);
    text<80> ch80("mg/cm2");
    std::int32_t lqq = 1;  // the unit that needs no density, in case none is asked
    do {
        if (s.density > 0.0f) lqq = askunit(ch80);
        askthickness(s, lqq);
        printtransmission(s);
    } while (askagain());
}
