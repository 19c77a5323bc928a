// SPDX-License-Identifier: GPL-3.0-or-later
#include "calc/tables.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "base/channel.h"
#include "prompt/combuff.h"

infile coefficients;

// Numbers in columns.

namespace {

// Reads digits, with a sign or none in front and at most `points` points among them, as one whole
// number: a point changes nothing. False for anything else.
bool readdigits(std::string_view word, int points, double& number)
{
    const bool negative = word.starts_with('-');
    if (negative || word.starts_with('+')) word.remove_prefix(1);
    number = 0.0;
    for (const char c : word) {
        if (isdecimal(c)) number = 10.0 * number + (c - '0');
        else if (c != '.' || --points < 0) return false;
    }
    if (negative) number = -number;
    return !word.empty() && word != ".";
}

// Reads a number in a field of at most 11 columns: blanks around it do not matter, a blank field is
// 0, a point left out belongs before the last `decimals` digits, the exponent has the letter E or
// D. False for anything else. Rounded only once: digits and powers of ten up to 10^22 are exact.
bool readfield(std::string_view field, int decimals, double& value)
{
    field = stripped(field);
    value = 0.0;
    if (field.empty()) return true;
    const auto isletter = [](char c) { return c == 'E' || c == 'D' || c == 'e' || c == 'd'; };
    const auto letter = static_cast<std::size_t>(
        std::find_if(field.begin(), field.end(), isletter) - field.begin());
    const std::string_view mantissa = field.substr(0, letter);
    double exponent = 0.0;
    if (!readdigits(mantissa, 1, value)) return false;
    if (letter < field.size() && !readdigits(without(field, letter + 1), 0, exponent)) return false;

    const std::size_t point = mantissa.find('.');
    if (point < letter) decimals = static_cast<int>(letter - point) - 1;
    const int power = static_cast<int>(std::clamp(exponent, -999.0, 999.0)) - decimals;
    double ten = 1.0;
    for (int i = std::abs(power); i > 0; --i) ten *= 10.0;
    value = power < 0 ? value / ten : value * ten;
    return std::isfinite(value);
}

// The word around the first digit in columns i to j of a line: up to a blank, a tab or the
// character `end` on both sides, even beyond the columns. Empty if there is no digit.
std::string_view wordaround(std::string_view line, int i, int j, char end)
{
    const auto last = static_cast<std::size_t>(j);
    const auto ends = [end](char c) { return c == ' ' || c == '\t' || c == end; };
    std::size_t from = static_cast<std::size_t>(i - 1);
    while (from < last && !isdecimal(line[from])) ++from;
    if (from == last) return {};
    std::size_t to = from;
    while (from > 0 && !ends(line[from - 1])) --from;
    while (to < line.size() && !ends(line[to])) ++to;
    return without(line.substr(0, to), from);
}

// The first number in columns i to j of a line, of which `trlch` reads n_ch; 0 if there is no
// digit. NaN where the text says another number than the one read: "7,874" would be 7, and
// columns may cut a number. What follows in brackets, as in "55.845(2)", does not matter.
template <int n>
float firstnumber(const text<n>& line, int i, int j, int n_ch)
{
    const std::string_view word = wordaround(line.all(), i, j, '(');
    if (word.empty()) return 0.0f;
    dim<float, 1, 32> out, alone;
    std::int32_t count = 0;
    trlch(n_ch, text<132>(line(i, j)), count, out);
    trlch(static_cast<int>(word.size()) + 1, text<132>(word), count, alone);
    return count == 1 && alone(1) == out(1) && out(1) >= 0.0f ? out(1) : NAN;
}

// The integer in the eight columns from i on, as `c8toi` reads it.
template <int n>
std::int32_t readinteger(const text<n>& line, int i)
{
    text<8> ch(line(i, i + 7));
    std::int32_t number = 0;
    c8toi(ch, number);
    return number;
}

// True if the eight columns from i on say `number`: digits, set off by blanks, that the columns do
// not cut.
template <int n>
bool saysinteger(const text<n>& line, int i, std::int32_t number)
{
    double said = 0.0;
    const auto isdigit = [&line](int k) { return k > 0 && (isdecimal(line(k)) || line(k) == '.'); };
    const bool cut =
        (isdigit(i - 1) && isdecimal(line(i))) || (isdecimal(line(i + 7)) && isdigit(i + 8));
    return readdigits(wordaround(line(i, i + 7), 1, 8, ' '), 0, said) && said == number && !cut;
}

// The coefficients.

cstring blockname{""};  // the element whose block `coefficients` is in, for messages

void nextline(text<80>& line)
{
    if (coefficients.next(line)) return;
    stop("%s: the file ends within the block of %s", coefficients.name, blockname.ch);
}

// Ends the program over the line read last if it is wrong; `format` shows the name of the element.
void refuseif(bool wrong, const char* format)
{
    if (wrong) stopat(coefficients, format, blockname.ch);
}

// Energy, mu/rho and mu_en/rho; the last must be readable, but is not used. False for a blank line,
// too, which would read as zeros.
bool readrow(const text<80>& line, double& x, double& y)
{
    double z = 0.0;
    return readfield(line(4, 14), 5, x) && readfield(line(17, 25), 3, y) &&
           readfield(line(28, 36), 3, z) && !(y == 0.0 && line.blank());
}

// True if the energy begins before its columns: digits or a point in column 3 that no letter makes
// a label such as L1.
bool startsbefore(const text<80>& line)
{
    const std::string_view label = without(line(1, 3), line(1, 3).rfind(' ') + 1);
    const bool digits = label.find_first_not_of("0123456789.+-") == std::string_view::npos;
    return line(4) != ' ' && !label.empty() && digits;
}

// Row i, just read. Its energy must be above the one before, or the same at an edge, where mu/rho
// jumps up; a number outside its columns would be read as another one.
void checkrow(const tablerows& t, int i, const text<80>& line)
{
    const double before = i > 1 ? t.xi(i - 1) : 0.0;
    const bool pair = i > 1 && t.xi(i) == before && !(i > 2 && t.xi(i - 2) == before);
    bool outside = startsbefore(line);
    for (const int column : {15, 16, 26, 27}) outside = outside || isdecimal(line(column));
    refuseif(outside, "a row of %s has numbers outside their columns");
    refuseif(t.yi(i) <= 0.0, "mu/rho of %s is not above 0");
    refuseif(t.xi(i) <= before && !pair, "the energies of %s do not ascend");
    refuseif(pair && t.yi(i) <= t.yi(i - 1), "mu/rho of %s does not rise at this edge");
    refuseif(line(37, 80) != blanks(44), "text after column 36 of a row of %s");
}

// A blank line ends the rows. Rows after it would be lost, and nobody would see it. Any other line
// has failed as a row already.
void checkblank(text<80>& line)
{
    double x = 0.0, y = 0.0;
    while (line.blank() && coefficients.next(line)) {
    }
    refuseif(readrow(line, x, y), "a row of %s after a blank line");
}

}  // namespace

std::int32_t findblock(const text<12>& name)
{
    coefficients.opentable(coefficienttable);
    blockname = cstring(name.trimmed());
    if (!coefficients.nextwith(name.trimmed())) {
        stop("%s: no block for the element \"%s\"", coefficients.name, blockname.ch);
    }
    text<80> line;
    nextline(line);
    const std::int32_t nz = readinteger(line, 4);
    refuseif(nz < 1 || !saysinteger(line, 4, nz),
             "the atomic number of %s is missing or malformed");
    return nz;
}

void readblock(tablerows& rows)
{
    rows.name = blockname;
    text<80> line;
    for (int i = 1; i <= 6; ++i) nextline(line);
    for (int i = 1; i <= 64; ++i) {
        nextline(line);
        if (!readrow(line, rows.xi(i), rows.yi(i))) {
            rows.ending = coefficients.lineno();
            return checkblank(line);
        }
        checkrow(rows, i, line);
        rows.edge(i) = text<2>(line(1, 2));
        rows.n = i;
    }
}

namespace {

[[noreturn]] void stopoutside(const tablerows& t, float energy)
{
    char ending[64] = "";
    if (t.n < 64) {  // a faulty row ends them, too: the line tells where to look
        std::snprintf(ending, sizeof ending, "; its rows end at line %ld", t.ending);
    }
    if (t.n < 4) stop("%s: too few rows for %s%s", coefficients.name, t.name.ch, ending);
    stop("%s: %.7g keV is outside the usable energies of %s, %.7g keV to below %.7g keV%s",
         coefficients.name, double{energy}, t.name.ch, 1000.0 * t.xi(2), 1000.0 * t.xi(t.n - 1),
         ending);
}

// mu/rho at `x` in MeV between the rows i and i + 1, through the rows around it.
float interpolated(const tablerows& t, int i, double x, float energy)
{
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

// Through all three points, by the inverse of the matrix with the rows (x^2, x, 1). The matrix and
// its determinant are held in 32 bits, each computed in 64 and rounded once; everything else is
// 64-bit.
double threepoints(const dim<double, 1, 4>& xs, const dim<double, 1, 4>& ys, double us)
{
    dim<double, 1, 3> p, q;  // the columns x^2 and x
    for (int k = 1; k <= 3; ++k) {
        p(k) = static_cast<float>(xs(k) * xs(k));
        q(k) = static_cast<float>(xs(k));
    }
    const double det = static_cast<float>(p(1) * (q(2) - q(3)) + q(1) * (p(3) - p(2)) +
                                          (p(2) * q(3) - q(2) * p(3)));
    double c2 = 0.0, c1 = 0.0, c0 = 0.0;
    for (int k = 1; k <= 3; ++k) {  // with the cofactors of row k
        const int l = k % 3 + 1, m = l % 3 + 1;
        c2 += (q(l) - q(m)) / det * ys(k);
        c1 += (p(m) - p(l)) / det * ys(k);
        c0 += (p(l) * q(m) - q(l) * p(m)) / det * ys(k);
    }
    const double u = 1000.0 * us;
    return c2 * (u * u) + c1 * u + c0;
}

}  // namespace

float coefficient(const tablerows& rows, float energy)
{
    const double x = inmev(energy);
    const double* const above = std::upper_bound(rows.xi.item, rows.xi.item + rows.n, x);
    const int i = static_cast<int>(above - rows.xi.item);  // the last row at or below it
    if (i < 1 || i >= rows.n) stopoutside(rows, energy);
    const float atc =
        rows.xi(i) == x ? static_cast<float>(rows.yi(i)) : interpolated(rows, i, x, energy);
    if (std::isfinite(atc)) return atc;
    stop("%s: the rows of %s around %.7g keV give no finite coefficient", coefficients.name,
         rows.name.ch, double{energy});
}

void parabel(std::int32_t ns, dim<double, 1, 4>& xs, const dim<double, 1, 4>& ys, double us,
             float& att)
{
    for (int k = 1; k <= 4; ++k) xs(k) *= 1000.0;
    if (ns == 4) att = static_cast<float>(fourpoints(xs, ys, us));
    if (ns == 3) att = static_cast<float>(threepoints(xs, ys, us));
}

void compound::add(std::int32_t number, float grams)
{
    element(++n) = number;
    mass(n) = grams;
}

float mixture(const compound& c, const dim<float, 1, uranium>& a)
{
    float mass = 0.0f, sum = 0.0f;
    for (int i = 1; i <= c.n; ++i) {
        mass += c.mass(i);
        sum += c.mass(i) * a(i);
    }
    return sum / mass;
}

// The elements.

int findsymbol(std::span<const text<2>> symbols, const text<2>& symbol)
{
    const auto found = std::find(symbols.begin(), symbols.end(), symbol);
    return found == symbols.end() ? 0 : static_cast<int>(found - symbols.begin()) + 1;
}

int readelements(std::span<text<2>> es, std::span<text<12>> ename, std::span<float> emolweight)
{
    infile file;
    file.opentable(elementtable);
    text<80> line;
    std::size_t i = 0;
    for (; i < es.size() && file.next(line); ++i) {
        es[i] = text<2>(line(9, 10));
        ename[i] = text<12>(line(17, 28));
        emolweight[i] = firstnumber(line, 30, 49, 20);
        if (!(emolweight[i] > 0.0f && std::isfinite(emolweight[i])) || line(9) == ' ' ||
            line(17) == ' ') {
            stopat(file, "symbol, name or molar weight missing or malformed");
        }
        const int first = findsymbol(es.first(i), es[i]);
        if (first > 0)
            stopat(file, "the symbol %s is that of line %d", cstring(es[i].trimmed()).ch, first);
    }
    const int count = static_cast<int>(i);
    if (count < lead) stop("%s: ends after %d of %d lines", file.name, count, lead);
    return count;
}

// The densities.

void readmodifications(std::int32_t nz, modifications& found)
{
    infile& densities = found.table;
    densities.opentable(densitytable);
    text<81> line;
    while (densities.next(line)) {
        if (readinteger(line, 1) != nz) {  // headings have no number
            if (found.n > 0) return;
            ++found.before;
            continue;
        }
        if (!saysinteger(line, 1, nz)) {
            stopat(densities, "\"%s\" is not an atomic number",
                   cstring(wordaround(line.all(), 1, 8, ' ')).ch);
        }
        if (found.n == 64) stopat(densities, "more than 64 lines for atomic number %d", nz);
        found.line(++found.n) = line;
    }
    if (found.n == 0) stop("%s: no line for atomic number %d", densities.name, nz);
}

float modifications::density(int k) const
{
    const float found = firstnumber(line(k), 39, 80, 60);
    if (std::isfinite(found)) return found;
    stop("%s: line %ld: the density is not a plain number such as 7.874", table.name, before + k);
}
