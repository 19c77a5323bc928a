// SPDX-License-Identifier: GPL-3.0-or-later
// tools/accuracy.cpp: how far the program's interpolation is off.
//
// Compares mu/rho as the program gives it with xraylib, an independent library that evaluates the
// cross sections behind XCOM up to 800 keV, for the table as shipped and for its published rows
// alone. The figures have one home: accuracy.txt, between its two lines of dashes.
//
//   accuracy DIRECTORY            prints the figures of the table in DIRECTORY
//   accuracy DIRECTORY --write    puts them into accuracy.txt there
//   accuracy DIRECTORY --check    fails where accuracy.txt has others
#include <unistd.h>
#include <xraylib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "calc/attenuation.h"

namespace {

using strings = std::vector<std::string>;

strings readlines(const char* name)
{
    strings lines;
    std::ifstream file(name);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

struct element {
    text<12> name;
    std::vector<double> energy;  // of the rows, keV

    // From the second row to the last but one, except within 1 % of an edge: the sources may
    // disagree about its place.
    bool comparable(double keV) const
    {
        for (std::size_t i = 1; i < energy.size(); ++i) {
            const bool edge = energy[i] == energy[i - 1];
            if (edge && std::fabs(keV / energy[i] - 1.0) < 0.01) return false;
        }
        return keV > energy[1] && keV < energy[energy.size() - 2];
    }
};

// Reads the blocks of the table with a reader of its own.
std::vector<element> readtable()
{
    std::vector<element> all;
    const strings lines = readlines("attenuation.coefficients");
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        if (lines[i + 1].starts_with("Z =")) all.push_back({text<12>(lines[i].substr(1)), {}});
        if (lines[i].size() == 36 && lines[i][4] == '.') {
            all.back().energy.push_back(1000.0 * std::stod(lines[i].substr(3, 11)));
        }
    }
    return all;
}

double programme(const element& e, double keV)
{
    float atc = 0.0f;
    findblock(e.name);
    attenuation(static_cast<float>(keV), atc);
    return atc;
}

// Deviations in per cent, and where the largest is.
struct deviations {
    std::vector<double> all;
    double worst = 0.0, energy = 0.0;
    std::string name;

    void add(const element& e, double keV, double value, double reference)
    {
        all.push_back(100.0 * std::fabs(value / reference - 1.0));
        if (all.back() <= worst) return;
        worst = all.back();
        energy = keV;
        name = std::string(e.name.trimmed());
    }
    double within(double fraction) const
    {
        std::vector<double> sorted = all;
        std::sort(sorted.begin(), sorted.end());
        return sorted[static_cast<std::size_t>(fraction * static_cast<double>(all.size() - 1))];
    }
};

// One line of the figures: a band, or one gamma or X-ray line.
struct group {
    std::string label;
    std::vector<double> energies;
};

std::vector<group> groups()
{
    constexpr double bands[] = {1, 5, 10, 30, 100, 200, 800};
    constexpr int steps = 100;  // energies in each band, even in log
    std::vector<group> all;
    group from5{"5 - 800, all", {}};
    char label[32];
    for (std::size_t b = 0; b + 1 < std::size(bands); ++b) {
        std::snprintf(label, sizeof label, "%g - %g", bands[b], bands[b + 1]);
        all.push_back({label, {}});
        for (int i = 0; i < steps; ++i) {
            const double keV = bands[b] * std::pow(bands[b + 1] / bands[b], (i + 0.5) / steps);
            all.back().energies.push_back(keV);
            if (b > 0) from5.energies.push_back(keV);
        }
    }
    all.push_back(from5);
    for (const char* line :
         {"6.404 Fe K", "8.047 Cu K", "14.413 57Fe", "17.479 Mo K", "23.871 119Sn", "59.541 241Am",
          "122.06 57Co", "136.474 57Co", "661.657 137Cs"}) {
        all.push_back({line, {std::atof(line)}});
    }
    return all;
}

std::vector<deviations> measure(const std::vector<group>& wanted)
{
    const std::vector<element> table = readtable();
    std::vector<deviations> found(wanted.size());
    for (std::size_t g = 0; g < wanted.size(); ++g) {
        for (std::size_t i = 0; i < table.size(); ++i) {
            for (double keV : wanted[g].energies) {
                if (!table[i].comparable(keV)) continue;
                const double reference = CS_Total(static_cast<int>(i + 1), keV, nullptr);
                found[g].add(table[i], keV, programme(table[i], keV), reference);
            }
        }
    }
    return found;
}

// Writes the table without the rows marked "+" into a directory of its own, and goes there.
void enterpublished()
{
    const strings table = readlines("attenuation.coefficients");
    char directory[] = "/tmp/attenuation-accuracy-XXXXXX";
    if (mkdtemp(directory) == nullptr || chdir(directory) < 0) std::exit(1);
    std::ofstream to("attenuation.coefficients");
    for (const std::string& line : table) {
        if (!(line.size() == 36 && line[1] == '+')) to << line << '\n';
    }
}

std::string figure(double percent)
{
    char ch[16];
    std::snprintf(ch, sizeof ch, "%7.*f", percent < 1 ? 2 : percent < 10 ? 1 : 0, percent);
    return ch;
}

// The lines between the dashes, from the table in the working directory, which changes.
strings figures()
{
    const std::vector<group> wanted = groups();
    const std::vector<deviations> shipped = measure(wanted);
    enterpublished();
    const std::vector<deviations> published = measure(wanted);
    std::filesystem::remove_all(std::filesystem::current_path());

    strings lines;
    for (std::size_t g = 0; g < wanted.size(); ++g) {
        const deviations &s = shipped[g], &p = published[g];
        char label[32], where[32];
        std::snprintf(label, sizeof label, " %-14s", wanted[g].label.c_str());
        std::snprintf(where, sizeof where, "  %-12s %6.4g", s.name.c_str(), s.energy);
        lines.push_back(label + figure(s.within(0.5)) + figure(s.within(0.9)) + figure(s.worst) +
                        where + figure(p.within(0.5)) + figure(p.within(0.9)) + figure(p.worst));
    }
    return lines;
}

int fail(const std::string& message)
{
    std::fprintf(stderr, "accuracy: %s\n", message.c_str());
    return 1;
}

// Names the first figure in which a line of the file and a measured one differ.
int differ(const std::string& stands, const std::string& is)
{
    std::istringstream left(stands), right(is);
    std::string a, b;
    do {
        a = b = "";
        left >> a;
        right >> b;
    } while (a == b && !a.empty());
    const std::string label = (is.empty() ? stands : is).substr(0, 15);
    return fail("accuracy.txt," + label.substr(0, label.find_last_not_of(' ') + 1) + ": \"" + a +
                "\" stands there, the table gives \"" + b + "\"; --write puts it right");
}

// Compares what stands between the dashes with what is measured, or puts it there.
int checkorwrite(const std::filesystem::path& file, const strings& is, bool write)
{
    strings page = readlines(file.c_str());
    const auto dashes = [](const std::string& line) { return line.starts_with(" ----"); };
    const auto above = std::find_if(page.begin(), page.end(), dashes);
    const auto below = above == page.end() ? above : std::find_if(above + 1, page.end(), dashes);
    if (below == page.end()) return fail("accuracy.txt: no two lines of dashes");

    if (write) {
        page.insert(page.erase(above + 1, below), is.begin(), is.end());
        std::ofstream to(file);
        for (const std::string& line : page) to << line << '\n';
        return to.flush() ? 0 : fail("accuracy.txt cannot be written");
    }
    const strings stands(above + 1, below);
    for (std::size_t k = 0; k < std::max(stands.size(), is.size()); ++k) {
        const std::string left = k < stands.size() ? stands[k] : "";
        const std::string right = k < is.size() ? is[k] : "";
        if (left != right) return differ(left, right);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string what = argc > 2 ? argv[2] : "--print";
    if (argc < 2 || argc > 3 || (what != "--print" && what != "--write" && what != "--check")) {
        return fail("give the directory of the tables, then --write, --check or nothing");
    }
    if (chdir(argv[1]) < 0 || !std::filesystem::exists("attenuation.coefficients")) {
        return fail(std::string("no tables in ") + argv[1]);
    }
    const std::filesystem::path file = std::filesystem::current_path() / "accuracy.txt";

    const strings is = figures();
    if (what != "--print") return checkorwrite(file, is, what == "--write");
    for (const std::string& line : is) std::puts(line.c_str());
    return 0;
}
