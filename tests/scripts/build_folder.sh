#!/bin/bash
# Which build folders the scripts keep and which they make anew. CMake and the compilers are
# stand-ins: nothing is built.
#
# usage: build_folder.sh <root of the source tree>
set -euo pipefail
unset CXX
# shellcheck source=../../scripts/setup.sh source-path=SCRIPTDIR
source "$1/scripts/setup.sh"

scratch=$(mktemp -d)
trap 'rm -rf -- "$scratch"' EXIT
folder=$scratch/build

for program in cmake one two; do
    printf '#!/bin/sh\n' >"$scratch/$program"
    chmod +x "$scratch/$program"
done
ln -s one "$scratch/alias-of-one"
PATH=$scratch:$PATH

# As CMake leaves it, made with the compiler "one".
make_folder() {
    rm -rf -- "$folder"
    mkdir -- "$folder"
    cat >"$folder/CMakeCache.txt" <<END
CMAKE_CACHEFILE_DIR:INTERNAL=$folder
CMAKE_CXX_COMPILER:FILEPATH=$scratch/one
CMAKE_HOME_DIRECTORY:INTERNAL=$root
END
    touch "$folder/build.ninja" "$folder/object"
}

# expect kept|anew WHY [VARIABLE=VALUE]: configures the folder as it is.
expect() {
    local found=anew
    (
        (($# < 3)) || export "${3?}"
        configure "$folder" preset >"$scratch/output"
    )
    [[ ! -e $folder/object ]] || found=kept
    [[ $found == "$1" ]] || fail "$2: $found, not $1"
    if [[ $1 == anew ]]; then
        grep -qF "Starting $folder anew" "$scratch/output" || fail "$2: nothing is said"
    elif [[ -s $scratch/output ]]; then
        fail "$2: $(<"$scratch/output")"
    fi
}

make_folder
expect kept "no compiler is asked for"
expect kept "an empty name asks for no compiler" CXX=
expect kept "its compiler is asked for" CXX=one
expect kept "its compiler is asked for by path" "CXX=$scratch/one"
expect kept "its compiler is asked for by another name" CXX=alias-of-one
expect kept "its compiler is asked for with arguments" "CXX=one -m32"
expect anew "another compiler is asked for" CXX=two
make_folder
expect anew "a compiler that is not there is asked for" CXX=three
make_folder
rm -- "$scratch/one"
expect anew "its compiler is gone, and another is asked for" CXX=two
make_folder
rm -- "$folder/build.ninja"
expect anew "it was left half-made"
make_folder
rm -- "$folder/CMakeCache.txt"
expect anew "it has no cache"
make_folder
sed -i "s|^\(CMAKE_HOME_DIRECTORY.*=\).*|\1$scratch|" "$folder/CMakeCache.txt"
expect anew "it is of other sources"
make_folder
sed -i "s|^\(CMAKE_CACHEFILE_DIR.*=\).*|\1$scratch|" "$folder/CMakeCache.txt"
expect anew "it was moved"
