// SPDX-License-Identifier: GPL-3.0-or-later
// bench/bench.cpp: speed of single steps, on the shipped tables.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "calc/attenuation.h"
#include "help/comhelp.h"
#include "terminal/key.h"

namespace {

// Lets standard input begin with the given answers again.
void answers(const char* keys)
{
    static const int file = memfd_create("answers", 0);
    if (ftruncate(file, 0) < 0 || pwrite(file, keys, std::strlen(keys), 0) < 0) std::abort();
    lseek(file, 0, SEEK_SET);
    dup2(file, STDIN_FILENO);
}

// The menu writes to standard output, which is of no interest here; the report goes elsewhere.
void quietly(bool quiet)
{
    static const int report = dup(STDOUT_FILENO), nowhere = open("/dev/null", O_WRONLY);
    flushoutput();
    dup2(quiet ? nowhere : report, STDOUT_FILENO);
}

void element(benchmark::State& state)
{
    for (auto _ : state) {
        text<16> numberline;
        float atc = 0.0f;
        findblock("Iron", 4);
        coefficients.next(numberline);
        attenuation(14.4f, atc);
        benchmark::DoNotOptimize(atc);
    }
}
BENCHMARK(element);

void compound12(benchmark::State& state)
{
    elementlist elements;
    readelements(elements);
    text<132> formula("Pb_1Tl_1Hg_1Au_1Pt_1Ir_1Os_1Re_1W_1Ta_1Hf_1Lu_1");
    dim<std::int32_t, 1, 12> indx, mult;
    std::int32_t j = 0;
    contentformula(formula, elements.es, j, indx, mult);
    quietly(true);
    for (auto _ : state) {
        float energy = 122.0f, atc = 0.0f;
        answers("\n");
        atcoefficient(5, 6, j, indx, mult, elements.ename, elements.emolweight, energy, atc);
        benchmark::DoNotOptimize(atc);
    }
    quietly(false);
}
BENCHMARK(compound12);

void menu(benchmark::State& state)
{
    window(1);
    quietly(true);
    for (auto _ : state) {
        std::int32_t lq = 11, lk = 11;
        for (int k = 1; k <= lq; ++k) scrd.queryar(k) = "an entry of the menu";
        text<132> header("select");
        text<80> offered("entry");
        offered(80) = '#';
        answers("\n");
        query(lq, lk, header, offered);
    }
    quietly(false);
}
BENCHMARK(menu);

const bool indatadirectory = chdir(DATA_DIR) == 0;

}  // namespace
