#!/bin/bash
# Usage: docs/site/build.sh FOLDER
#
# Makes the site of the documents in FOLDER anew; FOLDER/index.html is its front page. Every warning
# of Doxygen is an error.

set -euo pipefail

root=$(cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/../.." && pwd -P)
site=$(readlink -m -- "$1")
rm -rf -- "$site"
mkdir -p -- "$site"
NURICCL_VERSION=$(awk '/^project\(/ { inside = 1 } inside && $1 == "VERSION" { print $2; exit }' \
    "$root/CMakeLists.txt")
NURICCL_SITE=$site
export NURICCL_VERSION NURICCL_SITE
cd -- "$root"
doxygen docs/site/Doxyfile
