#!/bin/bash
# Debian's own check of its packages finds no error.
#
# usage: lintian.sh <folder of the packages>
set -euo pipefail
lintian --allow-root --fail-on error "$1"/*.deb
