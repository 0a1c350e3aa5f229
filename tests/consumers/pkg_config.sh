#!/bin/bash
# Builds and runs a program with nothing but the compiler and pkg-config.
#
# usage: pkg_config.sh <prefix of the library> <version> <program to make> <compiler> <option>...
set -euo pipefail
unset LD_LIBRARY_PATH
export PKG_CONFIG_PATH=$1/lib/pkgconfig

version=$(pkg-config --modversion nuriccl)
if [[ $version != "$2" ]]; then
    echo "pkg-config tells version $version instead of $2"
    exit 1
fi
# What pkg-config prints is meant for the shell to read: blanks in it are quoted.
eval "flags=($(pkg-config --cflags --libs nuriccl))"
eval "flags+=(-Wl,-rpath,$(pkg-config --variable=libdir nuriccl))"
rm -f "$3"
mkdir -p "$(dirname "$3")"
"${@:4}" -o "$3" "${flags[@]}"
"$3"
