#!/bin/bash
# Makes the packages of what a build folder has built: Debian's, and an archive of the installed
# tree.
#
# usage: packages.sh <source folder> <build folder> <output folder>
#
# CMAKE and CPACK name the programs to use.
set -euo pipefail
source=$1
build=$(cd -- "$2" && pwd)
output=$3
packing=$build/packing

cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }

case $(od -An -tu1 -j4 -N1 -- "$build/SharedLibraries/nuriccl/libnuriccl.so") in
*1) triplet=i386-linux-gnu ;;
*2) triplet=x86_64-linux-gnu ;;
esac
options=()
for variable in CMAKE_BUILD_TYPE CMAKE_CXX_COMPILER CMAKE_TOOLCHAIN_FILE; do
    options+=("-D$variable=$(cached "$variable")")
done
"${CMAKE:-cmake}" -S "$source" -B "$packing" -G "$(cached CMAKE_GENERATOR)" "${options[@]}" \
    -DNURICCL_PACKAGES_OF="$build" \
    -DNURICCL_INSTALL_LIBDIR="lib/$triplet" \
    -DNURICCL_INSTALL_GDBDIR="share/gdb/auto-load/usr/lib/$triplet" \
    -DNURICCL_BUILD_TESTS=OFF
"${CMAKE:-cmake}" --build "$packing" --target nuriccl_manuals
"${CPACK:-cpack}" --config "$packing/CPackConfig.cmake" -B "$output"
"${CPACK:-cpack}" --config "$build/CPackConfig.cmake" -B "$output"
# CPack leaves its working folder behind.
rm -rf -- "$output/_CPack_Packages"
