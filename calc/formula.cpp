// SPDX-License-Identifier: GPL-3.0-or-later
#include "calc/formula.h"

#include <algorithm>

void atoms::add(std::int32_t number, double many)
{
    int k = 1;
    while (k <= n && element(k) != number) ++k;
    if (k > n) element(n = k) = number;
    count(k) += many;
}

namespace {

constexpr int deepest = 16;       // brackets within brackets
constexpr double largest = 1e30;  // count: sums of such ones, times molar weights, stay finite

// A formula on its way: `level(0)` holds the parts that are complete, `level(1)` the one being
// read, and each open bracket one more.
struct formulareader {
    std::string_view rest;
    std::span<const text<2>> symbols;
    int length = static_cast<int>(rest.size());
    int depth = 1;
    dim<atoms, 0, deepest + 1> level{};
    dim<char, 2, deepest + 1> closing{};  // the bracket that ends a level
    double factor = 1.0;                  // of the part being read

    bool front(std::string_view s) const { return rest.starts_with(s); }
    bool take(std::string_view s)
    {
        if (!front(s)) return false;
        rest.remove_prefix(s.size());
        return true;
    }
    formulafault fault(const char* what) const
    {
        return {length - static_cast<int>(rest.size()) + 1, what};
    }
};

bool isdigitat(std::string_view s, std::size_t i) { return i < s.size() && isdecimal(s[i]); }

// Length of the number at the front of a text, with decimals; 0 if there is none.
std::size_t numberlength(std::string_view s)
{
    std::size_t i = 0;
    while (isdigitat(s, i)) ++i;
    if (i > 0 && i < s.size() && s[i] == '.' && isdigitat(s, i + 1)) {
        for (++i; isdigitat(s, i);) ++i;
    }
    return i;
}

// True if a part of the formula begins here that is water or ammonia, such as "5H2O".
bool isligand(std::string_view s)
{
    s.remove_prefix(numberlength(s));
    for (const std::string_view ligand : {"H2O", "H_2O", "NH3", "NH_3"}) {
        if (!s.starts_with(ligand)) continue;
        const std::string_view after = without(s, ligand.size());
        return after.empty() || std::string_view(".*\xC2").find(after[0]) != after.npos;
    }
    return false;
}

// Takes a number of `length` characters from the front, 1 if that is 0. Not above 0 if it is none
// to use.
double takenumber(formulareader& f, std::size_t length)
{
    if (length == 0) return 1.0;
    double value = 0.0, scale = 1.0;
    bool decimals = false;
    for (const char c : f.rest.substr(0, length)) {
        if (decimals) scale *= 10.0;
        if (c == '.') decimals = true;
        else value = 10.0 * value + (c - '0');
    }
    f.rest.remove_prefix(length);
    return value / scale < largest ? value / scale : 0.0;
}

// Takes the count after a symbol or a bracket. Its point may be that before a further part instead.
formulafault takecount(formulareader& f, double& many)
{
    const bool expected = f.take("_");
    std::size_t length = numberlength(f.rest);
    if (expected && length == 0) return f.fault("expected a count after \"_\"");
    const std::size_t point = f.rest.substr(0, length).find('.');
    if (point < length && isligand(without(f.rest, point + 1))) length = point;
    const formulafault here = f.fault("the count is 0 or too large");
    many = takenumber(f, length);
    return many > 0.0 ? formulafault{} : here;
}

// Takes a symbol and adds its atoms.
formulafault takesymbol(formulareader& f)
{
    const bool two = f.rest.size() > 1 && f.rest[1] >= 'a' && f.rest[1] <= 'z';
    const int number = findsymbol(f.symbols, text<2>(f.rest.substr(0, two ? 2 : 1)));
    if (number == 0) return f.fault("expected the symbol of an element, hydrogen to uranium");
    f.rest.remove_prefix(two ? 2 : 1);
    double many = 1.0;
    if (const formulafault fault = takecount(f, many); fault.what) return fault;
    f.level(f.depth).add(number, many);
    return {};
}

formulafault openbracket(formulareader& f)
{
    if (f.depth > deepest) return f.fault("too many brackets within brackets");
    f.closing(++f.depth) = f.front("(") ? ')' : ']';
    f.level(f.depth) = {};
    f.rest.remove_prefix(1);
    return {};
}

// Takes the closing bracket and the count after it, and adds the group to what encloses it.
formulafault closebracket(formulareader& f)
{
    if (f.depth == 1) return f.fault("a bracket that was not opened");
    if (f.rest[0] != f.closing(f.depth)) return f.fault("the other kind of bracket is open");
    if (f.level(f.depth).n == 0) return f.fault("nothing between the brackets");
    f.rest.remove_prefix(1);
    double many = 1.0;
    if (const formulafault fault = takecount(f, many); fault.what) return fault;
    const atoms& group = f.level(f.depth--);
    for (int k = 1; k <= group.n; ++k)
        f.level(f.depth).add(group.element(k), many * group.count(k));
    return {};
}

// Ends a part, at a separator or at the end of the formula.
formulafault endpart(formulareader& f)
{
    if (f.depth > 1) return f.fault("a bracket is still open");
    atoms& part = f.level(1);
    if (part.n == 0) return f.fault("expected the symbol of an element");
    for (int k = 1; k <= part.n; ++k) f.level(0).add(part.element(k), f.factor * part.count(k));
    part = {};
    return {};
}

// Takes what is at the front: a bracket, a separator and the factor after it, or a symbol.
formulafault takenext(formulareader& f)
{
    if (f.front("(") || f.front("[")) return openbracket(f);
    if (f.front(")") || f.front("]")) return closebracket(f);
    if (!f.front("*") && !f.front(".") && !f.front("\u00B7")) return takesymbol(f);
    if (const formulafault fault = endpart(f); fault.what) return fault;
    f.take("*") || f.take(".") || f.take("\u00B7");
    const formulafault here = f.fault("the factor is 0 or too large");
    f.factor = takenumber(f, numberlength(f.rest));
    return f.factor > 0.0 ? formulafault{} : here;
}

}  // namespace

formulafault readformula(std::string_view formula, std::span<const text<2>> symbols, atoms& found)
{
    formulareader f{formula, symbols};
    while (!f.rest.empty()) {
        if (const formulafault fault = takenext(f); fault.what) return fault;
    }
    const formulafault fault = endpart(f);
    found = f.level(0);
    for (int k = 1; k <= found.n; ++k) {
        if (!(found.count(k) < largest)) return f.fault("the counts are too large");
    }
    return fault;
}
