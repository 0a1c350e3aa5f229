#!/bin/bash
# Holds the includes among the families against docs/includes.txt, in both directions, and makes
# sure that neither the families nor the libraries include each other in a circle.
#
# usage: includes.sh <root of the source tree>
set -euo pipefail
export LC_ALL=C
cd "$1"

# Both functions print sorted lines "includer included", and "name name" for every header there is.

listed() {
    awk '
        { sub(/#.*/, "") }
        !NF { next }
        { includer = $1; sub(/:$/, "", includer); print includer, includer }
        $2 == "*" { all = includer; next }
        { others[includer] }
        { for (i = 2; i <= NF; ++i) print includer, $i }
        END {
            library = all; sub(/[^\/]*$/, "", library)
            for (name in others)
                if (all && index(name, library) == 1 && name != library "export") print all, name
        }' docs/includes.txt | sort -u
}

written() {
    local file library stem
    for file in SharedLibraries/*/include/*/*.hpp SharedLibraries/*/source/*.cpp \
        SharedLibraries/kernels/*.?pp; do
        library=${file#SharedLibraries/}
        library=${library%%/*}
        stem=$(basename "${file%.?pp}")
        if [[ $library == kernels ]]; then # stands for its variants and its helpers, too
            stem=${stem%%_*}
        fi
        echo "$library/$stem $library/$stem"
        sed -nE 's,^[ \t]*#[ \t]*include[ \t]*<((nuriccl|nuriagent|kernels)/.*)\.hpp>.*,\1,p' \
            "$file" | sed -e "/^$library\/export\$/d" -e "s|^|$library/$stem |"
        # A quoted include, which is for kernels only, is nowhere in the list.
        if [[ $library != kernels ]]; then
            sed -nE "s|^[ \t]*#[ \t]*include[ \t]*(\".*\").*|$library/$stem \1|p" "$file"
        fi
    done | sort -u
}

difference=$(comm -3 <(listed) <(written) | awk -F '\t' '
    { in_list = $1 != ""; split(in_list ? $1 : $2, pair, " ") }
    pair[1] == pair[2] {
        print "  " pair[1] (in_list ? " is listed, but there is no such header" : " is not listed")
        next
    }
    in_list { print "  " pair[1] " may include " pair[2] ", but does not: remove the permission" }
    !in_list { print "  " pair[1] " includes " pair[2] " without permission: remove the include, " \
                     "or add it to the list with its reason" }')
if [[ -n $difference ]]; then
    printf 'docs/includes.txt and the includes of the sources differ:\n%s\n' "$difference"
    exit 1
fi

# tsort fails on a circle and names its members.
written | tsort > /dev/null
written | sed 's|/[^ ]*||g' | tsort > /dev/null
