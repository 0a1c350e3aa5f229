#!/bin/bash
# Unpacks packages into an empty folder, and builds, runs and debugs programs with what is there
# alone.
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

# shows_objects <program> <gdb option>...: gdb shows an object of the library as what it means
shows_objects() {
    local shown
    shown=$(gdb -nx -batch -iex "add-auto-load-safe-path $scratch" "${@:2}" \
        -ex 'break stop' -ex run -ex up -ex 'print version' "$1" 2>&1 < /dev/null)
    # shellcheck disable=SC2016 # the name that gdb gives to what it shows
    grep -qFx '$1 = Version: 7.1.2 build 345' <<< "$shown" ||
        fail "gdb does not show what a version is:"$'\n'"$shown"
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

    # gdb looks for what belongs to a library beside it, or by its path below a folder of its own.
    mkdir -p -- "$scratch/gdb$scratch/root"
    ln -s -- "$prefix/share/gdb/auto-load/usr" "$scratch/gdb$scratch/root/usr"
    "${compile[@]}" -g "$(dirname -- "$0")/debug.cpp" -o "$scratch/debug" "${flags[@]}"
    shows_objects "$scratch/debug" -iex "set auto-load scripts-directory $scratch/gdb"
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
