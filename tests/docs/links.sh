#!/bin/bash
# Usage: tests/docs/links.sh DOCUMENT...
#
# Checks that each link inside of the tree leads to a file, and to a heading where it names one.
# Code has no links: `[](int x)` is a lambda.

set -euo pipefail

failures=0
links=0

# The headings of a document as the part of a link behind "#".
anchors() {
    sed -n 's/^#\{1,6\} *//p' "$1" | tr '[:upper:]' '[:lower:]' | sed 's/[^a-z0-9 _-]//g; s/ /-/g'
}

# The text of a document without its code.
prose() { awk '/^```/ { inside = !inside } !inside { gsub(/`[^`]*`/, "code"); print }' "$1"; }

# check_link DOCUMENT LINK
check_link() {
    local file=${2%%#*} anchor=
    case $2 in
    *#*) anchor=${2#*#} ;;
    esac
    if [[ -z $file ]]; then
        file=$1
    else
        file=$(dirname -- "$1")/$file
    fi
    if [[ ! -e $file ]]; then
        printf '%s: no such file: %s\n' "$1" "$2" >&2
        ((++failures))
    elif [[ -n $anchor ]] && ! anchors "$file" | grep -xF -- "$anchor" >/dev/null; then
        printf '%s: no such heading: %s\n' "$1" "$2" >&2
        ((++failures))
    fi
    ((++links))
}

for document in "$@"; do
    while IFS= read -r link; do
        check_link "$document" "$link"
    done < <(prose "$document" | grep -o ']([^)]*)' | sed 's/^](//; s/)$//' | grep -vE '^[a-z]+:')
done
((links != 0)) || {
    printf 'found no links\n' >&2
    exit 1
}
printf '%d links, %d of them broken\n' "$links" "$failures"
((failures == 0))
