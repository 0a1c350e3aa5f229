#!/bin/bash
# The interface between a shared library and programs that are compiled already: layouts, virtual
# functions, the types of functions and data. It is read from the library's debug information.
#
# usage: abi.sh write <library> <description> <folder of public headers>...
#        abi.sh check <library> <description> <folder of public headers>...
#                whether programs compiled against the library that the description, a compressed
#                file, was written of run with this one
set -euo pipefail

# Types that are not in the public headers, nor used by what is, are the library's own business.
describe() {
    local library=$1 options=() folder
    shift
    for folder in "$@"; do
        options+=(--headers-dir "$folder")
    done
    # Names of sources without the place where they lie: that is each machine's own.
    abidw --drop-private-types --exported-interfaces-only --no-parameter-names --no-show-locs \
        --no-corpus-path --no-comp-dir-path "${options[@]}" "$library" |
        sed -E "s|( path=')[^']*/|\1|"
}

action=$1
library=$2
description=$3
shift 3
case $action in
write)
    describe "$library" "$@" | gzip -9n > "$description"
    ;;
check)
    scratch=$(mktemp -d)
    trap 'rm -rf -- "$scratch"' EXIT
    gzip -dc < "$description" > "$scratch/before.abi"
    describe "$library" "$@" > "$scratch/now.abi"
    # What is new harms nobody. Status 4 is a change that may break programs, 8 one that does.
    status=0
    difference=$(abidiff --no-added-syms "$scratch/before.abi" "$scratch/now.abi") || status=$?
    if (((status & ~12) != 0)); then
        echo "$difference"
        echo "abidiff could not compare (status $status)."
        exit 1
    elif ((status != 0)); then
        cat << EOF
$difference

$(basename -- "$library") is not what programs were compiled against, which
  $description
describes. They would break, or do the wrong thing unnoticed. Undo the change, or, when it is worth
that all programs are compiled anew, raise NURICCL_SOVERSION in the top-level CMakeLists.txt, say so
in CHANGELOG.md under ABI, and renew the descriptions:
  scripts/abi --update
docs/abi.md tells what counts as a break and how to do without one.
EOF
        exit 1
    fi
    ;;
*)
    sed -n 's/^# usage: //p' "$0" >&2
    exit 2
    ;;
esac
