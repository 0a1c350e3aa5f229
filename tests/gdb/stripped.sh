#!/bin/bash
# Runs a command with copies of the libraries from a folder, without their symbols and debug
# information, and of the scripts that lie beside them.
#
# usage: stripped.sh <folder of the libraries> <folder for the copies> <command>...
#
# STRIP and READELF name the programs to use.
set -euo pipefail
from=$1
to=$2
shift 2

rm -rf "$to"
mkdir "$to"
cp -P "$from"/lib*.so* "$from"/nuriccl_printers.py "$to"
for library in nuriagent nuriccl; do
    "$STRIP" "$to/lib$library.so"
    if "$READELF" -SW "$to/lib$library.so" | grep -F .debug_info; then
        echo "lib$library.so has debug information left"
        exit 1
    fi
done
LD_LIBRARY_PATH=$to exec "$@"
