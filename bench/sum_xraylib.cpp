// SPDX-License-Identifier: GPL-3.0-or-later
// bench/sum_xraylib.cpp: what murho does, by xraylib: mu/rho of a formula at one energy in keV, or
// at many.
#include <xraylib.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc < 3) return 2;
    const double from = std::atof(argv[2]), step = argc > 4 ? std::atof(argv[4]) : 1.0;
    const double to = argc > 4 ? std::atof(argv[3]) : from;
    for (int i = 0; from + i * step <= to + 1e-9; ++i) {
        const double keV = from + i * step;
        std::printf("%-10.9g %#12.6g\n", keV, CS_Total_CP(argv[1], keV, nullptr));
    }
    return 0;
}
