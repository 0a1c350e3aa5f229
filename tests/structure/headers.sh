#!/bin/bash
# Makes sure that the installed headers stand on their own: they include nothing but installed
# headers, and mean the same to every program, whatever the width of time_t and off_t that it has
# chosen.
#
# usage: headers.sh <folder with headers>...
set -euo pipefail
status=0

# forbid <reason> <grep pattern> <folder>...
forbid() {
    local reason=$1 pattern=$2
    shift 2
    if grep -rnE --include='*.hpp' "$pattern" "$@"; then
        echo "^ $reason"
        status=1
    fi
}

forbid "A public header includes others in angle brackets, and none from source/." \
    '^[ \t]*#[ \t]*include[ \t]*("|<.*(\.\.|source)/)' "$@"
forbid "A public header must not depend on types or macros that differ from program to program." \
    '\<((blkcnt|dev|fpos|fsblkcnt|fsfilcnt|ino|loff|off|rlim|suseconds|time)(64)?_t)\>' "$@"
forbid "A public header must not depend on types or macros that differ from program to program." \
    '\<(_FILE_OFFSET_BITS|_TIME_BITS|_LARGEFILE\w*|struct (stat|dirent|time(spec|val))\w*)\>' "$@"
exit $status
