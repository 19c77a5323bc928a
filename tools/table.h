// SPDX-License-Identifier: GPL-3.0-or-later
// tools/table.h: a coefficient table read without the program, and the program's value beside it.
// For the accuracy tool and the tests, which link `core`.
#pragma once

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "calc/attenuation.h"

struct tablerow {
    std::string element;  // name of its block
    int z = 0;            // atomic number
    std::string line;
    double keV = 0, mu = 0;  // energy, and mu/rho in cm2/g

    bool added() const { return line[1] == '+'; }
};

/// True for a line that looks like a row, as those of the left-out list do, too.
inline bool isrow(const std::string& line) { return line.size() >= 36 && line[4] == '.'; }

/// All rows of a table, in its order. A fault in a number ends the program.
inline std::vector<tablerow> readtable(const std::string& file)
{
    std::vector<tablerow> rows;
    std::ifstream table(file);
    tablerow row;
    for (std::string line, before; std::getline(table, line); before = line) {
        if (line.starts_with("Z =")) {
            row.element = before.substr(1);
            row.z = std::atoi(line.c_str() + 3);
        }
        if (!isrow(line)) continue;
        row.line = line;
        row.keV = 1000.0 * std::stod(line.substr(3, 11));
        row.mu = std::stod(line.substr(16, 9));
        rows.push_back(row);
    }
    return rows;
}

/// mu/rho as the program gives it, in cm2/g, from the table in the working directory.
inline double programme(const std::string& element, double keV)
{
    float atc = 0.0f;
    findblock(text<12>(element));
    attenuation(static_cast<float>(keV), atc);
    return atc;
}
