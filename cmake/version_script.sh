#!/bin/bash
# Makes the linker's version script of a library from its reviewed list of exports: what the list
# names is exported with the version it stands under, and nothing else is. The list has names as
# people write them; what the compiler calls these is read from the object files.
#
# usage: version_script.sh <list> <object file>...
#
# A list has lines "[VERSION RELEASE]", each followed by the names that came with that version. A
# version includes all before it.
#
# NM names the nm to use.
set -euo pipefail
export LC_ALL=C
here=$(dirname -- "$0")
list=$1
shift

# symbols [<option of nm>]: the symbols that the object files define, always in the same order
symbols() {
    "${NM:-nm}" -pg --defined-only "$@" | sed -n 's/^[0-9a-f]* [A-Zu] //p'
}

paste <(symbols -C "$@" | sed -E -f "$here/symbol_names.sed") <(symbols "$@") | sort -u |
    awk -F '\t' -v list="$list" '
        function fail(message) {
            print message > "/dev/stderr"
            exit 1
        }
        { symbols[$1] = symbols[$1] "        " $2 ";\n" }
        END {
            before = ""
            while ((getline line < list) > 0) {
                if (line ~ /^\[/) {
                    split(substr(line, 2), heading, " ")
                    printf "%s%s {\n    global:\n", end, heading[1]
                    end = "    local:\n        *;\n};\n"
                    if (before != "") {
                        end = "} " before ";\n"
                    }
                    before = heading[1]
                } else if (line !~ /^#/) {
                    printf "%s", symbols[line]
                    found += (line in symbols)
                }
            }
            printf "%s", end
            if (!found) {
                fail(list ": none of its names is in the object files")
            }
        }'
