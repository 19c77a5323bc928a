// SPDX-License-Identifier: GPL-3.0-or-later
#include "murho/energies.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "murho/catalogue.h"
#include "murho/number.h"
#include "murho/refuse.h"

namespace {

constexpr int points = 300;      // of a range "FROM:TO"
constexpr double highest = 1e9;  // keV: far beyond any table, and finite in 32 bits

void add(energylist& list, const photon& p)
{
    if (list.n == list.most) refuse(list.typed, "more than %d energies", list.most);
    list.item(++list.n) = p;
}

// An energy to six digits, or to nine: as it is printed, so that it is also the one used.
double rounded(double keV, int digits)
{
    char number[32];
    std::snprintf(number, sizeof number, "%.*g", digits, keV);
    return std::strtod(number, nullptr);
}

// The energy of a line in keV, 0 if there is no line of this name.
double lineenergy(std::string_view name)
{
    catalogue lines(linetable);
    if (!lines.find(name)) return 0.0;
    const double keV = positive(lines.field(2));
    if (std::isnan(keV)) stopat(lines.file, "expected an energy in keV");
    return keV;
}

// One energy: a number or the name of a line.
double readenergy(std::string_view typed, std::string_view part)
{
    const double keV = positive(part);
    if (keV > 1.0 / highest && keV < highest) return keV;
    if (const double line = lineenergy(part); line > 0.0) return line;
    catalogue lines(linetable);
    const std::string_view name = lines.similar(part);
    const text<40> better(name);
    refuse(typed, "expected an energy in keV such as 14.4, or a line such as FeKa1%s%s%s",
           better.blank() ? "" : "; did you mean ", cstring(better.trimmed()).ch,
           better.blank() ? "" : "?");
}

// True if all elements of an absorber but those with an edge there can be used at its energy.
bool within(const absorber& a, double edge)
{
    for (int k = 1; k <= a.contents.n; ++k) {
        const tablerows& rows = rowsof(a.contents.element(k));
        const auto* const end = rows.xi.item + rows.n;
        const bool own = std::find(rows.xi.item, end, edge) != end;
        if (!own && (rows.n < 4 || edge < rows.xi(2) || edge >= rows.xi(rows.n - 1))) return false;
    }
    return true;
}

bool before(const photon& a, const photon& b)
{
    return a.keV != b.keV ? a.keV < b.keV : a.above < b.above;
}

void addrange(double from, double to, std::span<const absorber> absorbers, energylist& list)
{
    const int first = list.n;
    for (const absorber& a : absorbers) addedges(a, from, to, list);
    const int edges = list.n;
    const double step = std::log(to / from) / (points - 1);
    for (int i = 0; i < points; ++i) {
        const double exact = rounded(from * std::exp(i * step), step > 1e-4 ? 6 : 9);
        const double keV = i == 0 ? from : i == points - 1 ? to : std::clamp(exact, from, to);
        const auto same = [keV](const photon& p) { return p.keV == keV; };
        if (std::none_of(list.item.item + first, list.item.item + edges, same)) add(list, {keV});
    }
    photon* const begin = list.item.item + first;
    std::sort(begin, list.item.item + list.n, before);
    const auto same = [](const photon& p, const photon& q) {
        return !before(p, q) && !before(q, p);
    };
    list.n = static_cast<int>(std::unique(begin, list.item.item + list.n, same) - list.item.item);
}

}  // namespace

bool isenergy(std::string_view typed)
{
    if (!typed.empty() && (isdecimal(typed[0]) || typed[0] == '.')) return true;
    return lineenergy(typed.substr(0, typed.find(':'))) > 0.0;
}

void readenergies(std::string_view typed, std::span<const absorber> absorbers, energylist& list)
{
    list.typed = typed;
    const std::size_t one = std::min(typed.find(':'), typed.size());
    const double from = readenergy(typed, typed.substr(0, one));
    if (one == typed.size()) return add(list, {from});
    const std::string_view rest = without(typed, one + 1);
    const std::size_t two = std::min(rest.find(':'), rest.size());
    const double to = readenergy(typed, rest.substr(0, two));
    if (!(from < to)) refuse(typed, "expected a range FROM:TO with FROM below TO");
    if (two == rest.size()) return addrange(from, to, absorbers, list);
    const double step = positive(without(rest, two + 1));
    if (std::isnan(step)) refuse(typed, "expected a step in keV after the second \":\"");
    // A last step that ends within rounding of TO counts.
    for (int i = 0; from + i * step <= to + 1e-9 * step; ++i) {
        add(list, {rounded(from + i * step, 9)});
    }
}

void addedges(const absorber& a, double from, double to, energylist& list)
{
    const int first = list.n;
    for (int k = 1; k <= a.contents.n; ++k) {
        const tablerows& rows = rowsof(a.contents.element(k));
        for (int i = 1; i < rows.n; ++i) {
            const double edge = rows.xi(i), keV = rounded(1000.0 * edge, 9);
            if (rows.xi(i + 1) != edge || keV < from || keV > to || !within(a, edge)) continue;
            add(list, {keV, edge, false});
            add(list, {keV, edge, true});
        }
    }
    std::sort(list.item.item + first, list.item.item + list.n, before);
}

text<8> edgename(const absorber& a, double edge)
{
    for (int k = 1; k <= a.contents.n; ++k) {
        const tablerows& rows = rowsof(a.contents.element(k));
        for (int i = 2; i <= rows.n; ++i) {
            if (rows.xi(i) != edge || rows.xi(i - 1) != edge) continue;
            text<8> name(symbolof(a.contents.element(k)).all());
            name.put(name.length() + 2, name.length() + 3, rows.edge(i).all());
            return name;
        }
    }
    return {};
}
