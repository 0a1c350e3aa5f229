#!/bin/bash
# Tells what a Debian package has to depend on for the sake of files in it.
#
# usage: depends.sh <scratch folder> <shlibs file> <file>...
#
# The shlibs file tells which package has the libraries of this project. Everything else comes from
# the installed packages: their lists of symbols know the release that each symbol came with.
set -euo pipefail
scratch=$1
shlibs=$2
shift 2
mkdir -p -- "$scratch/debian"
cd -- "$scratch"
printf 'Source: nuriccl\n\nPackage: nuriccl\nArchitecture: any\n' > debian/control
cp -- "$shlibs" debian/shlibs.local

# Libraries that are not installed are found beside the file's own, by its run path.
depends=$(dpkg-shlibdeps --warnings=0 -O "$@" | sed -n 's/^shlibs:Depends=//p')

# The 32-bit libraries of a 64-bit system come in packages of their own, built from the same sources
# with the same symbols as those that a 32-bit system has under the plain names.
depends=$(sed -E '
    s/\blibc6-i386\b/libc6/g
    s/\blib32(gcc-s1|stdc\+\+6)/lib\1/g
    s/\blib32z1\b/zlib1g/g' <<< "$depends")
if [[ -z $depends || $depends =~ lib32|libx32|-i386|-amd64 ]]; then
    echo "depends.sh: no way to depend on that: $depends" >&2
    exit 1
fi
printf '%s' "$depends"
