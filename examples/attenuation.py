#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Usage: attenuation.py FORMULA keV...

Prints mu/rho in cm2/g of a formula or an element, one energy a line. In a notebook:

    from attenuation import mu, plot
    mu("Fe_2O_3", 14.4)                 # a number
    mu("Fe", [7.11, 7.12, 14.4])        # a list
    plot(["Fe", "Fe_2O_3"], 5, 100)     # needs matplotlib
"""
import os
import re
import shutil
import subprocess
import sys
import warnings
from pathlib import Path

HERE = Path(__file__).resolve().parent


def find():
    """The path of the program: $ATTENUATION, or the installed one, or that of the sources."""
    places = ["attenuation", HERE / "../run", HERE / "../../../../bin/attenuation"]
    if wanted := os.environ.get("ATTENUATION"):
        places = [wanted]
    for place in places:
        if path := shutil.which(place):
            return path
    raise FileNotFoundError(
        f"no command {places[0]}; install it, or name it in the variable ATTENUATION")


def ask(command, formula, first, second):
    """mu/rho at two energies by menu entry 11, whose questions are the same for every formula.

    Its optical depths, here of 100 g/cm2, have four decimals; they are 32-bit numbers, so that
    six digits are kept. An empty answer accepts what was typed before.
    """
    answers = ["0.111", "", formula, "", "0", "", first, "", second, "", "100000", "", "q", ""]
    run = subprocess.run([command], input="\n".join(answers), capture_output=True,
                         encoding="latin-1")
    if run.returncode != 0:
        said = run.stderr.strip() or f"{command}: status {run.returncode}"
        raise RuntimeError(said.splitlines()[-1])
    # Each energy is shown twice, as offered and as accepted.
    energies = re.findall(r"^Photon energy in keV=\[ *(.*)\]", run.stdout, re.M)[1::2]
    depths = re.search(r"^122keV: *(\d+\.\d{4}) 136keV: *(\d+\.\d{4})$", run.stdout, re.M)
    if energies != [first, second] or not depths:
        raise RuntimeError(f"{command} did not answer as expected")
    return [float(f"{float(depth) / 100:.6g}") for depth in depths.groups()]


def mu(formula, kev):
    """mu/rho in cm2/g of a formula such as "Fe_2O_3", or of an element.

    `kev` is an energy or a sequence of energies, and so is the result. Energies are rounded to
    0.01 keV, with a warning where that changes them. Raises ValueError for what cannot be asked,
    and RuntimeError with the program's own message.
    """
    if not re.fullmatch(r"[A-Z][!-~]*", formula):
        raise ValueError(f"{formula!r} is no formula: one begins with a symbol and has no blanks")
    if re.search(r"[A-Z][a-z]_\d\d", formula):
        raise ValueError(f"{formula}: a two-letter symbol takes one digit; write Fe_9Fe_3 for 12")
    if formula.isalpha():
        formula += "_1"
    several = hasattr(kev, "__len__") and not isinstance(kev, str)
    energies = []
    for energy in map(float, kev if several else [kev]):
        if not 0 < energy < 99999.995:
            raise ValueError(f"{energy} keV is not between 0 and 99999.99")
        energies.append(f"{energy:.2f}")
        if abs(energy - float(energies[-1])) > 1e-9:
            warnings.warn(f"{energy} keV is taken as {energies[-1]}, with two decimals",
                          stacklevel=2)

    command, values = find(), []
    for i in range(0, len(energies), 2):
        pair = (energies[i:i + 2] * 2)[:2]
        values += ask(command, formula, *pair)
    return values[:len(energies)] if several else values[0]


def plot(formulas, start, stop, n=300):
    """Draws mu/rho of formulas between two energies, n of them, and gives matplotlib's axes."""
    from matplotlib import pyplot
    grid = sorted({round(start * (stop / start) ** (i / (n - 1)), 2) for i in range(n)})
    axes = pyplot.gca()
    for formula in formulas:
        axes.loglog(grid, mu(formula, grid), label=formula)
    axes.set(xlabel="photon energy / keV", ylabel="mu/rho / (cm2/g)")
    axes.legend()
    return axes


if __name__ == "__main__":
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr, end="")
        sys.exit(2)
    warnings.formatwarning = lambda message, *_: f"{message}\n"
    try:
        wanted = [float(energy) for energy in sys.argv[2:]]
        values = mu(sys.argv[1], wanted)
    except (ValueError, FileNotFoundError) as error:
        print(f"attenuation.py: {error}", file=sys.stderr)
        sys.exit(2)
    except RuntimeError as error:
        sys.exit(str(error))
    for energy, value in zip(wanted, values):
        print(f"{energy:8.2f} {value:#.6g}" if value >= 0.1 else f"{energy:8.2f} {value:.6f}")
