#!/bin/bash
# Holds what a library exports against its reviewed list.
#
# usage: exports.sh <library> <list> <object file>...
#
# The linker leaves out what is marked as public but is not in the list; the object files still tell
# of it. Inline functions do not count there: callers have their copies.
#
# NM and READELF name the tools to use.
set -euo pipefail
export LC_ALL=C
library=$1
list=$2
shift 2
here=$(dirname -- "$0")

# The names behind symbols, as the list has them.
names() { c++filt | sed -E -f "$here/../../cmake/symbol_names.sed"; }

# All that the library exports, as "VERSION name".
exported() {
    "${NM:-nm}" -D --defined-only "$library" |
        sed -nE 's/^[0-9a-f]* [B-Zu] ([^@]*)@*(.*)/\2 \1/p' | names | sort -u
}

# All that the list has, as "VERSION name".
listed() {
    awk '/^\[/ { version = substr($1, 2); next } /^[^#]/ { print version " " $0 }' "$list" | sort
}

# The names of functions and data that callers have no copy of, marked as public.
public() {
    "${READELF:-readelf}" -sW "$@" |
        awk '$5 == "GLOBAL" && $6 == "DEFAULT" && $7 != "UND" { print $8 }' | names | sort -u
}

without_version() { cut -d' ' -f2- | sort; }

twice=$(listed | without_version | uniq -d)
if [[ -n $twice ]]; then
    echo "$list has more than once:"
    echo "$twice"
    exit 1
fi
difference=$(
    comm -3 <(exported) <(listed) | sed -e 's/^\t/  missing:  /; t' -e 's/^/  exported: /'
    comm -23 <(public "$@") <(listed | without_version) | sed 's/^/  new:      /'
)
if [[ -n $difference ]]; then
    cat << EOF
$(basename "$library") and its reviewed list of exports differ:
$difference
A missing symbol breaks programs that use it: bring it back, or raise NURICCL_SOVERSION. A new
symbol that is not meant for callers should be hidden. One that is goes to
  $list
below the version that comes with the next release. docs/abi.md tells more.
EOF
    exit 1
fi
