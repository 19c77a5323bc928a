// SPDX-License-Identifier: GPL-3.0-or-later
// murho/energies.h: photon energies as they are typed.
#pragma once

#include <span>
#include <string_view>

#include "murho/absorber.h"

/// The energies of one call, in order.
struct energylist {
    static constexpr int most = 100000;
    std::string_view typed;  // the word being read, for messages
    int n = 0;
    dim<photon, 1, most> item;
};

/// True for an energy or a range of energies: what begins with a digit or a point, or with the name
/// of a line of "lines.dat".
bool isenergy(std::string_view typed);

/// Adds an energy in keV, a line by name, or a range: "FROM:TO" gives 300 energies, evenly spaced
/// in log, and both sides of every edge of the absorbers in between; "FROM:TO:STEP" one every STEP
/// keV. Refuses anything else.
void readenergies(std::string_view typed, std::span<const absorber> absorbers, energylist& list);

/// Adds both sides of every edge of an absorber's elements between two energies in keV, in
/// ascending order. Edges that the table of another of its elements does not reach are left out.
void addedges(const absorber& a, double from, double to, energylist& list);

/// What to call an edge of an absorber, such as "Fe K".
text<8> edgename(const absorber& a, double edge);
