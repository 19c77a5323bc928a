# SPDX-License-Identifier: GPL-3.0-or-later
# tools/setup.sh: installing and building, shared by ./run and ./check, which source this file.
#
# To be sourced with the repository as the current directory and $root its path, free of links.
# Nothing reads standard input or writes to standard output. Standard error gets a line only when
# something is done or fails.
# shellcheck shell=bash disable=SC2034

builddir=${root:?}/build
log=$builddir/log

# What is needed: how to tell that it is there (a command, a module of pkg-config, a library of
# clang's runtime, or the package), and the Debian package that brings it.
for_program=(
    "command c++         g++"
    "command cmake       cmake"
    "command make        make"
    "command pkg-config  pkg-config"
    "module readline     libreadline-dev"
    "module tinfo        libncurses-dev"
)
for_tests=(
    "module gtest_main   libgtest-dev"
    "module vterm        libvterm-dev"
)

for_fuzzing=(
    "command clang++     clang"
    "runtime fuzzer      libclang-rt-dev"
)
for_examples=(
    "command gnuplot     gnuplot-nox"
    "command python3     python3"
)
for_packaging=(
    "command mandoc      mandoc"
    "command perl        perl"
)
for_package=(
    "command reuse       reuse"
    "command lintian     lintian"
    "command dh          debhelper"
    "command latex       texlive-latex-base"
    "package build-essential build-essential"
)
for_everything=(
    "command valgrind    valgrind"
    "command clang-tidy  clang-tidy"
    "command clang-format clang-format"
    "command shellcheck  shellcheck"
    "command cppcheck    cppcheck"
    "module libxrl       libxrl-dev"
    "${for_examples[@]}"
    "${for_packaging[@]}"
    "${for_package[@]}"
)

say() { printf 'attenuation: %s\n' "$*" >&2; }

# Prints the packages of those needs that are not met, each after a blank.
missing() {
    local need kind name package
    for need; do
        read -r kind name package <<<"$need"
        case $kind in
            command) command -v "$name" >/dev/null ;;
            module) pkg-config --exists "$name" 2>/dev/null ;;
            package) dpkg-query -W "$name" >/dev/null 2>&1 ;;
            runtime) compgen -G "/usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.$name-*.a" >/dev/null ;;
        esac || printf ' %s' "$package"
    done
}

# Runs a command; what it prints is kept in the log.
logged() { "$@" </dev/null >>"$log" 2>&1; }

# The same for a step that must succeed: if it fails, shows the end of what it printed, and ends. Many
# failures of apt have one cause; the last line names it.
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

# Starts an empty log.
startlog() {
    { mkdir -p "$builddir" && : >"$log"; } 2>/dev/null && return
    local from
    printf -v from %q "$root"
    say "cannot write to $builddir; to build elsewhere and start from there:"
    say "    cmake -S $from -B ~/attenuation-build -DBUILD_TESTING=OFF && cmake --build ~/attenuation-build"
    say "    cd $from/data && TANOHEPATH=. ~/attenuation-build/attenuation"
    exit 1
}

# Installs what is missing; ends if that is impossible.
install_missing() {
    local packages apt=(env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get)
    read -ra packages <<<"$(missing "$@")"
    [[ ${#packages[@]} -eq 0 ]] && return

    if ! command -v apt-get >/dev/null; then
        say "there is no apt-get here; please install what these Debian packages contain:"
        say "    ${packages[*]}"
        exit 1
    elif [[ $EUID -ne 0 ]] && ! command -v sudo >/dev/null; then
        say "packages are missing, and without sudo only root can install them:"
        say "    apt-get install --no-install-recommends ${packages[*]}"
        exit 1
    elif [[ $EUID -ne 0 ]]; then
        apt=(sudo "${apt[@]}")
    fi

    startlog
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

# Configures and builds, one caller at a time.
#   $1       ON to configure the tests too, OFF to do so only where what they need is there
#   $2 ...   what to build
build() {
    local testing=$1
    shift
    [[ -n $(missing "${for_tests[@]}") ]] || testing=ON  # for whoever runs ctest next
    startlog
    {
        flock 9
        touch "$builddir/begun"  # what changes from now on makes the build stale again
        # `--fresh` where the directory was configured for another place, say before a move.
        local fresh=()
        grep -Fqsx "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$builddir/CMakeCache.txt" ||
            fresh=(--fresh)
        must cmake --preset release "${fresh[@]}" -DBUILD_TESTING="$testing"
        must cmake --build "$builddir" --parallel "$(nproc)" --target "$@"
        mv "$builddir/begun" "$builddir/built"
    } 9>"$builddir/lock"
}
