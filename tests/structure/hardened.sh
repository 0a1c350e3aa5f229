#!/bin/bash
# Checks that a library or a program was built with the guards against the use of memory errors.
#
# usage: hardened.sh <file>
#
# READELF and OBJDUMP name the tools to use. The mark that all code may be run with guarded branches is
# not asked for: the linker leaves it out where the system's start files do not bear it.
set -euo pipefail
file=$1
status=0

fail() {
    echo "$(basename "$file"): $*"
    status=1
}

elf() { "${READELF:-readelf}" -W "$@" "$file"; }

# expect <text> <what it means when it is missing>, from standard input
expect() { grep -E -- "$1" >/dev/null || fail "$2"; }

elf --segments | expect '^ *GNU_RELRO ' "no part of its data becomes read-only (-z relro)"
elf --dynamic | expect '\(FLAGS.*(BIND_NOW|NOW)' "addresses of functions stay writable (-z now)"
elf --segments | expect '^ *GNU_STACK .* RW ' "its stack is executable (-z noexecstack)"
elf --dyn-syms | expect '__stack_chk_fail' "no function has a stack canary (-fstack-protector-strong)"
elf --dyn-syms | expect '_chk@' "no copy is checked (_FORTIFY_SOURCE)"
"${OBJDUMP:-objdump}" -d "$file" | expect '\bendbr(32|64)\b' \
    "no place is marked as the target of an indirect branch (-fcf-protection)"
exit $status
