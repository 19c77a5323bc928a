// SPDX-License-Identifier: GPL-3.0-or-later
// calc/attenuation.h: mass attenuation coefficients, compounds, densities, and the dialogue.
//
// Source of the coefficients: J. H. Hubbell and S. M. Seltzer, Tables of X-Ray Mass Attenuation
// Coefficients and Mass Energy-Absorption Coefficients, NISTIR 5632 (NIST, 1995, data of 2004).
// Every fault of a table, a symbol, a formula or an energy ends the program with a clear line.
#pragma once

#include <cstdint>

#include "base/channel.h"
#include "base/field.h"

/// "attenuation.coefficients" while it is being read: found by `findblock`, read on by
/// `attenuation`. One stream, shared by the two.
extern infile coefficients;

/// Opens "attenuation.coefficients" and reads on until the name line of an element's block: one
/// whose columns 2 on equal the first `length` characters of `name`.
void findblock(const text<12>& name, int length);

/// Mass attenuation coefficient of one element at one energy, from the block that `coefficients`
/// stands in, just behind the atomic-number line.
///   energy  in   keV; usable from the block's second energy up to, not including, its last but one
///   atc     out  mu/rho, cm2/g
void attenuation(float energy, float& atc);

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

/// Takes a chemical formula apart: groups of an element symbol, "_" and a count, such as
/// "C_10H_8O_4". A one-letter symbol takes up to three digits. A two-letter symbol takes one: of a
/// second digit the parser makes a third, so that Fe_12 at the end reads as 122 atoms. Kept so;
/// write Fe_6Fe_6.
///   formula     in   leading blanks are ignored
///   es          in   the element symbols; a one-letter symbol has a blank behind it
///   j           out  number of groups, 1..12
///   indx, mult  out  element number and atom count of each group
void contentformula(const text<132>& formula, const dim<text<2>, 1, 82>& es, std::int32_t& j,
                    dim<std::int32_t, 1, 12>& indx, dim<std::int32_t, 1, 12>& mult);

/// Asks for the photon energy and gives mu/rho of a compound: the sum of its elements' coefficients
/// weighted by their mass fractions.
///   input, output  in      channels of the prompt
///   j, indx, mult  in      the compound, as `contentformula` gives it
///   ename          in      element names; in a compound of at most 11 characters
///   emolweight     in      molar weights, g/mol
///   value          in/out  energy offered, energy accepted, keV
///   atc            out     mu/rho, cm2/g
void atcoefficient(std::int32_t input, std::int32_t output, std::int32_t j,
                   const dim<std::int32_t, 1, 12>& indx, const dim<std::int32_t, 1, 12>& mult,
                   const dim<text<12>, 1, 82>& ename, const dim<float, 1, 82>& emolweight,
                   float& value, float& atc);

/// Density in g/cm3 of a solid element, atomic number `nz`, from "dichte.dat": the user chooses one
/// of its modifications from a menu. 0 if the menu is cancelled or the line holds no number.
float elementdensity(std::int32_t nz);

/// The elements as "elements.dat" lists them; the line number is the element's number everywhere.
struct elementlist {
    dim<text<2>, 1, 82> es;        // symbol
    dim<text<12>, 1, 82> ename;    // name as in "attenuation.coefficients"
    dim<float, 1, 82> emolweight;  // molar weight, g/mol
};

/// Reads "elements.dat".
void readelements(elementlist& elements);

/// Runs the program: start-up, the choice of one absorber, and its transmissions.
void dialogue();
