#!/bin/bash
# Usage: tests/docs/manual_of_program.sh PROGRAM MANUAL
#
# Holds the man page of a program with commands against what its "--help" and that of each command
# say: both name the same commands and the same options, and the page has a line for each command
# with its arguments.

set -euo pipefail

program=$1 manual=$2
failures=0

report() {
    printf '%s: %s\n' "$manual" "$*" >&2
    ((++failures))
}

# The options in a text, one a line: "-x" and "--exclude".
options() { grep -oE -- '(^|[[:space:],|[])--?[A-Za-z][a-z-]*' | grep -oE -- '-.*' | sort -u; }

page=$(gzip -dc -- "$manual" | mandoc -T ascii -O width=1000 | sed 's/.\x08//g')
commands=$("$program" --help |
    awk '/^Commands:/ { inside = 1; next } /^$/ { inside = 0 } inside { print $1 }')
[[ -n $commands ]] || report "the program names no commands"

help=$("$program" --help)$'\n-h --help --version\n'
for command in $commands; do
    usage=$("$program" "$command" --help)
    help+=$usage$'\n'
    arguments=$(head -1 <<<"$usage" | sed 's/.*\[OPTION\]\.\.\. //')
    grep -xE " *$command $arguments" <<<"$page" >/dev/null ||
        report "has no command '$command $arguments'"
done

# What the options take, as well: "--exclude PATTERN".
while IFS= read -r line; do
    grep -F -- "$line" <<<"$page" >/dev/null || report "has no option '$line'"
done < <(grep -oE -- '^  -[A-Za-z], --[a-z-]+( [A-Z]+)?' <<<"$help" | sed 's/^  //' | sort -u)
while IFS= read -r option; do
    report "differs from the program in the option $option"
done < <(comm -3 <(options <<<"$help") <(options <<<"$page") | tr -d '\t')

# Exit status N is told by both.
exit_status=$("$program" --help | tr '\n' ' ' | sed 's/.*Exit status: //')
for status in $(grep -oE '\b[0-9]\b' <<<"$exit_status"); do
    grep -xE " *$status" <<<"$page" >/dev/null || report "has no exit status $status"
done
((failures == 0))
