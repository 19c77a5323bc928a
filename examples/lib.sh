# SPDX-License-Identifier: GPL-3.0-or-later
# Shared by the examples, which source it: checks what was typed, finds the program and asks it for
# mu/rho.
# shellcheck shell=bash
set -u
export LC_ALL=C  # a decimal point whatever the language

examples=$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }
fail() { say "$*"; exit 2; }

# The head comment of the example is its usage.
usage() {
    sed -n '3,/^[^#]/s/^# \{0,1\}//p' -- "$0" >&2
    exit 2
}

# Ends unless all are numbers above 0. The patterns span the whole argument, line breaks included.
neednumbers() {
    local number pattern='^([0-9]+\.?[0-9]*|\.[0-9]+)([eE][-+]?[0-9]{1,2})?$'
    for number; do
        if [[ ! $number =~ $pattern || $number =~ ^[0.]*([eE]|$) ]]; then
            fail "$(printf %q "$number") is no number above 0"
        fi
    done
}

# Sets `program`, the path of the program: $ATTENUATION, or the installed one, or ./run of the
# sources, or that of the installation which the examples belong to.
findprogram() {
    local place places=(attenuation "$examples/../run" "$examples/../../../../bin/attenuation")
    [[ -z ${ATTENUATION-} ]] || places=("$ATTENUATION")
    for place in "${places[@]}"; do
        ! program=$(type -P -- "$place") || return 0
    done
    fail "no command ${places[0]}; install it, or name it in the variable ATTENUATION"
}

# Sets `energies` to the numbers, with the two decimals that the program keeps; a note says which of
# them had more.
roundenergies() {
    local number exact
    energies=()
    neednumbers "$@"
    for number; do
        printf -v exact %.9f "$number"
        printf -v number %.2f "$number"
        [[ $exact == "${number}0000000" ]] || say "$1 keV is taken as $number, with two decimals"
        [[ ${#number} -le 8 ]] || fail "$1 keV is above 99999.99"
        energies+=("$number")
        shift
    done
}

# Sets `formula` to what the program understands: an element's symbol becomes a formula. What could
# be taken for another answer ("he", "q", a line break, nothing), or be read as another count than
# was meant, is refused; all else the program judges itself.
setformula() {
    formula=$1
    [[ $formula =~ ^[A-Z][!-~]*$ ]] ||
        fail "$(printf %q "$formula") is no formula: one begins with a symbol and has no blanks"
    [[ ! $formula =~ [A-Z][a-z]_[0-9][0-9] ]] ||
        fail "$formula: a two-letter symbol takes one digit; write Fe_9Fe_3 for 12"
    [[ ! $formula =~ ^[A-Za-z]+$ ]] || formula+=_1
}

# Answers the questions of menu entry 11, which are the same for every formula: two energies, no
# density, 100 g/cm2. Every typed answer is followed by an empty one that accepts it.
answers() { printf '%s\n' 0.111 '' "$formula" '' 0 '' "$1" '' "$2" '' 100000 '' q; }

# Prints a line "keV mu/rho" (cm2/g) for each of the `energies`, or ends with the program's message
# and status. The optical depths of 100 g/cm2 hold mu/rho with six decimals.
murho() {
    local said i
    setformula "$1"
    said=$(for ((i = 0; i < ${#energies[@]}; i += 2)); do
        answers "${energies[i]}" "${energies[i + 1]-${energies[i]}}" | "$program" || exit
    done) || exit
    awk -F '[][]' -v want="${energies[*]}" '
        function value(depth) {
            if (n == count || depth !~ /^ *[0-9]+\.[0-9]+$/ || shown[n + 1] != keV[n + 1]) return
            printf (depth + 0 < 10 ? "%8s %.6f\n" : "%8s %#.6g\n"), keV[++n], depth / 100
        }
        BEGIN { count = split(want, keV, " ") }
        /^Photon energy/ && ++asked % 2 == 0 { shown[asked / 2] = $2 }  # offered, then accepted
        /^122keV:/ { value(substr($0, 8, 12)); value(substr($0, 29, 12)) }
        END { exit n < count }
    ' <<<"$said" || fail "$program did not answer as expected"
}
