// SPDX-License-Identifier: GPL-3.0-or-later
#include "murho/absorber.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "calc/formula.h"
#include "murho/catalogue.h"
#include "murho/number.h"
#include "murho/refuse.h"

namespace {

// All elements of the tables, hydrogen to uranium.
const elementlist<uranium>& elements()
{
    static elementlist<uranium> list;
    if (list.n == 0) list.read();
    return list;
}

// Compositions.

double totalmass(const compound& c)
{
    double sum = 0.0;
    for (int k = 1; k <= c.n; ++k) sum += double{c.mass(k)};
    return sum;
}

// Adds a formula, weighing `grams` in all, or a mole of it if that is 0.
formulafault addformula(std::string_view formula, double grams, atoms& masses)
{
    atoms found;
    const formulafault fault = readformula(formula, elements().symbols(), found);
    if (fault.what) return fault;
    double mole = 0.0;
    for (int k = 1; k <= found.n; ++k) {
        found.count(k) *= double{elements().emolweight(found.element(k))};
        mole += found.count(k);
    }
    for (int k = 1; k <= found.n; ++k) {
        masses.add(found.element(k),
                   grams > 0.0 ? grams * (found.count(k) / mole) : found.count(k));
    }
    return {};
}

formulafault readcomposition(std::string_view from, compound& c, bool names);

// The same for a part of a mixture, which may be a material by its name.
formulafault addpart(std::string_view part, double grams, atoms& masses)
{
    catalogue materials(materialtable);
    compound c;
    if (!materials.find(part) || readcomposition(materials.field(2), c, false).what) {
        return addformula(part, grams, masses);
    }
    const double sum = totalmass(c);
    for (int k = 1; k <= c.n; ++k) masses.add(c.element(k), grams * (double{c.mass(k)} / sum));
    return {};
}

// Reads a formula, or formulas and their weights: "Fe:70,Cr:30". With `names`, materials too may be
// mixed.
formulafault readcomposition(std::string_view from, compound& c, bool names)
{
    atoms masses;
    const bool single = from.find(':') == from.npos;
    const int length = static_cast<int>(from.size());
    std::string_view rest = from;
    do {
        const int before = length - static_cast<int>(rest.size());
        const std::string_view part = single ? rest : rest.substr(0, rest.find(','));
        const std::string_view formula = part.substr(0, part.find(':'));
        const double weight = single ? 0.0 : positive(without(part, formula.size() + 1));
        const formulafault fault = names && !single && weight > 0.0
                                       ? addpart(formula, weight, masses)
                                       : addformula(formula, weight, masses);
        if (fault.what) return {before + fault.position, fault.what};
        if (std::isnan(weight)) {
            return {before + static_cast<int>(formula.size()) + 1,
                    "expected \":\" and a weight above 0"};
        }
        if (part.size() + 1 == rest.size()) return {length + 1, "expected a formula after \",\""};
        rest = without(rest, part.size() + 1);
    } while (!rest.empty());
    c.n = 0;
    for (int k = 1; k <= masses.n; ++k) {
        c.add(masses.element(k), static_cast<float>(masses.count(k)));
    }
    return {};
}

// Materials.

// True if two compositions agree to 1 % of the weight.
bool agree(const compound& a, const compound& b)
{
    dim<double, 1, uranium> difference;
    const double suma = totalmass(a), sumb = totalmass(b);
    for (int k = 1; k <= a.n; ++k) difference(a.element(k)) += a.mass(k) / suma;
    for (int k = 1; k <= b.n; ++k) difference(b.element(k)) -= b.mass(k) / sumb;
    for (const double d : difference.item) {
        if (std::fabs(d) > 0.01) return false;
    }
    return true;
}

void takedensity(const catalogue& materials, absorber& a)
{
    if (materials.field(3).empty()) return;
    a.density = positive(materials.field(3));
    if (std::isnan(a.density)) stopat(materials.file, "expected a density in g/cm3, or nothing");
}

// Takes an absorber from the materials, if it is one of them. A name that is also a formula has to
// mean it.
bool findmaterial(absorber& a)
{
    catalogue materials(materialtable);
    if (!materials.find(a.label)) return false;
    const formulafault fault = readcomposition(materials.field(2), a.contents, false);
    if (fault.what) {
        stopat(materials.file, "position %d of the composition: %s", fault.position, fault.what);
    }
    compound formula;
    if (!readcomposition(a.label, formula, false).what && !agree(formula, a.contents)) {
        if (materials.opened == 1) {
            stopat(materials.file, "the name \"%s\" is also a formula, with another composition",
                   cstring(a.label).ch);
        }
        a.contents = formula;  // the user's own molar weights, of enriched material
    }
    takedensity(materials, a);
    return true;
}

// Formulas that are typed.

bool isletter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// Writes a run of letters with the capitals that make it symbols, two-letter ones first: "fe" as
// "Fe". False if that cannot be.
bool capitalise(char* letters, std::size_t n)
{
    if (n == 0) return true;
    const char first = static_cast<char>(letters[0] & ~32);
    for (const std::size_t length : {std::size_t{2}, std::size_t{1}}) {
        if (length > n) continue;
        const char symbol[] = {first, length == 2 ? static_cast<char>(letters[1] | 32) : ' '};
        if (findsymbol(elements().symbols(), text<2>(std::string_view(symbol, length))) == 0)
            continue;
        if (!capitalise(letters + length, n - length)) continue;
        std::memcpy(letters, symbol, length);
        return true;
    }
    return false;
}

// The formula that may be meant by one in other capitals, such as "fe2o3"; blank if there is none.
text<80> recapitalised(std::string_view formula)
{
    text<80> better(formula.substr(0, 80));
    compound ignored;
    for (int i = 1; i <= 80; ++i) {
        int n = 0;
        while (i + n <= 80 && isletter(better(i + n))) ++n;
        // One capital and one small letter are meant as a symbol: Pu is not PU.
        const bool symbol = n == 2 && better(i) <= 'Z' && better(i + 1) >= 'a';
        if (symbol && findsymbol(elements().symbols(), text<2>(better(i, i + 1))) == 0) return {};
        if (n > 12 || !capitalise(&better(i), static_cast<std::size_t>(n))) return {};
        i += n;
    }
    return formula.size() > 80 || readcomposition(better.trimmed(), ignored, false).what
               ? text<80>()
               : better;
}

// What may be meant by a word that is neither a material nor a formula; blank if nothing is found.
text<80> suggestion(std::string_view word)
{
    catalogue materials(materialtable), lines(linetable);
    for (catalogue* const c : {&materials, &lines}) {
        const std::string_view name = c->similar(word);
        if (!name.empty()) return text<80>(name);
    }
    for (int k = 1; k <= elements().n; ++k) {
        if (alike(elements().ename(k).trimmed(), word)) return text<80>(symbolof(k).trimmed());
    }
    return recapitalised(word);
}

// Looks for a material that is called almost like a formula. Capitals decide: PVC would be
// phosphorus, vanadium and carbon. Where it is the same, as Fe_2O_3 and Fe2O3, its density counts.
void comparematerials(std::string_view typed, absorber& a)
{
    catalogue materials(materialtable);
    const text<80> name(materials.similar(a.label));
    if (name.blank()) return;
    compound meant;
    if (readcomposition(name.trimmed(), meant, false).what || !agree(meant, a.contents)) {
        const std::size_t symbol = without(a.label, 1).empty() || a.label[1] < 'a' ? 1 : 2;
        refuse(typed, "write %s for the material, %s1%s for the formula",
               cstring(name.trimmed()).ch, cstring(a.label.substr(0, symbol)).ch,
               cstring(without(a.label, symbol)).ch);
    }
    takedensity(materials, a);
}

void takeformula(std::string_view typed, absorber& a)
{
    const formulafault fault = readcomposition(a.label, a.contents, true);
    if (fault.what) {
        const text<80> better = suggestion(a.label);
        if (fault.position == 1 && better.blank()) {
            refuse(typed,
                   "expected a formula such as Fe2O3 (hydrogen to uranium), a name (--list) or an "
                   "energy");
        }
        refuse(typed, "position %d: %s%s%s%s", fault.position, fault.what,
               better.blank() ? "" : "; did you mean ", cstring(better.trimmed()).ch,
               better.blank() ? "" : "?");
    }
    a.only = findsymbol(elements().symbols(), text<2>(a.label.substr(0, 2)));
    if (a.label.size() > 2) a.only = 0;
    if (a.only == 0) comparematerials(typed, a);
}

// The units of thickness, and what they are in cm or g/cm2.
struct unit {
    std::string_view name;
    bool areal;
    double size;
};
constexpr unit units[] = {
    {"nm", false, 1e-7},         {"um", false, 1e-4},    {"\u00B5m", false, 1e-4},
    {"\u03BCm", false, 1e-4},    {"mm", false, 0.1},     {"cm", false, 1.0},
    {"m", false, 100.0},         {"ug/cm2", true, 1e-6}, {"\u00B5g/cm2", true, 1e-6},
    {"\u03BCg/cm2", true, 1e-6}, {"mg/cm2", true, 1e-3}, {"g/cm2", true, 1.0}};

void takethickness(std::string_view typed, absorber& a)
{
    std::string_view rest = a.thickness;
    const double number = takenumber(rest);
    for (const unit& u : units) {
        if (rest != u.name || !(number >= 0.0)) continue;
        if (!u.areal) needdensity(a);
        a.areal = number * u.size * (u.areal ? 1.0 : a.density);
        if (std::isfinite(a.areal)) return;
    }
    refuse(typed,
           "expected a thickness after \"=\": a number and nm, um, mm, cm, m, ug/cm2, mg/cm2 "
           "or g/cm2");
}

// mu/rho of an element. The search in 32 bits can put an energy that is very close to a row on its
// wrong side. At an edge, and at the first usable row, the row's own value is used then. An edge's
// own energy, when typed, goes to the side where the search puts it, as in the dialogue.
float elementattenuation(const tablerows& rows, const photon& p)
{
    const auto keV = static_cast<float>(p.keV);
    const auto at = [&rows](int k) { return static_cast<float>(rows.yi(k)); };
    for (int i = 1; i < rows.n; ++i) {
        const bool edge = rows.xi(i) == rows.xi(i + 1);
        if (!edge && i != 2) continue;
        if (edge && p.edge == rows.xi(i)) return at(p.above ? i + 1 : i);
        const bool below = double{inmev(keV)} < rows.xi(i);
        const double off = p.keV / (1000.0 * rows.xi(i)) - 1.0;
        const bool same = std::fabs(off) < 1e-12;  // the row's own energy: 64 bits round, too
        if (edge && !same && below != (off < 0.0)) return at(below ? i + 1 : i);
        if (i == 2 && below && (same || off > 0.0)) return at(i);
    }
    return coefficient(rows, keV);
}

}  // namespace

void readabsorber(std::string_view typed, absorber& a)
{
    const std::size_t equals = std::min(typed.rfind('='), typed.size());
    a.label = typed.substr(0, equals);
    a.thickness = without(typed, equals + 1);
    a.typed = a.label;
    const std::size_t at = std::min(a.label.rfind('@'), a.label.size());
    const std::string_view density = without(a.label, at + 1);
    const bool set = at < a.label.size();
    a.label = a.label.substr(0, at);
    if (a.label.empty()) refuse(typed, "expected an absorber: a formula, or a name (--list)");
    if (!findmaterial(a)) takeformula(typed, a);
    if (set) a.density = positive(density);
    if (std::isnan(a.density)) refuse(typed, "expected a density in g/cm3 after \"@\"");
    if (set) a.only = 0;
    if (equals < typed.size()) takethickness(typed, a);
}

bool finddensity(absorber& a)
{
    if (a.density > 0.0 || a.only == 0) return a.density > 0.0;
    modifications found;
    readmodifications(findblock(elements().ename(a.only)), found);
    a.density = double{found.density(1)};
    a.form = text<72>(found.line(1)(9, 38));
    return a.density > 0.0;
}

void needdensity(absorber& a)
{
    if (finddensity(a)) return;
    refuse(a.label, "density unknown; add it in g/cm3, as in %s@2.5", cstring(a.label).ch);
}

double massattenuation(const absorber& a, const photon& p)
{
    dim<float, 1, uranium> values;
    for (int k = 1; k <= a.contents.n; ++k) {
        values(k) = elementattenuation(rowsof(a.contents.element(k)), p);
    }
    const double mu = double{mixture(a.contents, values)};
    if (!std::isfinite(mu)) stop("%s: no finite mass", cstring(a.label).ch);
    return mu;
}

const tablerows& rowsof(std::int32_t element)
{
    static dim<tablerows, 1, uranium> blocks;
    tablerows& rows = blocks(element);
    if (rows.n == 0) {
        findblock(elements().ename(element));
        readblock(rows);
    }
    return rows;
}

const text<2>& symbolof(std::int32_t element) { return elements().es(element); }
