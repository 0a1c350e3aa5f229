#!/bin/sh
# Usage: manual.sh SOURCE NAME SECTION VERSION MANUAL
#
# Makes the man page NAME(SECTION) of a Markdown text with Debian's lowdown and writes it to MANUAL,
# gzipped. Nothing in it depends on the time or the place, so that it is the same each time.
#
# A text for section 3 is a guide, whose title "# FAMILY: PURPOSE" becomes the sections NAME and
# SYNOPSIS; its own sections follow. Links between guides name the pages, others are left out.

set -eu

source=$1 name=$2 section=$3 version=$4 manual=$5

guide_to_manual() {
    awk '
        /^```/ { code = !code }
        code || /^```/ { print; next }
        /^<!--.*-->$/ { next }
        !titled && /^# / {
            titled = 1
            family = purpose = substr($0, 3)
            sub(/: .*/, "", family)
            sub(/^[^:]*: /, "", purpose)
            name = "nuriccl_" family
            gsub(/_/, "\\_", name) # no emphasis
            print "# NAME\n\n" name " - " purpose
            print "\n# SYNOPSIS\n\n`#include <nuriccl/" family ".hpp>`\n\n# DESCRIPTION"
            next
        }
        /^## / { print "# " toupper(substr($0, 4)); next }
        /^#/ { sub(/^#/, "") }
        {
            text = ""
            while (match($0, /!?\[[^]]*\]\([^)]*\)/)) {
                link = substr($0, RSTART, RLENGTH)
                text = text substr($0, 1, RSTART - 1)
                $0 = substr($0, RSTART + RLENGTH)
                target = word = link
                sub(/^!?\[/, "", word)
                sub(/\].*/, "", word)
                sub(/.*\(/, "", target)
                sub(/\)$/, "", target)
                if (target ~ /^[A-Za-z0-9_]+\.md$/) {
                    sub(/\.md$/, "", target)
                    text = text "`nuriccl_" target "`(3)"
                } else if (target ~ /^https?:/) {
                    text = text link
                } else {
                    text = text word
                }
            }
            print text $0
        }' "$1"
}

# What lowdown leaves to be mended: headings on a line of their own, which not all readers know; a
# font that not all printers have; and hyphens, which options and code have to keep when they are
# copied.
mend() {
    awk '
        /^\.S[HS]$/ { heading = $0; next }
        heading != "" { print heading " " $0; heading = ""; after_heading = 1; next }
        after_heading && $0 == ".LP" { next }
        { after_heading = 0 }
        !/^\./ { gsub(/\\f\(C[BIRW]|\\fC/, "\\fB"); gsub(/-/, "\\-") }
        { print }'
}

text() {
    case $section in
    3) guide_to_manual "$source" ;;
    *) cat "$source" ;;
    esac
}

title=$(printf '%s' "$name" | tr '[:lower:]' '[:upper:]')
text >"$manual.md"
lowdown -s -Tman --out-no-smarty --parse-no-super -mtitle="$title" -msection="$section" -mdate= \
    -msource="nuriccl $version" -mvolume='nuriccl manual' "$manual.md" >"$manual.roff"
mend <"$manual.roff" | gzip -9n >"$manual"
rm -f "$manual.md" "$manual.roff"
