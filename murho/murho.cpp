// SPDX-License-Identifier: GPL-3.0-or-later
// murho/murho.cpp: the command `murho`, which answers on one line of the shell.
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/channel.h"
#include "base/printable.h"
#include "murho/absorber.h"
#include "murho/catalogue.h"
#include "murho/energies.h"
#include "murho/number.h"
#include "murho/refuse.h"

namespace {

constexpr int most = 64;  // absorbers

const char usage[] =
    "Usage: murho ABSORBER[=THICKNESS]... [ENERGY]...\n"
    "       murho --edges ABSORBER | --list | --help | --version\n"
    "\n"
    "Prints mu/rho in cm2/g, one line for each energy and one column for each absorber,\n"
    "or the transmission of layers that have a thickness.\n"
    "\n"
    "ABSORBER   a formula (Fe, H2O, Ca(OH)2, CuSO4.5H2O, Fe_2O_3), hydrogen to uranium,\n"
    "           a material (kapton, air), or a mixture by weight (Fe:70,Cr:19,Ni:11);\n"
    "           @7.9 after it sets the density in g/cm3\n"
    "THICKNESS  25um, 0.1mm, 10cm, 8mg/cm2, 2g/cm2\n"
    "ENERGY     in keV; FROM:TO for a curve with both sides of each edge, FROM:TO:STEP,\n"
    "           or a line: FeKa1, CuKa, MoKb1, AuLa, Fe57, Co57, Am241, Cs137;\n"
    "           without any, energies are read from standard input\n"
    "\n"
    "  -m, --mu       the linear coefficient in 1/cm in place of mu/rho\n"
    "  -f, --for T    the thickness with the transmission T: in mg/cm2, and in mm where\n"
    "                 the density is known\n"
    "  -e, --edges    the absorption edges, with mu/rho below and above\n"
    "  -l, --list     the materials\n"
    "  -h, --help     this text\n"
    "  -V, --version  the version\n"
    "\n"
    "  murho Fe 14.4                   mu/rho of iron\n"
    "  murho Be=0.5mm air=10cm CuKa1   what passes a window and 10 cm of air\n"
    "  murho --for 0.01 Pb Cs137       the lead that lets 1 % through\n"
    "More: man murho\n";

const char version[] =
    "murho " VERSION
    "\n"
    "Copyright (C) 2026 the attenuation developers\n"
    "License GPL-3.0-or-later; there is no warranty, to the extent permitted by law.\n";

// What is to be printed. It is kept until the end, so that nothing is printed where something is
// refused.
struct output {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* stream = open_memstream(&text, &size);

    void print(const char* format, ...) __attribute__((format(printf, 2, 3)))
    {
        va_list values;
        va_start(values, format);
        const int count = stream == nullptr ? -1 : std::vfprintf(stream, format, values);
        va_end(values);
        if (count < 0) stop("not enough memory for the output");
    }
    void finish()
    {
        if (stream == nullptr || std::fclose(stream) != 0) stop("not enough memory for the output");
        for (std::string_view rest(text, size); !rest.empty(); rest = without(rest, 4096)) {
            writepart(noutput, rest.substr(0, 4096));
        }
        flushoutput();
        std::free(text);
    }
};

struct request {
    bool linear = false;   // --mu
    bool edges = false;    // --edges
    double passing = 0.0;  // --for; 0 without
    int n = 0;
    dim<absorber, 1, most> absorbers;

    bool layers() const { return !absorbers(1).thickness.empty(); }
    std::span<absorber> all() { return {absorbers.item, static_cast<std::size_t>(n)}; }
};

energylist energies;

// The tables that belong to this program: those of its own installation, or of the sources. The
// environment may name others.
void findtables()
{
    if (const char* const set = std::getenv("ATTENUATION_DATA"); set != nullptr && *set) return;
    char self[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    if (length <= 0) return;
    const std::string_view path(self, static_cast<std::size_t>(length));
    const auto bin = static_cast<int>(path.rfind('/'));
    for (const char* const data : {"/../" DATA "/attenuation", "/../data"}) {
        char wanted[2 * PATH_MAX], directory[PATH_MAX], file[2 * PATH_MAX];
        struct stat found = {};
        std::snprintf(wanted, sizeof wanted, "%.*s%s", bin, self, data);
        if (realpath(wanted, directory) == nullptr) continue;
        std::snprintf(file, sizeof file, "%s/%s", directory, materialtable);
        if (stat(file, &found) != 0) continue;
        setenv("ATTENUATION_DATA", directory, 1);
        return;
    }
    setenv("ATTENUATION_DATA", FULL_DATA "/attenuation", 1);
}

void printmaterials(output& out)
{
    catalogue materials(materialtable);
    while (materials.next()) {
        const printable<600> names(materials.field(1)), composition(materials.field(2)),
            density(materials.field(3)), description(materials.field(4));
        out.print("%-30.*s %-11.*s %-40.*s %.*s\n", names.length, names.ch, density.length,
                  density.ch, description.length, description.ch, composition.length,
                  composition.ch);
    }
}

// Reads the next line of standard input; false at its end. A line that is too long is refused at
// once: it may never end.
bool nextline(text<200>& line)
{
    line = "";
    int c = inputbyte();
    const bool any = c >= 0;
    for (int n = 1; c >= 0 && c != '\n'; c = inputbyte(), ++n) {
        line(n) = c == '\t' || c == '\r' ? ' ' : static_cast<char>(c);
        if (n == 200) refuse(stripped(line.all()), "a line of more than 199 characters");
    }
    return any;
}

// Reads energies from standard input, one a line; what follows "#" does not count.
void readinput(request& r)
{
    if (isatty(STDIN_FILENO)) {
        dprintf(STDERR_FILENO, "%s: energies in keV, one a line; Ctrl-D ends them\n", commandname);
    }
    if (read(STDIN_FILENO, nullptr, 0) < 0) stop("standard input: %s", std::strerror(errno));
    text<200> line;
    while (nextline(line)) {
        const std::string_view word = stripped(line.all().substr(0, line.all().find('#')));
        if (!word.empty()) readenergies(word, r.all(), energies);
    }
}

// Names the columns and their units, then the layers and the densities in use.
void printheader(request& r, output& out)
{
    out.print("# keV");
    for (absorber& a : r.all()) {
        const cstring name(a.typed);
        if (r.linear) needdensity(a);
        if (r.edges) out.print(" below[cm2/g] above[cm2/g]");
        else if (r.linear) out.print(" %s[1/cm]", name.ch);
        else if (r.passing > 0.0) out.print(" %s[mg/cm2]", name.ch);
        else if (!r.layers()) out.print(" %s[cm2/g]", name.ch);
        if (r.passing > 0.0 && finddensity(a)) out.print(" %s[mm]", name.ch);
    }
    out.print(r.layers() ? " transmission\n" : "\n");
    for (const absorber& a : r.all()) {
        const bool dense = a.density > 0.0 && (r.linear || r.passing > 0.0 || r.layers());
        if (!dense && !r.layers()) continue;
        out.print("# %s", cstring(a.label).ch);
        if (r.layers()) out.print("=%s", cstring(a.thickness).ch);
        if (dense) out.print(": %.6g g/cm3", a.density);
        const printable<80> form(a.form.trimmed());
        if (dense && form.length > 0) out.print(", solid, %.*s", form.length, form.ch);
        out.print("\n");
    }
}

void printrow(request& r, const photon& p, output& out)
{
    double depth = 0.0;
    out.print("%-10.9g", p.keV);
    for (const absorber& a : r.all()) {
        const double mu = massattenuation(a, p);
        depth += mu * a.areal;
        const double needed = -std::log(r.passing) / mu;  // g/cm2
        if (r.linear) out.print(" %#12.6g", mu * a.density);
        else if (r.passing > 0.0) out.print(" %#12.6g", 1000.0 * needed);
        else if (!r.layers()) out.print(" %#12.6g", mu);
        if (r.passing > 0.0 && a.density > 0.0) out.print(" %#12.6g", 10.0 * needed / a.density);
    }
    if (r.layers()) out.print(" %#12.6g", std::exp(-depth));
    out.print("\n");
}

void printedges(const absorber& a, output& out)
{
    for (int i = 1; i < energies.n; i += 2) {
        const photon &below = energies.item(i), &above = energies.item(i + 1);
        const text<8> edge = edgename(a, above.edge);
        const printable<16> name(edge.trimmed());
        out.print("%-10.9g %#12.6g %#12.6g  # %.*s\n", below.keV, massattenuation(a, below),
                  massattenuation(a, above), name.length, name.ch);
    }
}

void answer(request& r, output& out)
{
    printheader(r, out);
    if (r.edges) return printedges(r.absorbers(1), out);
    for (int i = 1; i <= energies.n; ++i) printrow(r, energies.item(i), out);
}

const option options[] = {
    {"mu", no_argument, nullptr, 'm'},
    {"for", required_argument, nullptr, 'f'},
    {"edges", no_argument, nullptr, 'e'},
    {"list", no_argument, nullptr, 'l'},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},
    {nullptr, 0, nullptr, 0},
};

// Refuses what `getopt_long` did not take: `letter` is ':' where a value is missing, else '?'.
[[noreturn]] void refuseoption(int letter, const char* word)
{
    const char one[] = {'-', static_cast<char>(optopt), '\0'};  // of several letters together
    const auto known = [](const option& o) { return optopt != 0 && o.val == optopt; };
    if (letter == ':') refuse(word, "this option needs a value; see murho --help");
    if (std::any_of(options, std::end(options), known)) {  // a word such as "--mu=1"
        refuse(word, "this option takes no value; see murho --help");
    }
    refuse(optopt == 0 ? word : one, "unknown option; see murho --help");
}

// Reads the options. True if they are answered by that.
bool readoptions(int argc, char** argv, request& r, output& out)
{
    // The colon in front: a missing value is told from an unknown option.
    for (int letter; (letter = getopt_long(argc, argv, ":mf:elhV", options, nullptr)) >= 0;) {
        switch (letter) {
            case 'm': r.linear = true; break;
            case 'e': r.edges = true; break;
            case 'f':
                r.passing = positive(optarg);
                if (r.passing < 1.0) break;
                refuse(optarg, "expected a transmission between 0 and 1");
            case 'l': printmaterials(out); return true;
            case 'h': out.print("%s", usage); return true;
            case 'V': out.print("%s", version); return true;
            default: refuseoption(letter, argv[optind - 1]);
        }
    }
    return false;
}

// What goes together: thicknesses for all or for none, and one thing asked for.
void checkrequest(request& r)
{
    for (const absorber& a : r.all()) {
        if (a.thickness.empty() == r.layers()) {
            refuse(a.label, "give a thickness to every layer, or to none");
        }
        if (r.layers() && (r.linear || r.edges || r.passing > 0.0)) {
            refuse(a.label, "--mu, --for and --edges take no thickness");
        }
    }
    if (r.linear + r.edges + (r.passing > 0.0) > 1)
        refuse("", "give only one of --mu, --for and --edges");
}

void readarguments(int argc, char** argv, request& r)
{
    char** const first = argv + optind;
    char** last = first;  // the energies come to the front
    for (char** word = first; word != argv + argc; ++word) {
        if (isenergy(*word)) *last++ = *word;
        else if (r.n == most) refuse(*word, "more than %d absorbers", most);
        else readabsorber(*word, r.absorbers(++r.n));
    }
    // Without an absorber a word such as 57Fe is the likely reason.
    for (char** word = first; r.n == 0 && word != last; ++word) readenergies(*word, {}, energies);
    if (r.n == 0) refuse("", "no absorber; see murho --help");
    checkrequest(r);
    if (r.edges) {
        if (argc - optind != 1)
            refuse(argv[argc - 1], "--edges takes one absorber and nothing else");
        return addedges(r.absorbers(1), 0.0, HUGE_VAL, energies);
    }
    for (char** word = first; word != last; ++word) readenergies(*word, r.all(), energies);
    if (first == last) readinput(r);
}

}  // namespace

int main(int argc, char** argv)
{
    commandname = "murho";
    openchannels();
    findtables();
    static request r;
    output out;
    if (!readoptions(argc, argv, r, out)) {
        readarguments(argc, argv, r);
        answer(r, out);
    }
    out.finish();
    return 0;
}
