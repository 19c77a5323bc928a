// SPDX-License-Identifier: GPL-3.0-or-later
// calc/attenuation.h: the dialogue and its steps: coefficients, formulas, compounds, densities.
//
// Every fault of a table, a symbol, a formula or an energy ends the program with a clear line.
#pragma once

#include <cstdint>

#include "base/field.h"
#include "calc/tables.h"

/// Mass attenuation coefficient of one element at one energy, from the block that `findblock` has
/// found. Closes the table.
///   energy  in   keV; usable from the block's second energy up to, not including, its last but one
///   atc     out  mu/rho, cm2/g
void attenuation(float energy, float& atc);

/// Takes a chemical formula apart: groups of an element symbol, "_" and a count, such as
/// "C_10H_8O_4". A one-letter symbol takes up to three digits. A two-letter symbol takes one: of a
/// second digit the parser makes a third, so that Fe_12 at the end reads as 122 atoms. Write
/// Fe_6Fe_6.
///   formula     in   leading blanks are ignored
///   es          in   the element symbols; a one-letter symbol has a blank after it
///   j           out  number of groups, 1..12
///   indx, mult  out  element number and atom count of each group
void contentformula(const text<132>& formula, const dim<text<2>, 1, lead>& es, std::int32_t& j,
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
                   const dim<text<12>, 1, lead>& ename, const dim<float, 1, lead>& emolweight,
                   float& value, float& atc);

/// Density in g/cm3 of a solid element, atomic number `nz`, from "dichte.dat": the user chooses one
/// of its modifications from a menu. 0 if the menu is cancelled or the line holds no number.
float elementdensity(std::int32_t nz);

/// Runs the program: start-up, the choice of one absorber, and its transmissions.
void dialogue();
