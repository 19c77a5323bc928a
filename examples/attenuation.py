# SPDX-License-Identifier: GPL-3.0-or-later
"""The numbers of the command murho for Python and notebooks.

    from attenuation import mu, transmission, plot
    mu("Fe2O3", 14.4)                           # cm2/g
    mu("steel304", [7.11, 7.12, "MoKa1"])       # a list; an array for a numpy array
    transmission(["Be=0.5mm", "air=10cm"], 8.05)
    plot(["Fe", "Fe2O3"], 5, 100)               # needs matplotlib

What murho refuses raises ValueError, any other failure of it RuntimeError, with its message.
"""
import os
import shutil
import subprocess
from pathlib import Path

HERE = Path(__file__).resolve().parent


def find():
    """The path of the command: $MURHO, or the installed one, or that of the sources."""
    places = ["murho", HERE / "../build/murho", HERE / "../../../../bin/murho"]
    if wanted := os.environ.get("MURHO"):
        places = [wanted]
    for place in places:
        if path := shutil.which(place):
            return path
    raise FileNotFoundError(f"command {places[0]!r} not found; name it in the variable MURHO")


def murho(words, energies=()):
    """The columns of the answer to words as on the shell, and to energies if there are any among
    them: the names, and a list of numbers for each, that of the energies first."""
    typed = "".join(f"{e if isinstance(e, str) else repr(float(e))}\n" for e in energies)
    run = subprocess.run([find(), *words], input=typed, capture_output=True,
                         encoding="utf-8", errors="surrogateescape")
    if run.returncode != 0:
        fault = ValueError if run.returncode == 2 else RuntimeError
        raise fault(run.stderr.strip() or f"murho: status {run.returncode}")
    lines = run.stdout.splitlines()
    rows = [map(float, line.split("#")[0].split()) for line in lines if line[0] != "#"]
    names = lines[0].split()[1:]
    return names, [list(column) for column in zip(*rows)] or [[] for _ in names]


def answer(words, kev):
    """What murho says at an energy, or at each of several: a number, a list or an array."""
    if hasattr(kev, "__array__"):
        import numpy
        values = answer(words, numpy.ravel(kev).tolist())
        return numpy.reshape(values, numpy.shape(kev))[()]
    several = hasattr(kev, "__iter__") and not isinstance(kev, str)
    energies = list(kev) if several else [kev]
    values = murho(["--", *words], energies)[1][1]
    if len(values) != len(energies):
        raise ValueError(f"{kev!r}: expected single energies")
    return values if several else values[0]


def mu(absorber, kev):
    """mu/rho in cm2/g of an absorber; `kev` is an energy or line, or a sequence of them."""
    if "=" in absorber:
        raise ValueError(f"{absorber!r}: mu takes no thickness")
    return answer([absorber], kev)


def transmission(layers, kev):
    """The part that passes layers such as "Be=0.5mm" or ["Be=0.5mm", "air=10cm"]."""
    words = [layers] if isinstance(layers, str) else list(layers)
    if not all("=" in word for word in words):
        raise ValueError(f"{layers!r}: expected a thickness for each layer, such as Fe=25um")
    return answer(words, kev)


def plot(absorbers, start, stop):
    """Draws mu/rho of absorbers, or the transmission of layers, between two energies in keV,
    with both sides of each edge. Returns matplotlib's axes."""
    from matplotlib import pyplot
    words = [absorbers] if isinstance(absorbers, str) else absorbers
    names, (energies, *columns) = murho([*words, f"{start}:{stop}"])
    axes = pyplot.gca()
    for name, values in zip(names[1:], columns):
        axes.plot(energies, values, label=name.removesuffix("[cm2/g]"))
    layers = names[1] == "transmission"
    axes.set(xscale="log", xlabel="photon energy / keV", yscale="linear" if layers else "log",
             ylabel="transmission" if layers else "mu/rho / (cm2/g)")
    axes.legend()
    return axes
