#!/bin/bash
# Makes sure that what documents show of files stands in them: the lines of each block below a
# comment <!-- excerpt: PATH --> stand in that file one after the other, word for word. "..." on a
# line of its own stands for lines that are left out.
#
# usage: excerpts.sh <root of the source tree> <document>...
set -euo pipefail
cd "$1"
shift

awk '
    function fail(text) { print FILENAME ":" FNR ": " text; failed = 1; exit 1 }

    # The file as one text, with a line feed at either end.
    function read_file(path,   line, text) {
        text = "\n"
        while ((status = (getline line < path)) > 0) text = text line "\n"
        if (status < 0) fail("cannot read " path)
        close(path)
        return text
    }

    # The parts of the excerpt stand in the file in their order.
    function check(path, excerpt,   text, parts, count, i, at) {
        text = read_file(path)
        count = split(excerpt, parts, "\n[.][.][.]\n")
        for (i = 1; i <= count; ++i) {
            at = index(text, "\n" parts[i] "\n")
            if (at == 0) fail("is not in " path ":\n" parts[i])
            text = substr(text, at + length(parts[i]) + 1)
        }
        ++checked
    }

    FNR == 1 { path = ""; inside = 0 }
    /^<!-- excerpt: [^ ]+ -->$/ { path = $3; next }
    /^```/ && !inside { inside = 1; excerpt = ""; next }
    /^```/ {
        inside = 0
        if (path != "") check(path, substr(excerpt, 2))
        path = ""
        next
    }
    inside { excerpt = excerpt "\n" $0; next }
    path != "" { fail("no block stands below the comment") }
    END {
        if (failed) exit 1
        print checked " excerpts"
        if (checked == 0) exit 1
    }' "$@"
