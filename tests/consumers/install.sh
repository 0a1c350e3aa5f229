#!/bin/bash
# Installs a build twice, the second tree is moved afterwards, and looks into the trees.
#
# usage: install.sh <build folder> <source folder> <prefix> <prefix after the move>
#
# CMAKE and READELF name the programs to use.
set -euo pipefail
build=$1
source=$2
prefix=$3
moved=$4
rm -rf "$prefix" "$moved"

"$CMAKE" --install "$build" --prefix "$prefix"
"$CMAKE" --install "$build" --prefix "$moved.before" > /dev/null
mv "$moved.before" "$moved"

fail() {
    echo "$*"
    exit 1
}

for tree in "$prefix" "$moved"; do
    for library in nuriagent nuriccl; do
        diff -r "$source/SharedLibraries/$library/include/$library" "$tree/include/$library" ||
            fail "The installed headers are not those of $library"
        "$READELF" -d "$tree/lib/lib$library.so" | grep -q 'RUNPATH.*\[\$ORIGIN\]' ||
            fail "lib$library.so does not look for other libraries beside it, and only there"
    done
    if grep -rF -e "$build" -e "$source" -e "$prefix" -e "$moved" \
        "$tree"/lib/{cmake,pkgconfig}; then
        fail "The package knows where it was built or installed"
    fi
done
