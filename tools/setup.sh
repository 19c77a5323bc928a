# SPDX-License-Identifier: GPL-3.0-or-later
# tools/setup.sh: installing and building, shared by ./run, ./check and the tools.
#
# To be sourced with the repository as the current directory and $root its path, free of links.
# Nothing reads standard input or writes to standard output. Standard error gets a line only when
# something is done or fails.
# shellcheck shell=bash disable=SC2034

builddir=${root:?}/build
log=$builddir/log

# The Debian packages that each task needs.
for_program=(g++ cmake make pkgconf libreadline-dev libncurses-dev)
for_tests=(libgtest-dev libvterm-dev)
for_fuzzing=(clang libclang-rt-dev)
for_package=(git reuse lintian debhelper texlive-latex-base build-essential)
for_everything=(valgrind clang-tidy clang-format shellcheck cppcheck libxrl-dev gnuplot-nox python3
    mandoc "${for_package[@]}")

say() { printf 'attenuation: %s\n' "$*" >&2; }

# Prints those of the packages that are not installed, each after a blank.
missing() {
    local package
    for package; do
        [[ $(dpkg-query -Wf '${db:Status-Status}' "$package" 2>/dev/null) == installed* ]] ||
            printf ' %s' "$package"
    done
}

# Runs a command; what it prints is kept in the log.
logged() { "$@" </dev/null >>"$log" 2>&1; }

# The same for a step that must succeed: if it fails, shows the end of what it printed, and ends.
# Many failures of apt have one cause; the last line names it.
must() {
    logged "$@" && return
    tail -n 20 "$log" >&2
    say "failed: $*"
    say "the whole log: $log"
    if grep -q "^[EW].*\(resolving\|resolve\|connect\|unreachable\)" "$log"; then
        say "the cause: no connection to the package server; check the network"
    fi
    exit 1
}

# Starts an empty log and installs the packages that are missing; ends if that is impossible.
install_missing() {
    if ! { mkdir -p "$builddir" && : >"$log"; } 2>/dev/null; then
        say "cannot write to $builddir; copy the sources to a directory of your own"
        exit 1
    fi
    local packages apt=(env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get)
    read -ra packages <<<"$(missing "$@")"
    if [[ ${#packages[@]} -eq 0 ]]; then
        return
    elif ! command -v apt-get >/dev/null; then
        say "apt-get not found; the build needs what these Debian packages contain: ${packages[*]}"
        return
    elif [[ $EUID -ne 0 ]] && ! command -v sudo >/dev/null; then
        say "packages are missing, and without sudo only root can install them:"
        say "    apt-get install --no-install-recommends ${packages[*]}"
        exit 1
    elif [[ $EUID -ne 0 ]]; then
        apt=(sudo "${apt[@]}")
    fi
    say "installing ${packages[*]}"
    logged "${apt[@]}" update || true  # one source out of order need not matter
    must "${apt[@]}" -o DPkg::Lock::Timeout=120 install -y --no-install-recommends "${packages[@]}"
}

# True when no source has changed since the last build. Directories count too: they change when a
# file is added, renamed or removed.
uptodate() {
    [[ -x $builddir/attenuation && -x $builddir/murho && -e $builddir/built ]] &&
        [[ -z $(find base calc help murho prompt terminal CMakeLists.txt CMakePresets.json \
            -newer "$builddir/built" -print -quit) ]]
}

# Configures and builds, one caller at a time, after install_missing.
#   $1       ON to configure the tests too, OFF to do so only where what they need is there
#   $2 ...   what to build
build() {
    local testing=$1 fresh=()
    shift
    [[ -n $(missing "${for_tests[@]}") ]] || testing=ON  # for whoever runs ctest next
    {
        flock 9
        touch "$builddir/begun"  # what changes from now on makes the build stale again
        # The directory may be configured for another place, say before a move.
        grep -Fqsx "CMAKE_HOME_DIRECTORY:INTERNAL=$root" build/CMakeCache.txt || fresh=(--fresh)
        must cmake --preset release "${fresh[@]}" -DBUILD_TESTING="$testing"
        must cmake --build "$builddir" --parallel "$(nproc)" --target "$@"
        mv "$builddir/begun" "$builddir/built"
    } 9>"$builddir/lock"
}
