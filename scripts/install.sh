# shellcheck shell=bash
# Sourced by ./demo and ./test: makes sure that the machine has what a build needs, and says what
# it installs before it does so. On Debian and its relatives apt brings what is missing; elsewhere
# the missing things are named, and the caller stops.

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

# compiles PROGRAM [FLAG...]: whether the compiler makes an executable of the program.
compiles() {
    local program=$1 name folder status=0
    shift
    name=$(compiler) || return 1
    folder=$(mktemp -d)
    printf '%s\n' "$program" > "$folder/probe.cpp"
    "$name" -o "$folder/probe" "$folder/probe.cpp" "$@" > "$folder/log" 2>&1 || status=1
    rm -rf "$folder"
    return "$status"
}

has_compiler() { compiles 'int main() { return 0; }'; }
has_gsl() {
    compiles '#include <gsl/gsl_rng.h>
int main() { return gsl_rng_mt19937 == nullptr; }' -lgsl -lgslcblas -lm
}
has_openmp() {
    compiles '#include <omp.h>
int main() { return omp_get_num_procs() == 0; }' -fopenmp
}
has_doctest() {
    compiles '#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <doctest/doctest.h>' -std=c++11
}
has_make() { has make || has ninja; }
has_cmake() {
    local version
    has cmake || return 1
    version=$(cmake --version | sed -n '1s/[^0-9]*//p')
    [ "$(printf '%s\n' 3.18 "$version" | sort -V | head -n 1)" = 3.18 ]
}

# Debian's name of the package that brings OpenMP: g++ has its own, clang++ needs libomp-dev.
openmp_package() {
    case "$(compiler || true)" in
        *clang*) printf 'libomp-dev' ;;
        *) printf 'g++' ;;
    esac
}

# missing_packages program|tests: the packages that a build of the program, or of the program
# and its tests, lacks.
missing_packages() {
    local -a packages=()
    if has_compiler; then
        has_openmp || packages+=("$(openmp_package)")
    else
        packages+=(g++)
    fi
    has_make || packages+=(make)
    has_cmake || packages+=(cmake)
    has_gsl || packages+=(libgsl-dev)
    if [ "$1" = tests ]; then
        has_doctest || packages+=(doctest-dev)
    fi
    printf '%s' "${packages[*]}"
}

# apt_as_root ARGUMENT...: apt-get, quiet and without a question, waiting for another apt to end.
apt_as_root() {
    local -a command=(env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
    [ "$(id -u)" -eq 0 ] || command=(sudo "${command[@]}")
    "${command[@]}" "$@" < /dev/null
}

# install_needs program|tests: installs what is missing. Stops the caller if it cannot.
install_needs() {
    local kind=$1 missing
    local -a packages
    missing=$(missing_packages "$kind")
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

    missing=$(missing_packages "$kind")
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
