#!/bin/bash
# Unpacks packages into an empty folder, and builds and runs programs with what is there alone.
#
# usage: use.sh debian|archive <folder of the packages> <scratch folder> <version>
#               <architecture> <triplet> <folder of the consumer tests> <compiler and options>
#               <configure option>...
#
# CMAKE names the cmake to use.
set -euo pipefail
unset LD_LIBRARY_PATH
kind=$1
packages=$2
scratch=$3
version=$4
architecture=$5
triplet=$6
consumers=$7
read -ra compile <<< "$8"
shift 8

fail() {
    echo "$*"
    exit 1
}

# uses_libraries_of <program> <folder>: run in this environment, the program gets the libraries in
# the folder.
uses_libraries_of() {
    local loaded library path
    loaded=$(ldd "$1")
    for library in libnuriccl.so.1 libnuriagent.so.1; do
        path=$(sed -nE "s|^[[:blank:]]*$library => (/.*) \(.*|\1|p" <<< "$loaded")
        [[ -n $path && $(realpath -- "$path") == "$2/$library" ]] ||
            fail "$1 does not use the $library that was unpacked:"$'\n'"$loaded"
    done
}

rm -rf -- "$scratch"
mkdir -p -- "$scratch/root"
scratch=$(cd -- "$scratch" && pwd -P)
case $kind in
debian)
    for package in "$packages"/*_"$architecture.deb"; do
        dpkg-deb -x "$package" "$scratch/root"
    done
    prefix=$scratch/root/usr
    libraries=$prefix/lib/$triplet
    export PKG_CONFIG_SYSROOT_DIR=$scratch/root
    ;;
archive)
    tar -xzf "$packages/nuriccl-$version-linux-${triplet%%-*}.tar.gz" -C "$scratch/root"
    prefix=$scratch/root/nuriccl-$version-linux-${triplet%%-*}
    libraries=$prefix/lib
    ;;
esac

bash "$consumers/consume.sh" run "$consumers/package" "$scratch/cmake" "$@" \
    -DCMAKE_PREFIX_PATH="$prefix" -DWANTED_VERSION="${version%.*}"
uses_libraries_of "$scratch/cmake/consumer" "$libraries"

# As on a machine where the package is installed, the program bears no path to the libraries.
export PKG_CONFIG_LIBDIR=$libraries/pkgconfig
[[ $(pkg-config --modversion nuriccl) == "$version" ]] || fail "pkg-config tells another version"
flags=()
eval "flags+=($(pkg-config --cflags --libs nuriccl))"
[[ $(realpath "${flags[0]#-I}") == "$prefix/include" &&
    $(realpath "${flags[1]#-L}") == "$libraries" ]] ||
    fail "pkg-config leads elsewhere: ${flags[*]}"
"${compile[@]}" "$consumers/program.cpp" -o "$scratch/program" "${flags[@]}"
(
    # shellcheck disable=SC2030
    export LD_LIBRARY_PATH=$libraries
    uses_libraries_of "$scratch/program" "$libraries"
    "$scratch/program"
)

# The libraries of a Debian package are where the system looks for them; those of the archive lie
# where the program itself looks.
if [[ $kind == debian ]]; then
    # shellcheck disable=SC2031 # the first one was for the program alone
    export LD_LIBRARY_PATH=$libraries
fi
minibackup=$prefix/bin/minibackup
uses_libraries_of "$minibackup" "$libraries"
[[ $("$minibackup" --version) == *"$version"* ]] || fail "minibackup tells another version"
mkdir "$scratch/data"
echo "worth keeping" > "$scratch/data/file"
"$minibackup" save "$scratch/data" "$scratch/store" > /dev/null
"$minibackup" restore "$scratch/store" "$scratch/restored" > /dev/null
diff -r "$scratch/data" "$scratch/restored"
