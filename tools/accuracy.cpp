// SPDX-License-Identifier: GPL-3.0-or-later
// tools/accuracy.cpp: how far the program's interpolation is off.
//
// Compares mu/rho as the program gives it with (a) xraylib, an independent library that evaluates
// the cross sections behind XCOM up to 800 keV, and (b) a straight line in log-log through the same
// rows. Prints both for the shipped table and for the published rows alone, as Markdown.
//
//   accuracy [DIRECTORY]    of the tables, the current one unless said otherwise
#include <unistd.h>
#include <xraylib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "calc/attenuation.h"

namespace {

struct element {
    text<12> name;
    std::vector<double> energy, mu;  // rows, keV and cm2/g
};

// Reads the blocks with a reader of its own.
std::vector<element> readtable()
{
    std::vector<element> all;
    std::ifstream file("attenuation.coefficients");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("Z =")) continue;
        if (line.size() == 36 && line[4] == '.') {
            all.back().energy.push_back(1000.0 * std::stod(line.substr(3, 11)));
            all.back().mu.push_back(std::stod(line.substr(16, 9)));
        } else if (file.peek() == 'Z') {
            all.push_back({text<12>(line.substr(1)), {}, {}});
        }
    }
    return all;
}

double programme(const element& e, double keV)
{
    text<16> numberline;
    float atc = 0.0f;
    findblock(e.name, e.name.length());
    coefficients.next(numberline);
    attenuation(static_cast<float>(keV), atc);
    return atc;
}

double loglog(const element& e, double keV)
{
    const auto above = std::upper_bound(e.energy.begin(), e.energy.end(), keV);
    const auto i = static_cast<std::size_t>(above - e.energy.begin());
    const double f = std::log(keV / e.energy[i - 1]) / std::log(e.energy[i] / e.energy[i - 1]);
    return e.mu[i - 1] * std::pow(e.mu[i] / e.mu[i - 1], f);
}

double library(int z, double keV) { return CS_Total(z, keV, nullptr); }

// Where the table has an edge within 1 %, the sources may disagree about its place.
bool nearedge(const element& e, double keV)
{
    for (std::size_t i = 1; i < e.energy.size(); ++i) {
        if (e.energy[i] == e.energy[i - 1] && std::fabs(keV / e.energy[i] - 1.0) < 0.01)
            return true;
    }
    return false;
}

bool usable(const element& e, double keV)
{
    return keV > e.energy[1] && keV < e.energy[e.energy.size() - 2] && !nearedge(e, keV);
}

// Deviations in per cent, and where the largest is.
struct deviations {
    std::vector<double> all;
    double worst = 0.0, worstenergy = 0.0;
    std::string worstname;

    void add(const element& e, double keV, double value, double reference)
    {
        const double off = 100.0 * std::fabs(value / reference - 1.0);
        all.push_back(off);
        if (off <= worst) return;
        worst = off;
        worstenergy = keV;
        worstname = std::string(e.name.trimmed());
    }
    double part(double fraction)
    {
        const auto at =
            all.begin() + static_cast<long>(fraction * static_cast<double>(all.size() - 1));
        std::nth_element(all.begin(), at, all.end());
        return *at;
    }
    void print()
    {
        std::printf(" %.2f / %.2g / %.2g (%s, %.4g keV) |", part(0.5), part(0.9), worst,
                    worstname.c_str(), worstenergy);
    }
};

void compare(const char* title)
{
    static const double bands[] = {1, 5, 10, 30, 100, 200, 800};
    static const double lines[] = {6.404, 14.413, 23.871, 59.541, 122.06, 136.474, 661.657};
    constexpr int steps = 100;  // energies in each band, even in log
    const std::vector<element> table = readtable();
    const auto row = [&table](const char* label, const std::vector<double>& energies) {
        deviations fromlibrary, fromloglog;
        for (int z = 1; z <= static_cast<int>(table.size()); ++z) {
            const element& e = table[static_cast<std::size_t>(z - 1)];
            for (double keV : energies) {
                if (!usable(e, keV)) continue;
                const double value = programme(e, keV);
                fromlibrary.add(e, keV, value, library(z, keV));
                fromloglog.add(e, keV, value, loglog(e, keV));
            }
        }
        std::printf("| %s |", label);
        fromlibrary.print();
        fromloglog.print();
        std::printf("\n");
    };

    std::printf("\n%s, %zu elements; per cent, median / 90 %% / worst\n\n", title, table.size());
    std::printf("| keV | against xraylib | against log-log of the same rows |\n|---|---|---|\n");
    char label[32];
    for (std::size_t b = 0; b + 1 < std::size(bands); ++b) {
        std::vector<double> energies;
        for (int i = 0; i < steps; ++i) {
            energies.push_back(bands[b] * std::pow(bands[b + 1] / bands[b], (i + 0.5) / steps));
        }
        std::snprintf(label, sizeof label, "%g-%g", bands[b], bands[b + 1]);
        row(label, energies);
    }
    for (double line : lines) {
        std::snprintf(label, sizeof label, "%g", line);
        row(label, {line});
    }
}

// Writes the table without the rows marked "+" into a directory of its own, and goes there.
void enterpublished()
{
    std::ifstream from("attenuation.coefficients");
    char directory[] = "/tmp/attenuation-accuracy-XXXXXX";
    if (mkdtemp(directory) == nullptr || chdir(directory) < 0) std::exit(1);
    std::ofstream to("attenuation.coefficients");
    for (std::string line; std::getline(from, line);) {
        if (!(line.size() == 36 && line[1] == '+')) to << line << '\n';
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && chdir(argv[1]) < 0) return 1;
    compare("As shipped");
    enterpublished();
    compare("Published rows alone");
    std::filesystem::remove_all(std::filesystem::current_path());
    return 0;
}
