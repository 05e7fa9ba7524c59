#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Sourced by ./demo and ./test: makes sure that the machine has what a build needs, and says what
# it installs before it does so. On Debian and its relatives apt brings what is missing; elsewhere
# the missing things are named, and the caller stops. Started by itself it does the same for one
# kind of need: scripts/install.sh program|tests|study|r.

say() { printf '%s\n' "$*"; }
complain() { printf '%s\n' "$*" >&2; }
has() { command -v "$1" > /dev/null 2>&1; }

# The compiler that CMake would take: the caller's CXX, or the first one found.
compiler() {
    local name
    for name in ${CXX:+"$CXX"} c++ g++ clang++; do
        if has "$name"; then
            printf '%s' "$name"
            return 0
        fi
    done
    return 1
}

# compiles COMPILER PROGRAM [FLAG...]: whether the compiler makes an executable of the program.
compiles() {
    local name=$1 program=$2 folder status=0
    shift 2
    folder=$(mktemp -d)
    printf '%s\n' "$program" > "$folder/probe.cpp"
    "$name" -o "$folder/probe" "$folder/probe.cpp" "$@" > "$folder/log" 2>&1 || status=1
    rm -rf "$folder"
    return "$status"
}

# Each takes the name of a compiler.
has_compiler() { compiles "$1" 'int main() { return 0; }'; }
has_openmp() {
    compiles "$1" '#include <omp.h>
int main() { return omp_get_num_procs() == 0; }' -fopenmp
}
has_gsl() {
    compiles "$1" '#include <gsl/gsl_rng.h>
int main() { return gsl_rng_mt19937 == nullptr; }' -lgsl -lgslcblas -lm
}
has_doctest() {
    compiles "$1" '#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <doctest/doctest.h>' -std=c++11
}
# The Python that has NumPy, which recomputes reports: the first one found, or the system's own.
numpy_python() {
    local name
    for name in python3 /usr/bin/python3; do
        if has "$name" && "$name" -c 'import numpy' 2> /dev/null; then
            printf '%s' "$name"
            return 0
        fi
    done
    return 1
}
has_make() { has make || has ninja; }
has_cmake() {
    local version
    has cmake || return 1
    version=$(cmake --version | sed -n '1s/[^0-9]*//p')
    [ "$(printf '%s\n' 3.18 "$version" | sort -V | head -n 1)" = 3.18 ]
}

# missing_for COMPILER: the packages that bring it and its OpenMP, as far as they lack. g++ has an
# OpenMP of its own.
missing_for() {
    case "$1" in
        *clang*)
            if ! has_compiler "$1"; then printf 'clang libomp-dev '
            elif ! has_openmp "$1"; then printf 'libomp-dev '; fi
            ;;
        *) has_openmp "$1" || printf 'g++ ' ;;
    esac
}

# r_needs FIELDS: what the R package in r/kelpra imports, or imports and suggests.
r_needs() {
    awk -v fields="^($1):" '/^[A-Za-z]/ { wanted = $0 ~ fields; sub(/^[^:]*:/, "") } wanted' r/kelpra/DESCRIPTION |
        sed 's/([^)]*)//g' | tr -s ', ' '\n' | grep -vxE '|stats|tools|utils|graphics|grDevices|methods|parallel'
}
# missing_for_r study|r: the packages that the R package needs to run, or to be tested and built.
missing_for_r() {
    local name fields=Imports
    has Rscript || printf 'r-base-core '
    if [ "$1" = r ]; then
        fields='Imports|Suggests'
        has pandoc || printf 'pandoc '
    fi
    for name in $(r_needs "$fields"); do
        Rscript -e "loadNamespace('$name')" > /dev/null 2>&1 || printf 'r-cran-%s ' "${name,,}"
    done
}

# missing_packages program|tests|study|r COMPILER...: the packages that a build of the program, or of
# the program and its tests, by these compilers, or the R package or its tests lack.
missing_packages() {
    local kind=$1 name
    shift
    case "$kind" in
        study | r)
            missing_for_r "$kind"
            return
            ;;
    esac
    for name in "$@"; do missing_for "$name"; done
    has_make || printf 'make '
    has_cmake || printf 'cmake '
    has_gsl "$1" || printf 'libgsl-dev '
    if [ "$kind" = tests ]; then
        has_doctest "$1" || printf 'doctest-dev '
        numpy_python > /dev/null || printf 'python3-numpy '
    fi
}

# apt_as_root ARGUMENT...: apt-get, quiet and without a question, waiting for another apt to end.
apt_as_root() {
    local -a command=(env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
    [ "$(id -u)" -eq 0 ] || command=(sudo "${command[@]}")
    "${command[@]}" "$@" < /dev/null
}

# install_needs program|tests|study|r [COMPILER...]: installs what is missing, for the compiler that CMake
# would take if none is named. Stops the caller if it cannot.
install_needs() {
    local kind=$1 missing
    local -a packages compilers
    shift
    compilers=("$@")
    [ $# -gt 0 ] || compilers=("$(compiler || printf 'g++')")
    missing=$(missing_packages "$kind" "${compilers[@]}")
    [ -n "$missing" ] || return 0
    read -r -a packages <<< "$missing"

    if ! has apt-get; then
        complain "These are missing (named as Debian packages): $missing"
        complain "Please install them, CMake in version 3.18 or later, and start again."
        exit 1
    fi
    if [ "$(id -u)" -ne 0 ] && ! has sudo; then
        complain "These packages are missing: $missing"
        complain "Please let an administrator run this, and start again:"
        complain "    apt-get update && apt-get install -y --no-install-recommends $missing"
        exit 1
    fi

    say "These packages are missing and will be installed through apt: $missing"
    apt_as_root update
    apt_as_root install -y --no-install-recommends "${packages[@]}"

    missing=$(missing_packages "$kind" "${compilers[@]}")
    if [ -n "$missing" ]; then
        complain "Still missing after the installation, or too old: $missing"
        exit 1
    fi
}

# build FOLDER TARGET [OPTION...]: configures and builds one target; CMake's words go to a log,
# which is shown if something goes wrong.
build() {
    local folder=$1 target=$2 log
    shift 2
    mkdir -p "$folder"
    log=$folder/build.log
    has make || export CMAKE_GENERATOR=Ninja # read by CMake when a folder is configured first
    say "Building $target in $folder (log: $log)"
    if ! { cmake -S . -B "$folder" "$@" &&
        cmake --build "$folder" --target "$target" --parallel "$(nproc)"; } > "$log" 2>&1; then
        cat "$log" >&2
        complain "The build failed."
        exit 1
    fi
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
    set -euo pipefail
    cd "$(dirname "$0")/.."
    case "${1-}" in
        program | tests | study | r) install_needs "$@" ;;
        *)
            complain "usage: scripts/install.sh program|tests|study|r"
            exit 2
            ;;
    esac
fi
