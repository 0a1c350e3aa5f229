#!/bin/bash
# Debian's own check of its packages finds no error.
#
# usage: lintian.sh <folder of the packages>
set -euo pipefail
# It leaves files behind.
TMPDIR=$(mktemp -d)
export TMPDIR
trap 'rm -rf -- "$TMPDIR"' EXIT
lintian --allow-root --fail-on error "$1"/*.deb
