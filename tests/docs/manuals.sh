#!/bin/bash
# Usage: tests/docs/manuals.sh MANUAL...
#
# Checks that each man page is one: mandoc finds no error in it, and its first section names it and
# says what it is for, so that it can be found by that.

set -euo pipefail

fail() {
    printf '%s: %s\n' "$1" "$2" >&2
    exit 1
}

(($# != 0)) || fail "${0##*/}" "no man pages"
for manual in "$@"; do
    file=$(basename -- "$manual" .gz)
    name=${file%.*} section=${file##*.}
    text=$(gzip -dc -- "$manual")
    mandoc -T lint -W error <<<"$text" || fail "$manual" "mandoc finds errors"
    grep -F ".TH \"${name^^}\" \"$section\" " <<<"$text" >/dev/null ||
        fail "$manual" "the title is not $name($section)"
    grep -A1 -Fx '.SH NAME' <<<"$text" | tr -d '\\' | grep -xE "$name - [^ ].+" >/dev/null ||
        fail "$manual" "the section NAME has no line \"$name - what it is for\""
    sections=$(grep -c '^\.SH ' <<<"$text")
    ((sections > 3)) || fail "$manual" "has few sections"
    if grep -nE '\]\([^)]*\.(md|hpp)|<!--|```|\\fC' <<<"$text"; then
        fail "$manual" "Markdown is left in the lines above"
    fi
    again=$(gzip -dc -- "$manual" | gzip -9n | cksum)
    [[ $again == "$(cksum <"$manual")" ]] || fail "$manual" "is not packed with gzip -9n"
done
printf '%d man pages are sound\n' $#
