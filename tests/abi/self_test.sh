#!/bin/bash
# Whether the comparison tells changes that break programs from those that do not, by a small
# library that is compiled in its variants.
#
# usage: self_test.sh <scratch folder> <compiler> <option>...
set -euo pipefail
here=$(cd -- "$(dirname -- "$0")" && pwd)
scratch=$1
shift
compile=("$@" -std=c++17 -g -O2 -fPIC -fvisibility=hidden -shared "$here/sample.cpp")
rm -rf -- "$scratch"
mkdir -p -- "$scratch"
status=0

# judgement <macro of the change>: what the comparison says of it
judgement() {
    "${compile[@]}" "-D$1" -o "$scratch/libsample.so"
    if "$here/abi.sh" check "$scratch/libsample.so" "$scratch/sample.abi.gz" "$here" \
        > "$scratch/said"; then
        echo compatible
    elif grep -F "scripts/abi --update" "$scratch/said" > /dev/null; then
        echo incompatible
    else
        echo "neither: $(< "$scratch/said")"
    fi
}

# expect <judgement> <macro>...
expect() {
    local change said
    for change in "${@:2}"; do
        said=$(judgement "$change")
        if [[ $said != "$1" ]]; then
            echo "$change is $1, but judged $said"
            status=1
        fi
    done
}

"${compile[@]}" -o "$scratch/libsample.so"
"$here/abi.sh" write "$scratch/libsample.so" "$scratch/sample.abi.gz" "$here"
expect compatible NO_CHANGE NEW_FUNCTION HIDDEN_TYPE
expect incompatible NEW_MEMBER OTHER_TYPE VIRTUAL_ORDER NEW_VIRTUAL OTHER_PARAMETER FUNCTION_REMOVED
exit $status
