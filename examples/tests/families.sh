#!/bin/bash
# Holds the examples against the families of the library: each has a program, a transcript of what
# it prints, and a row in the index.
#
# usage: families.sh <folder of the examples> <families, separated by blanks>
set -euo pipefail
export LC_ALL=C
cd "$1"
# shellcheck disable=SC2086 # the families are words
families=$(printf '%s\n' $2 | sort)
status=0

# check <what> <names on standard input>
check() {
    local difference
    if ! difference=$(diff <(printf '%s\n' "$families") <(sort)); then
        echo "$1 and the families differ (< is missing, > is of no family):"
        grep '^[<>]' <<<"$difference"
        status=1
    fi
}

check "The programs examples/*.cpp" < <(compgen -G '*.cpp' | sed 's/\.cpp$//')
check "The transcripts examples/expected/*.txt" < <(cd expected && compgen -G '*.txt' |
    sed 's/\.txt$//')
# shellcheck disable=SC2016 # the backquotes are those of the table
row='^\| \[`([A-Za-z0-9_]+)`\]\(\1\.cpp\) \|.*\| \[[a-z]+\]\(expected/\1\.txt\) \|$'
check "The rows of examples/README.md" < <(sed -nE "s,$row,\\1,p" README.md)
exit $status
