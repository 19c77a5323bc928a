// SPDX-License-Identifier: GPL-3.0-or-later
#include "calc/attenuation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/printable.h"
#include "help/comhelp.h"
#include "prompt/combuff.h"
#include "terminal/key.h"

namespace {

constexpr const char* coefficienttable = "attenuation.coefficients";
constexpr const char* elementtable = "elements.dat";
constexpr const char* densitytable = "dichte.dat";

constexpr std::int32_t nrd = 5;  // input channel handed to every prompt
constexpr std::int32_t nwr = 6;  // output channel, for every prompt and all printing

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

char blockname[13];  // the element whose block `coefficients` stands in, for messages

}  // namespace

infile coefficients;

// The attenuation table.

void findblock(const text<12>& name, int length)
{
    coefficients.opentable(coefficienttable);
    name(1, length).copy(blockname, sizeof blockname - 1);
    blockname[length] = '\0';
    if (coefficients.nextwith(name(1, length))) return;
    stop("%s: no block for the element \"%s\"", coefficienttable, blockname);
}

namespace {

// The rows of one element's block.
struct tablerows {
    int n = 0;              // 64, or fewer where a line that is no row ended them
    dim<double, 1, 64> xi;  // energy, MeV
    dim<double, 1, 64> yi;  // mu/rho, cm2/g
};

// The text between the blanks on both sides.
std::string_view trimmed(std::string_view field)
{
    while (field.starts_with(' ')) field.remove_prefix(1);
    while (field.ends_with(' ')) field.remove_suffix(1);
    return field;
}

// True for a field that holds one whole number, with a blank behind it, as `c8toi` needs.
bool iswhole(std::string_view field)
{
    const std::string_view number = trimmed(field);
    return field.ends_with(' ') && !number.empty() &&
           std::all_of(number.begin(), number.end(), isdecimal);
}

// The first number in columns i to j of a line, of which `trlch` reads n_ch, and the count of
// numbers there. 0 if there is no digit; not finite unless it stands plainly, digits with at most a
// point between blanks and no minus before them: what is damaged would read as another number.
float plainnumber(const text<80>& line, int i, int j, int n_ch, std::int32_t& count)
{
    dim<float, 1, 32> out;
    trlch(n_ch, text<132>(line(i, j)), count, out);
    const std::string_view columns = line(i - 1, j);
    std::size_t k = 1;
    while (k < columns.size() && !isdecimal(columns[k]) && columns[k] != '.') ++k;
    while (k > 0 && columns[k - 1] != ' ') --k;
    int digits = 0, points = k == 0 ? 2 : 0;  // it begins before the columns
    for (; k < columns.size() && columns[k] != ' '; ++k) {
        if (isdecimal(columns[k])) ++digits;
        else points += columns[k] == '.' ? 1 : 2;
    }
    if (digits > 0 && points < 2 && out(1) >= 0.0f) return out(1);
    return std::any_of(columns.begin() + 1, columns.end(), isdecimal) ? NAN : 0.0f;
}

// The powers of ten that 64-bit floats hold exactly.
constexpr double tens[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                           1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// digits x 10^exponent, rounded once. Up to 10^22 both factors are exact, so that one
// multiplication or division does it: a compound of twelve heavy elements takes a third of the
// instructions that the C library's reader alone would need.
double scaled(std::int64_t digits, int exponent)
{
    const auto value = static_cast<double>(digits);
    if (exponent >= 0 && exponent <= 22) return value * tens[exponent];
    if (exponent < 0 && exponent >= -22) return value / tens[-exponent];
    char number[48];
    std::snprintf(number, sizeof number, "%llde%d", static_cast<long long>(digits), exponent);
    return std::strtod(number, nullptr);
}

// Takes a sign from the front, if there is one. True for a minus.
bool takesign(const char*& p, const char* end)
{
    return p < end && (*p == '-' || *p == '+') && *p++ == '-';
}

// Reads a number that stands in a field of at most 11 columns: blanks around it do not matter, a
// blank field is 0, a point left out stands before the last `decimals` digits, the exponent has the
// letter E or D. False for anything else.
bool readfield(std::string_view field, int decimals, double& value)
{
    field = trimmed(field);
    const char *p = field.data(), *const end = p + field.size();
    value = 0.0;
    if (p == end) return true;

    const bool minus = takesign(p, end);
    const char *const first = p, *point = nullptr;
    std::int64_t digits = 0;
    for (; p < end && (isdecimal(*p) || (*p == '.' && point == nullptr)); ++p) {
        if (*p == '.') point = p;
        else digits = 10 * digits + (*p - '0');
    }
    if (p - first == (point ? 1 : 0)) return false;
    if (point) decimals = static_cast<int>(p - point - 1);

    int exponent = 0;
    if (p < end && (*p == 'E' || *p == 'e' || *p == 'D' || *p == 'd')) {
        const bool down = takesign(++p, end);
        if (p == end) return false;
        for (; p < end && isdecimal(*p) && exponent <= 999; ++p) {
            exponent = 10 * exponent + (*p - '0');
        }
        if (down) exponent = -exponent;
    }
    if (p < end) return false;
    value = scaled(minus ? -digits : digits, exponent - decimals);
    return std::isfinite(value);
}

// Energy, mu/rho and mu_en/rho; the last must be readable, but is not used.
bool readrow(const text<80>& line, double& x, double& y)
{
    double z = 0.0;
    return readfield(line(4, 14), 5, x) && readfield(line(17, 25), 3, y) &&
           readfield(line(28, 36), 3, z);
}

// Ends the program over the line of the table read last; the element stands between the two parts.
[[noreturn]] void stopatline(const char* before, const char* after)
{
    stop("%s: line %ld: %s %s%s", coefficienttable, coefficients.lineno(), before, blockname,
         after);
}

// Row i, just read. Its energy must be above the one before, or the same at an edge, where mu/rho
// jumps up; what does not look like a whole row of its own would be read as other numbers.
void checkrow(const tablerows& t, int i, const text<80>& line)
{
    const double before = i > 1 ? t.xi(i - 1) : 0.0;
    const bool edge =
        i > 1 && t.xi(i) == before && t.yi(i) > t.yi(i - 1) && !(i > 2 && t.xi(i - 2) == before);
    if (!(t.yi(i) > 0.0)) stopatline("mu/rho of", " is not above 0");
    if (!(t.xi(i) > before) && !edge) stopatline("the energies of", " do not ascend");
    const int length = line.length();
    if (length > 36) stopatline("text behind column 36 of a row of", "");
    const bool shifted = isdecimal(line(15)) || isdecimal(line(16)) || isdecimal(line(26)) ||
                         isdecimal(line(27)) || length < 28;
    if (shifted) stopatline("the numbers do not stand in the columns of a row of", "");
}

template <int n>
void nextline(text<n>& line)
{
    if (coefficients.next(line)) return;
    stop("%s: the file ends within the block of %s", coefficienttable, blockname);
}

// Reads the block from its heading lines on, up to the first line that is no row.
void readrows(tablerows& t)
{
    text<80> line;
    for (int i = 1; i <= 6; ++i) nextline(line);
    while (t.n < 64) {
        nextline(line);
        const int i = t.n + 1;
        if (!readrow(line, t.xi(i), t.yi(i))) return;
        checkrow(t, i, line);
        t.n = i;
    }
}

[[noreturn]] void stopoutside(const tablerows& t, float energy)
{
    char ending[64] = "";
    if (t.n < 64) {  // a faulty row ends them, too: the line tells where to look
        std::snprintf(ending, sizeof ending, "; its rows end at line %ld", coefficients.lineno());
    }
    if (t.n < 4) stop("%s: too few rows for %s%s", coefficienttable, blockname, ending);
    stop("%s: %.7g keV is outside the usable energies of %s, %.7g keV to below %.7g keV%s",
         coefficienttable, double{energy}, blockname, 1000.0 * t.xi(2), 1000.0 * t.xi(t.n - 1),
         ending);
}

// Last row at or below the energy `x` in MeV; 0 if there is none.
int bracket(const tablerows& t, double x)
{
    int i = 1;
    while (i <= t.n && x >= t.xi(i)) ++i;
    return i - 1;
}

// mu/rho at `x` in MeV behind row i: that of the row itself, or through the rows around it.
float interpolated(const tablerows& t, int i, double x, float energy)
{
    if (t.xi(i) == x) return static_cast<float>(t.yi(i));
    const bool edgeabove = i + 2 <= t.n && t.xi(i + 1) == t.xi(i + 2);
    const bool edgebelow = i > 1 && t.xi(i - 1) == t.xi(i);
    const std::int32_t ns = edgeabove || edgebelow ? 3 : 4;
    const int first = edgebelow && !edgeabove ? i : i - 1;
    if (first < 1 || first + ns - 1 > t.n) stopoutside(t, energy);

    dim<double, 1, 4> xs, ys;
    for (int k = 1; k <= ns; ++k) {
        xs(k) = t.xi(first + k - 1);
        ys(k) = t.yi(first + k - 1);
    }
    float atc = 0.0f;
    parabel(ns, xs, ys, x, atc);
    return atc;
}

}  // namespace

void attenuation(float energy, float& atc)
{
    tablerows t;
    readrows(t);
    // A single-precision product on purpose: its last bit decides on which side of an edge, and
    // whether on or beside a row, a tabulated energy lands.
    const float energymev = 0.001f * energy;
    const int i = bracket(t, energymev);
    if (i < 1 || i >= t.n) stopoutside(t, energy);
    atc = interpolated(t, i, energymev, energy);
    if (!std::isfinite(atc)) {
        stop("%s: the rows of %s around %.7g keV give no finite coefficient", coefficienttable,
             blockname, double{energy});
    }
}

namespace {

// Through points 2 and 3, curvature fitted to 1 and 4. Of the two weights h13 alone is held in 32
// bits: it decides last digits, and must stay so.
double fourpoints(const dim<double, 1, 4>& xs, const dim<double, 1, 4>& ys, double us)
{
    const double u = 1000.0 * us - xs(2);
    const double x1 = xs(1) - xs(2), x3 = xs(3) - xs(2), x4 = xs(4) - xs(2);
    const double f1 = ys(1) - ys(2), f3 = ys(3) - ys(2), f4 = ys(4) - ys(2);
    const double h13 = static_cast<float>((x1 - x3) * x1);
    const double h43 = (x4 - x3) * x4;
    const double a =
        (h13 * f1 + h43 * f4 - (h43 * x4 + h13 * x1) * f3 / x3) / (h13 * h13 + h43 * h43);
    const double b = f3 / x3 - a * x3;
    return b * u + a * (u * u) + ys(2);
}

// Through all three points. The matrix and its determinant are held in 32 bits, each computed in 64
// and rounded once; everything else is 64-bit.
double threepoints(const dim<double, 1, 4>& xs, const dim<double, 1, 4>& ys, double us)
{
    const auto m = [&xs](int row, int column) {  // both numbered round and round
        const double x = xs((row - 1) % 3 + 1);
        const int power = 2 - (column - 1) % 3;
        return double{static_cast<float>(power == 2 ? x * x : power == 1 ? x : 1.0)};
    };
    const auto cofactor = [&m](int i, int j) {
        return m(i + 1, j + 1) * m(i + 2, j + 2) - m(i + 1, j + 2) * m(i + 2, j + 1);
    };
    const float det = static_cast<float>(m(1, 1) * cofactor(1, 1) + m(1, 2) * cofactor(1, 2) +
                                         m(1, 3) * cofactor(1, 3));
    dim<double, 1, 3> c;
    for (int j = 1; j <= 3; ++j) {
        for (int k = 1; k <= 3; ++k) c(j) += cofactor(k, j) / double{det} * ys(k);
    }
    const double u = 1000.0 * us;
    return c(1) * (u * u) + c(2) * u + c(3);
}

}  // namespace

void parabel(std::int32_t ns, dim<double, 1, 4>& xs, const dim<double, 1, 4>& ys, double us,
             float& att)
{
    for (int k = 1; k <= 4; ++k) xs(k) *= 1000.0;
    if (ns == 4) att = static_cast<float>(fourpoints(xs, ys, us));
    if (ns == 3) att = static_cast<float>(threepoints(xs, ys, us));
}

// Formulas and compounds.

namespace {

// The part of a formula not yet read.
struct formularest {
    const text<132>& formula;
    int position = 1;  // of its first character in the formula

    text<132> working() const { return text<132>(formula(position, 132)); }
    void drop(int count) { position = std::min(position + count, 133); }
    [[noreturn]] void fault(const char* what, const char* hint = "") const
    {
        const text<132> w = working();
        stop("formula \"%.*s\": \"%.*s\" at position %d: %s%s", formula.length(), formula.ch,
             std::min(w.length(), 8), w.ch, position, what, hint);
    }
};

// Reads the group at the front: a symbol and a count.
void readgroup(formularest& rest, text<2>& symbol, std::int32_t& n)
{
    const text<132> w = rest.working();
    const bool oneletter = w(2) == '_';
    symbol = oneletter ? text<2>(w(1, 1)) : text<2>(w(1, 2));
    const char d1 = oneletter ? w(3) : w(4);
    // Behind a two-letter symbol column 5 is read twice, not columns 5 and 6: a second digit is
    // doubled and the parser moves on one column too far. Part of the formula's rules, and kept.
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

// Number of the element with this symbol, 0 if there is none. Of two the program cannot know which
// is meant.
int findsymbol(const dim<text<2>, 1, 82>& es, const text<2>& symbol)
{
    int found = 0;
    for (int i = 1; i <= 82; ++i) {
        if (es(i) != symbol) continue;
        if (found > 0) {
            stop("%s: line %d: the symbol %.*s stands in line %d too", elementtable, i,
                 symbol.length(), symbol.ch, found);
        }
        found = i;
    }
    return found;
}

// True if a formula in capitals could mean other elements than it says, as SIO2 does.
bool ambiguous(std::string_view formula, const dim<text<2>, 1, 82>& es)
{
    const auto small = [](char c) { return c >= 'a' && c <= 'z'; };
    const auto capital = [](char c) { return c >= 'A' && c <= 'Z'; };
    if (std::any_of(formula.begin(), formula.end(), small)) return false;
    for (std::size_t i = 1; i < formula.size(); ++i) {
        if (!capital(formula[i - 1]) || !capital(formula[i])) continue;
        const char symbol[] = {formula[i - 1], static_cast<char>(formula[i] + 32)};
        if (findsymbol(es, text<2>(std::string_view(symbol, 2))) > 0) return true;
    }
    return false;
}

struct offer {
    char ch[132] = "";
};

// The words that offer how to write a formula such as "H2O" or "Fe_12O_19" here. Empty where it has
// more to it than known symbols and counts, or its capitals leave a doubt.
offer putright(std::string_view formula, const dim<text<2>, 1, 82>& es)
{
    offer right;
    int length = 0, groups = 0;
    if (ambiguous(formula, es)) return right;
    for (formula = trimmed(formula); !formula.empty(); formula = trimmed(formula)) {
        const bool small = formula.size() > 1 && formula[1] >= 'a' && formula[1] <= 'z';
        const text<2> symbol(formula.substr(0, small ? 2 : 1));
        formula.remove_prefix(small ? 2 : 1);
        if (formula.starts_with('_')) formula.remove_prefix(1);
        int count = 0, digits = 0;
        for (; digits < 3 && !formula.empty() && isdecimal(formula[0]); ++digits) {
            count = 10 * count + (formula[0] - '0');
            formula.remove_prefix(1);
        }
        if (digits == 0) count = 1;
        if (findsymbol(es, symbol) == 0 || count == 0) return {};
        const int most = small ? 9 : 999;  // a two-letter symbol takes one digit
        for (; count > 0 && groups <= 12; count -= most, ++groups) {
            length += std::snprintf(
                right.ch + length, sizeof right.ch - static_cast<std::size_t>(length), "%s%.*s_%d",
                groups == 0 ? "; write " : "", symbol.length(), symbol.ch, std::min(count, most));
        }
    }
    return groups > 12 ? offer{} : right;  // more than a formula takes
}

}  // namespace

void contentformula(const text<132>& formula, const dim<text<2>, 1, 82>& es, std::int32_t& j,
                    dim<std::int32_t, 1, 12>& indx, dim<std::int32_t, 1, 12>& mult)
{
    formularest rest{formula};
    while (rest.position < 132 && formula(rest.position) == ' ') rest.drop(1);
    j = 0;
    do {
        const formularest group = rest;
        text<2> symbol;
        std::int32_t n = 0;
        readgroup(rest, symbol, n);
        const int index = findsymbol(es, symbol);
        if (index == 0 || n < 0) {
            group.fault("a group is a symbol from H to Pb, \"_\" and a count, no brackets",
                        putright(formula.all(), es).ch);
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

    float mass = 0.0f, sum = 0.0f;
    for (int i = 1; i <= j; ++i) {
        const text<12>& name = ename(indx(i));
        if (name.length() > 11) {  // the search reads 12 columns of a line, the first one unused
            stop("%s: the name \"%.12s\" is too long for the search in compounds", elementtable,
                 name.ch);
        }
        findblock(name, name.length());
        text<16> numberline;
        nextline(numberline);
        float a = 0.0f;
        attenuation(value, a);
        coefficients.close();
        const float part = static_cast<float>(mult(i)) * emolweight(indx(i));
        mass += part;
        sum += part * a;
    }
    atc = sum / mass;
    if (!std::isfinite(atc)) stop("the formula gives no finite molar mass");
}

// Densities.

namespace {

// The modifications of one element, as the file lists them.
struct modifications {
    int n = 0;
    dim<text<80>, 1, 64> line;
    dim<float, 1, 64> density;  // g/cm3
};

// True if a line is one of element `nz`. Headings have no such number.
bool isofelement(const infile& densities, const text<80>& line, std::int32_t nz)
{
    text<8> ch8(line(1, 8));
    std::int32_t mz = 0;
    c8toi(ch8, mz);
    if (mz == nz && !iswhole(line(1, 8))) {
        const std::string_view number = trimmed(line(1, 8));
        stop("%s: line %ld: \"%.*s\" is no atomic number", densitytable, densities.lineno(),
             static_cast<int>(number.size()), number.data());
    }
    return mz == nz;
}

void readmodifications(std::int32_t nz, modifications& found)
{
    infile densities;
    densities.opentable(densitytable);
    text<80> ch80;
    std::int32_t count = 0;
    do {
        if (!densities.next(ch80)) stop("%s: no line for atomic number %d", densitytable, nz);
    } while (!isofelement(densities, ch80, nz));
    do {
        if (found.n == 64) {
            stop("%s: line %ld: more than 64 lines for atomic number %d", densitytable,
                 densities.lineno(), nz);
        }
        found.line(++found.n) = ch80;
        found.density(found.n) = plainnumber(ch80, 39, 80, 60, count);  // 0 if there is none
        if (!std::isfinite(found.density(found.n))) {
            stop("%s: line %ld: the density is no plain number", densitytable, densities.lineno());
        }
    } while (densities.next(ch80) && isofelement(densities, ch80, nz));
}

}  // namespace

float elementdensity(std::int32_t nz)
{
    remeasure();
    modifications found;
    readmodifications(nz, found);
    std::int32_t lq = found.n, lk = found.n;
    for (int k = 1; k <= lq; ++k) {
        const text<80>& line = found.line(k);
        scrd.queryar(k) = text<132>(printable<160>(line(9, std::max(8, line.length()))).view());
        scrd.ext(k) = text<16>();
    }
    text<80> ch80(scrd.queryar(1)(1, 10));
    ch80(80) = '#';
    // Only these two: further entries keep the key of the menu before, as ever.
    scrd.helpar(1) = scrd.helpar(2) = "read/modification";
    text<132> cheader("density of the modifications");
    query(lq, lk, cheader, ch80);
    // From the line itself: the menu has cut its entries at the terminal width.
    return lq == 0 ? 0.0f : found.density(lq);
}

// The element list.

void readelements(elementlist& elements)
{
    infile file;
    file.opentable(elementtable);
    text<80> line;
    for (int i = 1; i <= 82; ++i) {
        if (!file.next(line)) stop("%s: ends after %d of 82 lines", elementtable, i - 1);
        elements.es(i) = text<2>(line(9, 10));
        elements.ename(i) = text<12>(line(17, 28));
        std::int32_t count = 0;
        const float weight = plainnumber(line, 30, 49, 20, count);
        elements.emolweight(i) = weight;
        if (count != 1 || !std::isfinite(weight) || weight == 0.0f || line(9) == ' ' ||
            line(17) == ' ') {
            stop("%s: line %d: no symbol, name and molar weight", elementtable, i);
        }
    }
}

// The dialogue.

namespace {

enum class route { element, symbol, compound, formula, twolines };  // how to mu/rho

struct absorber {
    std::string_view entry, help;  // text and help key in the menu
    route way;
    std::string_view name;  // of the block, for a given element
    float value;            // energy offered, keV
    std::string_view form;  // in which it is shown
    float density;          // g/cm3; the density table replaces it for elements
    std::int32_t j = 0;     // a given compound
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
    // Hydrogen 2, not the 4 of the dihydrate: the composition in use, kept.
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
    std::int32_t nz = 0;             // atomic number, 0 for a compound
    std::int32_t iread = 0;          // 1 once the density of an element has been read
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
            scrd.queryar(k) = absorbers[k - 1].entry;
            scrd.helpar(k) = absorbers[k - 1].help;
            scrd.ext(k) = text<16>();
        }
        text<80> ch80("Nickel");
        ch80(80) = '#';
        text<132> chin("select");
        query(lq, lk, chin, ch80);
    }
    return lq;
}

// A question for a number, at the terminal width.
void asknumber(std::string_view question, std::string_view form, float& value,
               std::string_view help)
{
    text<132> querytype(question), chcom(help);
    text<7> shown(form);
    askvalue(querytype, shown, value, chcom, term.ncol(1), nrd, nwr);
}

text<132> asktext(std::string_view question, std::string_view offered, std::string_view help)
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
    const text<132> chin = asktext("symbol for the element", "Cu", "read/element");
    const int i = findsymbol(elements.es, text<2>(chin.all()));
    if (i == 0) {
        stop("%s: no element from hydrogen to lead has the symbol \"%.2s\"", elementtable, chin.ch);
    }
    return elements.ename(i);
}

void elementpath(sample& s, const text<12>& name, const absorber& chosen)
{
    float energy = chosen.value;
    asknumber("Photon energy in keV", chosen.form, energy, "read/energy");
    findblock(name, name.length());
    text<16> element;
    nextline(element);
    text<8> number(element(4, 11));
    c8toi(number, s.nz);
    if (!iswhole(element(4, 11)) || s.nz < 1) stopatline("no atomic number of", "");
    s.iread = 1;
    s.density = elementdensity(s.nz);
    attenuation(energy, s.atc);
    printcoefficient(s, 7);
    coefficients.close();
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
        asktext("formula of the compound", "N_2H_8Fe_1S_2O_8H_12O_6", "read/compound");
    asknumber("density of the compound g/cm3", typed.form, s.density, "read/density");
    contentformula(chin, s.elements.es, typed.j, typed.indx, typed.mult);
}

void setupabsorber(sample& s, absorber chosen)
{
    s.density = chosen.density;
    switch (chosen.way) {
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
    scrd.queryar(1) = "thickness mg/cm2";
    scrd.helpar(1) = "read/mgcm2";
    scrd.queryar(2) = "thickness in mm";
    scrd.helpar(2) = "read/thickness";
    scrd.ext(1) = scrd.ext(2) = text<16>();
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
        asknumber("thickness mg/cm2", "f8.2", value, "read/mgcm2");
        s.thick = value / 1000.0f;
    }
    if (lqq == 2) {
        float value = 0.125f;
        asknumber("thickness in mm", "f8.4", value, "read/mgcm2");  // the key of the other unit
        // Never so as things are: the number and the density of an element are read together.
        if (s.nz >= 1 && s.nz <= 99 && s.iread == 0) s.density = elementdensity(s.nz);
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
