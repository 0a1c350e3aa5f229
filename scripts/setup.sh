# shellcheck shell=bash
# What the scripts of this folder share; they source it.
#
# Each script brings the machine to what it needs and then works. On Debian 12 that takes no
# preparation at all: what is missing is installed, what is there is left alone.

root=$(cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.." && pwd -P)

# Debian packages by purpose. All come from the machine's own architecture: the 32-bit toolchain is
# the multilib one, so no foreign architecture has to be enabled.
# shellcheck disable=SC2034 # the lists are used by the scripts
readonly BUILD_PACKAGES=(cmake ninja-build g++ g++-multilib zlib1g-dev lib32z1-dev libboost-dev)
# shellcheck disable=SC2034
readonly TEST_PACKAGES=(googletest pkgconf binutils python3 gdb doxygen lowdown mandoc
    abigail-tools dpkg-dev lintian)
# shellcheck disable=SC2034
readonly DOC_PACKAGES=(doxygen lowdown python3)
# shellcheck disable=SC2034
readonly FORMAT_PACKAGES=(clang-format)
# shellcheck disable=SC2034
readonly LINT_PACKAGES=(clang-tidy cppcheck)
# shellcheck disable=SC2034
readonly COVERAGE_PACKAGES=(gcovr)
# shellcheck disable=SC2034
readonly BENCH_PACKAGES=(catch2 libssl-dev libabsl-dev libdeflate-dev libglib2.0-dev libcsv-dev
    openssl pkgconf binutils python3)
# shellcheck disable=SC2034
readonly INSTRUCTION_PACKAGES=(valgrind)
# libFuzzer and the sanitizers' runtimes of clang, for both pointer sizes.
# shellcheck disable=SC2034
readonly FUZZ_PACKAGES=(clang libclang-rt-dev)

declare -rA PACKAGE_PURPOSE=(
    [cmake]="configures the build"
    [ninja-build]="runs the build"
    [g++]="compiles for x86-64"
    [g++-multilib]="compiles for 32-bit x86"
    [zlib1g-dev]="zlib, headers and the 64-bit library"
    [lib32z1-dev]="zlib, the 32-bit library"
    [libboost-dev]="boost::shared_ptr in the zlib interface"
    [googletest]="sources of the test framework"
    [pkgconf]="finds libraries"
    [binutils]="the tests read the exported symbols"
    [gdb]="the tests have it show the library's objects"
    [doxygen]="makes the site of the documents"
    [lowdown]="makes the man pages, and HTML of the documents"
    [mandoc]="checks the man pages"
    [abigail-tools]="compares the libraries with what programs were compiled against"
    [dpkg-dev]="tells what packages depend on"
    [lintian]="checks packages"
    [clang-format]="formats the sources"
    [clang-tidy]="checks the sources"
    [clang]="compiles for the fuzzer"
    [libclang-rt-dev]="the fuzzer, for both pointer sizes"
    [cppcheck]="checks the sources"
    [gcovr]="tells which lines were run"
    [catch2]="times calls"
    [libssl-dev]="OpenSSL, to compare with"
    [libabsl-dev]="Abseil, to compare with"
    [libdeflate-dev]="libdeflate, to compare with"
    [libglib2.0-dev]="GLib, to compare with"
    [libcsv-dev]="libcsv, to compare with"
    [openssl]="the command, to compare with"
    [valgrind]="counts instructions"
    [python3]="makes tables of what was measured, and takes documents apart"
)

say() { printf '%s\n' "$*"; }

fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# Prints the comment at the top of the calling script, which is its help.
print_help() { awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "$0"; }

# Runs a command whose output matters only when it fails.
quietly() {
    local output status=0
    output=$("$@" 2>&1) || status=$?
    if ((status != 0)); then
        printf '%s\n' "$output" >&2
    fi
    return "$status"
}

package_is_installed() {
    dpkg-query -W -f '${db:Status-Status} ${Architecture}\n' "$1" 2>/dev/null |
        grep -xE "installed (all|$(dpkg --print-architecture))" >/dev/null
}

# Installs those of the named packages that are missing. NURICCL_SETUP=skip turns this off for
# systems that get the tools in another way.
require_packages() {
    if [[ ${NURICCL_SETUP-} == skip ]]; then
        return
    fi
    if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
        {
            say "${0##*/}: this system has no apt-get. Install what these Debian packages contain:"
            printf '    %s\n' "$@"
            say "and call again with NURICCL_SETUP=skip in the environment."
        } >&2
        exit 1
    fi
    if [[ $(dpkg --print-architecture) != amd64 ]]; then
        fail "the 32-bit toolchain is set up for Debian on x86-64 (amd64), and this is" \
            "$(dpkg --print-architecture). NURICCL_SETUP=skip goes on with the tools at hand."
    fi
    local package missing=()
    for package in "$@"; do
        package_is_installed "$package" || missing+=("$package")
    done
    if ((${#missing[@]} != 0)); then
        install_packages "${missing[@]}"
    fi
}

install_packages() {
    local package as_root=(env DEBIAN_FRONTEND=noninteractive)
    say "Installing from Debian's archive (this takes a few minutes on a fresh machine):"
    for package in "$@"; do
        printf '    %-15s %s\n' "$package" "${PACKAGE_PURPOSE[$package]}"
    done
    if ((EUID != 0)); then
        command -v sudo >/dev/null ||
            fail "neither root nor sudo. As root, run: apt-get install --no-install-recommends $*"
        sudo -n true 2>/dev/null ||
            fail "sudo asks for a password. Run: sudo apt-get install --no-install-recommends $*"
        as_root=(sudo -n "${as_root[@]}")
    fi
    # An installation that was interrupted would make apt-get refuse.
    quietly "${as_root[@]}" dpkg --configure -a </dev/null
    quietly "${as_root[@]}" apt-get update -q </dev/null ||
        say "The package lists could not be renewed; going on with those at hand."
    quietly "${as_root[@]}" apt-get install -q -y --no-install-recommends \
        -o DPkg::Lock::Timeout=300 "$@" </dev/null ||
        fail "apt-get could not install: $*"
}

# configure FOLDER PRESET [CMAKE ARGUMENT...]
#
# A folder that was made in another place, for another compiler than the one that is asked for, or
# never finished being made, would be refused by CMake or keep wrong answers: it holds nothing but
# generated files and is made anew.
configure() {
    local folder=$1 preset=$2
    shift 2
    if [[ -e $folder ]] && ! build_folder_is_sound "$folder"; then
        say "Starting $folder anew: made elsewhere, for another compiler, or left half-made."
        rm -rf -- "$folder"
    fi
    (cd -- "$root" && quietly cmake --preset "$preset" -B "$folder" "$@")
}

build_folder_is_sound() {
    [[ -e $1/build.ninja && $(cached CMAKE_CACHEFILE_DIR "$1") -ef $1 &&
        $(cached CMAKE_HOME_DIRECTORY "$1") -ef $root ]] || return
    # Arguments of the compiler may follow in it.
    [[ -z ${CXX-} || $(command -v "${CXX%% *}") -ef \
        $(command -v "$(cached CMAKE_CXX_COMPILER "$1")") ]]
}

cached() { sed -n "s/^$1:[A-Z]*=//p" "$2/CMakeCache.txt" 2>/dev/null; }
