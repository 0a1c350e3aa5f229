#!/bin/bash
# The reviewed list of what a library exports.
#
# usage: exports.sh print <library>          the list as it should be for the library as built
#        exports.sh check <library> <list>   whether the library exports what the list says
#
# NM names the nm to use.
set -euo pipefail
export LC_ALL=C

# One line per symbol in the same words for both pointer sizes: the variants of a constructor or
# destructor are one, and the type behind va_list, which differs, is called by its name again.
# Inline functions (weak symbols) of the library's own are left out: callers have their copies, and
# it depends on the optimiser whether the library keeps one. Weak, too, but always there are the
# instantiations of transformString and what the source file of Buffer keeps.
exports() {
    "${NM:-nm}" -DC --defined-only "$1" | sed -E '
        s/^[0-9a-f]* //
        /^W (std::|bool nuriccl::transformString<|nuriccl::Buffer::)/!{/^W /d}
        s/^. //
        s/\[abi:cxx11\]//
        s/ >/>/g
        s/std::__cxx11::/std::/g
        s/std::basic_string<char, std::char_traits<char>, std::allocator<char>>/std::string/g
        s/std::basic_string<(wchar_t), std::char_traits<\1>, std::allocator<\1>>/std::wstring/g
        s/std::vector<([^<>,]*), std::allocator<\1>>/std::vector<\1>/g
        /sprintfSafe/s/char\*&|__va_list_tag \(&\) \[1\]/va_list\&/' | sort -u
}

case $1 in
print)
    exports "$2"
    ;;
check)
    difference=$(comm -3 <(exports "$2") <(grep -v '^#' "$3") |
        sed -e 's/^\t/  missing: /; t' -e 's/^/  new:     /')
    if [[ -n $difference ]]; then
        cat << EOF
$(basename "$2") and its reviewed list of exports differ:
$difference
A missing symbol breaks programs that use it: bring it back, or raise NURICCL_SOVERSION. A new
symbol that is not meant for callers should be hidden. When the change is meant, review the outcome
of
  $0 print $2
and write it to
  $3
EOF
        exit 1
    fi
    ;;
*)
    sed -n 's/^# usage: //p' "$0" >&2
    exit 2
    ;;
esac
