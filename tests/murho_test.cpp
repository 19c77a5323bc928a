// SPDX-License-Identifier: GPL-3.0-or-later
// The command for one line of the shell, and its reader of formulas.
#include "calc/attenuation.h"
#include "calc/formula.h"
#include "tests/session.h"

namespace {

// Tells the atoms of a formula, or where it cannot be read.
void tellformula(const std::string& formula)
{
    std::filesystem::current_path(DATA_DIR);
    elementlist<uranium> list;
    list.read();
    atoms found;
    const formulafault fault = readformula(formula, list.symbols(), found);
    if (fault.what != nullptr) return tell(fault.position, fault.what);
    for (int k = 1; k <= found.n; ++k) tell(found.element(k), found.count(k));
}

}  // namespace

TEST(Murho, Cases)
{
    const workdirectory here;  // without any table
    setenv("MURHO", MURHO, 1);
    setenv("ATTENUATION_DATA", DATA_DIR, 1);
    checks check;
    check["formulas"] = [](auto& c) { c.expectin(said([&c] { tellformula(c[0]); }), 1); };
    // What it says goes to one place, and its status after it.
    check["commands"] = [&here](auto& c) {
        std::filesystem::current_path(here.path);
        const std::string command = "{ " + c[0] + "; } 2>&1; echo \"($?)\"";
        c.expectin(said([&] { execl("/bin/sh", "sh", "-c", command.c_str(), nullptr); }), 1);
    };
    cases("murho.txt", check);
}
