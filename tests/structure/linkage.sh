#!/bin/bash
# Checks what the dynamic linker is told about a library or a program.
#
# usage: linkage.sh <file> <soname> <libraries it may need>...
# The soname of a program is "-".
#
# READELF names the readelf to use.
set -euo pipefail
file=$1
soname=${2#-}
shift 2
dynamic=$("${READELF:-readelf}" -dW "$file")
status=0

fail() {
    echo "$(basename "$file"): $*"
    status=1
}

# values <tag>: the names in brackets that stand with the tag
values() {
    sed -nE "s/.*\($1\).*\[(.*)\]/\1/p" <<< "$dynamic"
}

if [[ $(values SONAME) != "$soname" ]]; then
    fail "the soname is '$(values SONAME)' instead of '$soname'"
fi
if grep -q TEXTREL <<< "$dynamic"; then
    fail "its code has text relocations: something in it is not position-independent"
fi
for needed in $(values NEEDED); do
    if [[ " $* " != *" $needed "* ]]; then
        fail "needs $needed, which is not among the libraries it may need: $*"
    fi
done
exit $status
