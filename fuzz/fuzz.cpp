// SPDX-License-Identifier: GPL-3.0-or-later
// fuzz/fuzz.cpp: feeds arbitrary bytes to the readers of the program, one target each; the
// environment variable FUZZ_TARGET names it.
//
// A fatal error of the program is a fine answer to any input: here `stop` throws, and the target
// goes on with the next input. What must not happen is a crash, a hang, a finding of a sanitizer, a
// number that is not finite, or a shell command other than the viewer's.
#include <fcntl.h>
#include <readline/history.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "calc/attenuation.h"
#include "help/comhelp.h"
#include "murho/absorber.h"
#include "murho/energies.h"
#include "murho/refuse.h"
#include "prompt/combuff.h"
#include "terminal/key.h"

struct stopped {};

// The message is made up, so that the sanitizers see what it is made of.
[[noreturn]] void stop(const char* format, ...)
{
    char message[8192];
    va_list values;
    va_start(values, format);
    std::vsnprintf(message, sizeof message, format, values);
    va_end(values);
    throw stopped{};
}

[[noreturn]] void refuse(std::string_view, const char*, ...) { throw stopped{}; }

// Takes the place of the C library's: the shell is not started, and only the viewer may be asked
// for.
extern "C" int system(const char* command)
{
    const std::string_view whole(command), before = "xdvi ";
    if (!whole.starts_with(before) || !whole.ends_with(" &")) abort();
    const std::string_view name = whole.substr(5, whole.size() - 7);
    const bool document = name.starts_with("$TANOHEPATH/dvifiles/");
    for (char c : name.substr(document ? 1 : 0)) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && !std::strchr("._+-/", c)) abort();
    }
    return 0;
}

// The line editor leaks a few bytes when the input ends within its incremental search.
extern "C" const char* __lsan_default_suppressions() { return "leak:libreadline"; }

namespace {

using bytes = std::string_view;

// A file in memory, its content replaced for every input.
struct memoryfile {
    int fd = memfd_create("fuzz", 0);

    void put(bytes content) const
    {
        if (ftruncate(fd, 0) < 0 || pwrite(fd, content.data(), content.size(), 0) < 0) abort();
        lseek(fd, 0, SEEK_SET);
    }
    void appearas(const char* name) const
    {
        if (symlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), name) < 0) abort();
    }
};

memoryfile table, keys;

// Works in a directory of its own; `replaced` there is the fuzzed table, all others are shipped.
void enterdirectory(const char* replaced)
{
    char name[] = "fuzz-XXXXXX";
    if (mkdtemp(name) == nullptr || chdir(name) < 0) abort();
    for (const char* file : {"attenuation.coefficients", "dichte.dat", "elements.dat",
                             "attenuation.help", "materials.dat", "lines.dat"}) {
        if (std::strcmp(file, replaced) == 0) table.appearas(file);
        else if (symlink((DATA_DIR "/" + std::string(file)).c_str(), file) < 0) abort();
    }
    setenv("TANOHEPATH", ".", 1);
    setenv("ATTENUATION_DATA", DATA_DIR, 1);  // the shipped materials come after the fuzzed ones
    setenv("TERM", "dumb", 1);
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    dup2(keys.fd, STDIN_FILENO);
    localpath.localhepath = "/attenuation.help";
    cmpa.tanohepath = "proc/self/cwd";
    window(1);
}

// Splits the input: the part before the first NUL, and the rest.
bytes front(bytes& all)
{
    const std::size_t nul = all.find('\0');
    const bytes first = all.substr(0, nul);
    all = nul == bytes::npos ? bytes() : all.substr(nul + 1);
    return first;
}

void fuzzcoefficients(bytes input)
{
    const std::string energy(front(input));
    table.put(input);
    findblock("Iron");
    float atc = 0.0f;
    attenuation(std::strtof(energy.c_str(), nullptr), atc);
    if (!std::isfinite(atc)) abort();
}

void fuzzdensities(bytes input)
{
    keys.put(front(input));
    table.put(input);
    if (!std::isfinite(elementdensity(26))) abort();
}

void fuzzelements(bytes input)
{
    table.put(input);
    static elementlist<lead> list;
    list.read();
    for (float weight : list.emolweight.item) {
        if (!std::isfinite(weight) || weight <= 0.0f) abort();
    }
}

void fuzzhelpfile(bytes input)
{
    const text<132> key(front(input));
    keys.put(front(input));
    table.put(input);
    for (int k = 1; k <= 64; ++k) scrd.helpar(k) = key;
    help(key);
}

void fuzzformula(bytes input)
{
    static elementlist<lead> list;
    if (list.emolweight(1) == 0.0f) list.read();
    keys.put("\n");
    dim<std::int32_t, 1, 12> indx, mult;
    std::int32_t j = 0;
    contentformula(text<132>(input), list.es, j, indx, mult);
    float value = 122.0f, atc = 0.0f;
    atcoefficient(5, 6, j, indx, mult, list.ename, list.emolweight, value, atc);
    if (!(atc > 0.0f) || !std::isfinite(atc)) abort();
}

// A file of materials, an absorber and energies as `murho` takes them.
void fuzzwords(bytes input)
{
    static energylist list;
    table.put(front(input));
    const std::string typed(front(input));
    absorber a;
    readabsorber(typed, a);
    list.n = 0;
    readenergies(input, {&a, 1}, list);
    for (int i = 1; i <= std::min(list.n, 400); ++i) {
        const double mu = massattenuation(a, list.item(i));
        if (!(mu > 0.0) || !std::isfinite(mu) || !(a.areal >= 0.0)) abort();
    }
}

// The format, a number as it stands in memory, and a text full of numbers.
void fuzznumbers(bytes input)
{
    text<7> form(front(input));
    float value = 0.0f;
    if (input.size() >= 4) std::memcpy(&value, input.data(), 4);
    text<24> chr, chl;
    std::int32_t nn = 0, im = 0, iout = 0;
    trlnu(form, value, chr, nn, chl, im);
    dim<float, 1, 32> out;
    trlch(132, text<132>(input), iout, out);
    if (iout < 0 || iout > 32) abort();
    // What a question shows is read back as what it shows.
    if (!(std::fabs(value) < 9999.0f) || (value < 0.0f && value > -0.01f)) return;
    form = "f8.2";
    trlnu(form, value, chr, nn, chl, im);
    trlch(80, text<132>(chl.all()), iout, out);
    const text<24> first = chl;
    if (iout != 1 || std::fabs(out(1) - value) > 0.011f + std::fabs(value) * 1e-6f) abort();
    trlnu(form, out(1), chr, nn, chl, im);
    if (chl != first) abort();
}

void fuzzdialogue(bytes input)
{
    keys.put(input);
    dialogue();
}

// The targets, and the file that each replaces by its input.
const struct {
    bytes name;
    const char* file;
    void (*run)(bytes);
} targets[] = {
    {"coefficients", "attenuation.coefficients", fuzzcoefficients},
    {"densities", "dichte.dat", fuzzdensities},
    {"elements", "elements.dat", fuzzelements},
    {"helpfile", "attenuation.help", fuzzhelpfile},
    {"formula", "", fuzzformula},
    {"words", "materials.dat", fuzzwords},
    {"numbers", "", fuzznumbers},
    {"dialogue", "", fuzzdialogue},
};

const auto& target()
{
    const char* const name = std::getenv("FUZZ_TARGET");
    for (const auto& t : targets) {
        if (name != nullptr && t.name == name) return t;
    }
    abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto& chosen = target();
    static const bool entered = (enterdirectory(chosen.file), true);
    (void)entered;
    try {
        chosen.run({reinterpret_cast<const char*>(data), size});
    } catch (const stopped&) {
    }
    clear_history();
    return 0;
}
