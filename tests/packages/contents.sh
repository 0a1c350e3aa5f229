#!/bin/bash
# Checks what the Debian packages contain and what they say of themselves.
#
# files.txt and fields.txt tell what there is to be.
#
# usage: contents.sh <folder of the packages> <source folder> <version> <architecture> <triplet>
#
# NM and READELF name the tools to use.
set -euo pipefail
export LC_ALL=C
packages=$1
source=$2
version=$3
architecture=$4
triplet=$5
here=$(dirname -- "$0")
scratch=$(mktemp -d)
trap 'rm -rf -- "$scratch"' EXIT
status=0

fail() {
    echo "$*"
    status=1
}

# The .deb of a package.
deb() { echo "$packages/${1}_$version"-*"_$architecture.deb"; }

field() { dpkg-deb -f "$(deb "$1")" "$2"; }

# "PACKAGE PATH" of all that there is to be.
expected_files() {
    sed "/^#/d; s/TRIPLET/$triplet/" "$here/files.txt"
    (cd -- "$source/SharedLibraries" && find -- */include -name '*.hpp') |
        sed 's|[^/]*/|libnuriccl-dev usr/|'
    (cd -- "$source/docs/guides" && ls -- *.md) |
        sed 's|\(.*\)\.md|libnuriccl-dev usr/share/man/man3/nuriccl_\1.3.gz|'
}

files() {
    local package
    for package in "$@"; do
        dpkg-deb --fsys-tarfile "$(deb "$package")" | tar -tf - |
            sed -n "/[^/]\$/s|^\./|$package |p"
    done
}

# The newest of the versions of the C library's symbols that a file uses.
newest_glibc() {
    "${READELF:-readelf}" -VW "$1" | grep -oE 'GLIBC_[0-9.]+' | sed 's/GLIBC_//' |
        sort -uV | tail -1
}

check_fields() {
    local package=$1 section=$2 multi_arch=$3 depends
    shift 3
    [[ $(field "$package" Section) == "$section" ]] || fail "$package: Section"
    [[ $(field "$package" Multi-Arch) == "$multi_arch" ]] || fail "$package: Multi-Arch"
    [[ $(field "$package" Architecture) == "$architecture" ]] || fail "$package: Architecture"
    depends=$(field "$package" Depends | tr ',' '\n' | sed 's/^ *//; s/ .*//' | sort | paste -sd' ')
    [[ $depends == "$*" ]] || fail "$package depends on: $depends"
}

# The package has to come after the one with the C library that brought the newest symbol used.
check_libc() {
    local package=$1 file needed=0 promised
    promised=$(field "$package" Depends | sed -nE 's/.*libc6 \(>= ([^)]*)\).*/\1/p')
    dpkg-deb -x "$(deb "$package")" "$scratch/$package"
    while read -r file; do
        needed=$(printf '%s\n' "$needed" "$(newest_glibc "$file")" | sort -V | tail -1)
    done < <(find "$scratch/$package" -type f \( -path '*/bin/*' -o -name '*.so.?' \))
    [[ $needed == 2.* ]] || fail "$package: no file of it uses the C library"
    dpkg --compare-versions "$promised" ge "$needed" ||
        fail "$package depends on libc6 (>= $promised), and uses what came with $needed"
}

exported() {
    "${NM:-nm}" -D --defined-only "$scratch/libnuriccl1/usr/lib/$triplet/lib$1.so.1" |
        sed -nE 's/^[^ ]* [B-Zu] (.*)@@/\1@/p' | sort
}

promised_symbols() {
    awk -v library="lib$1.so.1" '
        /^lib/ { inside = $1 == library }
        inside && /^ _Z/ { print $1 }' "$scratch/control/symbols" | sort
}

mapfile -t names < <(sed -n 's/^\([^# ]*\) .*/\1/p' "$here/fields.txt")
difference=$(comm -3 <(files "${names[@]}" | sort) <(expected_files | sort) |
    sed -e 's/^\t/  missing: /; t' -e 's/^/  new:     /')
[[ -z $difference ]] || fail "$here/files.txt and the packages differ:"$'\n'"$difference"
all=("$packages"/*.deb)
((${#all[@]} == ${#names[@]})) ||
    fail "$packages holds other packages than $here/fields.txt"

while read -r package section multi_arch depends; do
    # shellcheck disable=SC2086 # words
    check_fields "$package" "$section" "$multi_arch" $depends
    case " $depends " in
    *" libc6 "*) check_libc "$package" ;;
    esac
done < <(grep -v '^#' "$here/fields.txt")
[[ $(field libnuriccl-dev Depends) == *"libnuriccl1 (= $(field libnuriccl1 Version))"* ]] ||
    fail "libnuriccl-dev goes with another libnuriccl1 than its own"

# Each symbol of the libraries stands in the list that tells what programs depend on.
dpkg-deb -e "$(deb libnuriccl1)" "$scratch/control"
for library in nuriagent nuriccl; do
    grep -qx "lib$library 1 libnuriccl1 (>= $version)" "$scratch/control/shlibs" ||
        fail "shlibs: lib$library"
    difference=$(comm -3 <(exported "$library") <(promised_symbols "$library"))
    [[ -z $difference ]] || fail "symbols: lib$library"$'\n'"$difference"
done
grep -qx 'activate-noawait ldconfig' "$scratch/control/triggers" || fail "triggers"

# Stripped, with no path of the machine that built them, and root's.
while read -r file; do
    ! "${READELF:-readelf}" -dW "$file" | grep -E 'RPATH|RUNPATH' || fail "$file has a run path"
    ! "${READELF:-readelf}" -SW "$file" | grep -E ' \.(symtab|debug_info) ' ||
        fail "$file is not stripped"
done < <(find "$scratch" -type f \( -path '*/bin/*' -o -name '*.so.?' \))
for package in "${names[@]}"; do
    ! dpkg-deb -c "$(deb "$package")" |
        grep -vE '^(-rw-r--r--|-rwxr-xr-x|drwxr-xr-x|lrwxrwxrwx) root/root ' ||
        fail "$package: owners or modes"
done
exit $status
