#!/bin/bash
# Checks that a library or a program was built with the guards against the use of memory errors.
#
# usage: hardened.sh <file> [<checked function>...]
#
# A checked function is one that a copy becomes whose room the compiler knows, such as __memcpy_chk.
# READELF and OBJDUMP name the tools to use. The mark that all code may be run with guarded branches
# is not asked for: the linker leaves it out where the system's start files do not bear it.
set -euo pipefail
file=$1
shift
status=0

fail() {
    echo "$(basename "$file"): $*"
    status=1
}

elf() { "${READELF:-readelf}" -W "$@" "$file"; }

# expect <what it means when it is missing> <text> <command>...: the text is in the command's output
expect() {
    local missing=$1 text=$2
    shift 2
    "$@" | grep -E -- "$text" >/dev/null || fail "$missing"
}

expect "no part of its data becomes read-only (-z relro)" '^ *GNU_RELRO ' elf --segments
expect "addresses of functions stay writable (-z now)" '\(FLAGS.*NOW' elf --dynamic
expect "its stack is executable (-z noexecstack)" '^ *GNU_STACK .* RW ' elf --segments
expect "no function has a stack canary (-fstack-protector-strong)" '__stack_chk_fail' elf --dyn-syms
for function in "$@"; do
    expect "nothing calls $function (_FORTIFY_SOURCE)" " $function(@|$)" elf --dyn-syms
done
expect "no place is marked as the target of an indirect branch (-fcf-protection)" \
    '\bendbr(32|64)\b' "${OBJDUMP:-objdump}" -d "$file"
exit $status
