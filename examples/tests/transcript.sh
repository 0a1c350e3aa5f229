#!/bin/bash
# Holds what an example prints against a transcript: lines that start with "$ " are commands for the
# shell, and what stands below them is what they print, to both streams, and their status if it is
# not 0.
#
# usage: transcript.sh [--update] <folder of the programs> <transcript>
#        --update   writes what is printed into the transcript
#
# The commands run in a folder that holds nothing but `examples`, the folder of the programs, and
# have to leave nothing else there. Their locale is "C".
set -euo pipefail
update=false
if [[ $1 == --update ]]; then
    update=true
    shift
fi
export LC_ALL=C
programs=$(readlink -f -- "$1")
transcript=$(readlink -f -- "$2")
scratch=$(mktemp -d)
trap 'rm -rf -- "$scratch"' EXIT
mkdir "$scratch/work"
cd "$scratch/work"
export TMPDIR=$PWD
ln -s "$programs" examples

commands=0
while IFS= read -r line; do
    [[ $line == '$ '* ]] || continue
    ((++commands))
    printf '%s\n' "$line"
    status=0
    bash -c "${line#'$ '}" 2>&1 </dev/null || status=$?
    ((status == 0)) || printf '(status %d)\n' "$status"
done <"$transcript" >"$scratch/printed"

((commands != 0)) || {
    echo "$transcript holds no commands"
    exit 1
}
[[ $(ls -A) == examples ]] || {
    echo "left behind: $(ls -A)"
    exit 1
}
if [[ $update == true ]]; then
    cp -- "$scratch/printed" "$transcript"
else
    diff -u --label "what should be printed" --label "what is printed" \
        "$transcript" "$scratch/printed"
fi
