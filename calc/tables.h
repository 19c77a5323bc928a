// SPDX-License-Identifier: GPL-3.0-or-later
// calc/tables.h: the tables of coefficients, elements and densities, without any question asked.
//
// Source of the coefficients: J. H. Hubbell and S. M. Seltzer, Tables of X-Ray Mass Attenuation
// Coefficients and Mass Energy-Absorption Coefficients, NISTIR 5632 (NIST, 1995, data of 2004).
// Every fault of a table or an energy ends the program with a clear line.
#pragma once

#include <cstdint>
#include <span>

#include "base/field.h"
#include "base/infile.h"

constexpr const char* coefficienttable = "attenuation.coefficients";
constexpr const char* elementtable = "elements.dat";
constexpr const char* densitytable = "dichte.dat";

constexpr int lead = 82;     // the last element of the dialogue
constexpr int uranium = 92;  // the last element of the tables

/// "attenuation.coefficients" while it is being read: found by `findblock`, read on by `readblock`.
extern infile coefficients;

/// Opens "attenuation.coefficients" and reads on to the block of an element: to the line whose
/// columns 2 on begin with `name`. Returns the atomic number, 1 or more, from the next line.
std::int32_t findblock(const text<12>& name);

/// The rows of one element's block.
struct tablerows {
    cstring name{""};          // of the element, for messages
    int n = 0;                 // 64, or fewer where a line that is not a row ended them
    long ending = 0;           // the number of that line
    dim<double, 1, 64> xi;     // energy, MeV, ascending; an edge is two rows of equal energy
    dim<double, 1, 64> yi;     // mu/rho, cm2/g
    dim<text<2>, 1, 64> edge;  // its label (K, L1 ...) on the upper row of an edge
};

/// Reads the rows of the block that `findblock` has found.
void readblock(tablerows& rows);

/// An energy in keV as the rows are searched for it, in MeV. A single-precision product on purpose:
/// its last bit decides on which side of an edge, and whether on or beside a row, a tabulated
/// energy lands.
inline float inmev(float energy) { return 0.001f * energy; }

/// mu/rho in cm2/g of an element from its rows. `energy` is in keV; usable are those from the
/// second row up to, not including, the last but one.
float coefficient(const tablerows& rows, float energy);

/// Interpolates mu/rho at one energy through three or four rows of the table.
///   ns   in      3: parabola through all three points; 4: through points 2 and 3, its curvature
///                fitted to 1 and 4 by least squares; any other value leaves `att` alone
///   xs   in/out  energies of the rows, ascending; MeV on entry, keV on return
///   ys   in      mu/rho at those energies, cm2/g
///   us   in      the wanted energy, MeV
///   att  out     mu/rho at `us`, cm2/g
/// The points must lie on one side of an absorption edge: no two equal energies. Not finite where
/// the points have no parabola; the caller checks.
void parabel(std::int32_t ns, dim<double, 1, 4>& xs, const dim<double, 1, 4>& ys, double us,
             float& att);

/// What a compound consists of: elements, or groups of a formula, and how much of each.
struct compound {
    int n = 0;
    dim<std::int32_t, 1, uranium> element;  // number in the element list
    dim<float, 1, uranium> mass;            // g in a mole, or in any other amount of the compound

    void add(std::int32_t number, float grams);
};

/// mu/rho in cm2/g of a compound: the sum of its elements' coefficients, weighted by their mass
/// fractions. `a` holds mu/rho of each of its elements in order. All sums run in 32 bits. Not
/// finite for a compound without mass; the caller checks.
float mixture(const compound& c, const dim<float, 1, uranium>& a);

/// Reads "elements.dat": symbols, names as in "attenuation.coefficients", and molar weights in
/// g/mol, into three arrays of equal size. Returns the count of elements, from 82 (lead) to that
/// size; lines beyond it are not read.
int readelements(std::span<text<2>> es, std::span<text<12>> ename, std::span<float> emolweight);

/// The first `most` elements of "elements.dat", `lead` or more; the line number is the element's
/// number everywhere.
template <int most>
struct elementlist {
    int n = 0;                       // their count
    dim<text<2>, 1, most> es;        // symbol
    dim<text<12>, 1, most> ename;    // name as in "attenuation.coefficients"
    dim<float, 1, most> emolweight;  // molar weight, g/mol

    void read() { n = readelements(es.item, ename.item, emolweight.item); }
    std::span<const text<2>> symbols() const { return {es.item, static_cast<std::size_t>(n)}; }
};

/// Number of the element with this symbol, 0 if there is none.
int findsymbol(std::span<const text<2>> symbols, const text<2>& symbol);

/// The modifications of one element in the solid state, as "dichte.dat" lists them.
struct modifications {
    infile table;
    int n = 0;
    long before = 0;            // lines before the first of them
    dim<text<81>, 1, 64> line;  // as it is in the file; column 81 only shows what column 80 cuts

    /// Density of modification `k` in g/cm3; 0 if there is none. Ends the program where the line
    /// says something else than would be read.
    float density(int k) const;
};

/// Reads the modifications of the element with atomic number `nz`, at least one.
void readmodifications(std::int32_t nz, modifications& found);
