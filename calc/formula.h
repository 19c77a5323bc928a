// SPDX-License-Identifier: GPL-3.0-or-later
// calc/formula.h: chemical formulas as chemists write them.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "calc/tables.h"

/// How many atoms of which elements, in the order in which a formula first names them.
struct atoms {
    int n = 0;
    dim<std::int32_t, 1, uranium> element;  // number in the element list
    dim<double, 1, uranium> count;

    void add(std::int32_t number, double many);
};

/// Where a formula cannot be read, from position 1, and why; no `what` if it can.
struct formulafault {
    int position = 0;
    const char* what = nullptr;
};

/// Reads a formula: element symbols, each with a count after it or none for 1, groups in round or
/// square brackets likewise, and further parts after "*", a raised dot or ".", with a factor in
/// front. Counts may have decimals, and "_" in front: "Ca(OH)2", "Fe0.95O", "Fe_2O_3",
/// "CuSO4*5H2O". A "." between digits is a decimal point, unless a part follows that is water or
/// ammonia: in "CuSO4.5H2O" it separates.
///   symbols  in   the element symbols, in the order of their numbers
///   found    out  the atoms; every count is above 0 and finite
formulafault readformula(std::string_view formula, std::span<const text<2>> symbols, atoms& found);
