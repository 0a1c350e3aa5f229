#!/bin/bash
# Usage: tests/docs/site.sh CHECKOUT SITE
#
# Makes the site of the documents in the folder SITE, without a warning, and checks that it has a
# page for each guide, each other document and each public header, that the front page leads to the
# guides, and that pages name no file that is not there.

set -euo pipefail

checkout=$1 site=$2
failures=0
pages=0

report() {
    printf '%s\n' "$*" >&2
    ((++failures))
}

# need PAGE SOURCE
need() {
    ((++pages))
    [[ -s $site/$1 ]] || report "$2 has no page $1"
}

"$checkout/docs/site/build.sh" "$site"

for document in "$checkout"/docs/*.md "$checkout"/*.md; do
    name=$(basename -- "$document" .md)
    need "page_$name.html" "$document"
done
for guide in "$checkout"/docs/guides/*.md; do
    [[ -e $guide ]] || continue # a tree without guides
    name=guide_$(basename -- "$guide" .md).html
    need "$name" "$guide"
    grep -F "href=\"$name\"" "$site/index.html" >/dev/null ||
        report "the front page does not lead to $name"
done
for header in "$checkout"/SharedLibraries/*/include/*/*.hpp; do
    name=$(basename -- "$header" .hpp)
    library=$(basename -- "$(dirname -- "$header")")
    # Where two headers have one name, Doxygen puts the folders in front.
    page=${name//_/__}_8hpp.html
    [[ -e $site/$page ]] || page=${library}_2include_2${library}_2$page
    need "$page" "$header"
done
while IFS= read -r link; do
    [[ -e $site/$link ]] || report "a page leads to $link, which is not there"
done < <(grep -ohE '(href|src|data)="[^"#][^"]*' "$site"/*.html | sed 's/.*"//; s/[#?].*//' |
    grep -v : | sort -u)

((pages > 30)) || report "found only $pages pages"
printf '%d pages\n' "$pages"
((failures == 0))
