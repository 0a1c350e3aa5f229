#!/bin/bash
# Holds the files of a library against its list of families: one header, one source and one test
# each.
#
# usage: families.sh <folder of the library> <families> <header families>
# The lists are separated by blanks; a header family is all templates or plain data and has no
# source.
set -euo pipefail
export LC_ALL=C
cd "$1"
library=$(basename "$1")
families=$2
header_families=${3-}
status=0

# check <pattern> <stems that it must match>
check() {
    local pattern=$1 difference
    shift
    if ! difference=$(diff <(printf '%s\n' "$@" | sort) \
        <(compgen -G "$pattern" | sed 's|.*/||; s|\.[^.]*$||' | sort)); then
        echo "$library/$pattern does not match the families in $library/CMakeLists.txt" \
            "(< is missing, > is not in the list):"
        grep '^[<>]' <<< "$difference"
        status=1
    fi
}

# Headers of no family: the export macro, and the whole library in one include.
others=export
if [[ $library == nuriccl ]]; then
    others+=" nuriccl"
fi
check "include/$library/*.hpp" $families $header_families $others
check "source/*.cpp" $families
check "tests/*.cpp" $families $header_families
exit $status
