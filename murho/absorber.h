// SPDX-License-Identifier: GPL-3.0-or-later
// murho/absorber.h: absorbers as they are typed, and their attenuation.
#pragma once

#include <span>
#include <string_view>

#include "calc/tables.h"

/// One absorber, or one layer of several.
struct absorber {
    std::string_view typed;  // with its density, if that is set
    std::string_view label;  // without
    compound contents;
    std::int32_t only = 0;       // the element, if the label is just its symbol
    double density = 0.0;        // g/cm3; 0 if it is not known
    text<72> form;               // the modification of the element that has this density
    std::string_view thickness;  // as typed; empty without one
    double areal = 0.0;          // its areal density, g/cm2
};

/// Reads an absorber: a material of "materials.dat", a formula, or a mixture of both by weight such
/// as "Fe:70,water:30"; then "@" and a density in g/cm3, if it is to be set; then "=" and a
/// thickness with its unit, if there is one. Refuses what cannot be read. `typed` must outlive it.
void readabsorber(std::string_view typed, absorber& a);

/// Sees to the density of an absorber: for an element it is that of its first modification. False
/// if it is not known.
bool finddensity(absorber& a);

/// The same, but refuses an absorber without a density.
void needdensity(absorber& a);

/// An energy. At an absorption edge it is the energy on one of its sides.
struct photon {
    double keV = 0.0;
    double edge = 0.0;   // the energy in MeV as the table has it, 0 elsewhere
    bool above = false;  // the side of the edge
};

/// mu/rho of an absorber in cm2/g. Ends the program outside the table.
double massattenuation(const absorber& a, const photon& p);

/// The rows of an element, read at the first call for it.
const tablerows& rowsof(std::int32_t element);

/// The symbol of an element.
const text<2>& symbolof(std::int32_t element);
