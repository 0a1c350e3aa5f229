#!/bin/bash
# Usage: tests/docs/readme.sh DOCUMENT CHECKOUT SCRATCH
#
# Does what DOCUMENT, the README, tells its reader, in the new folder SCRATCH, and compares what is
# printed with what it shows. SCRATCH gets a copy of the checkout CHECKOUT by the name of "nuriccl";
# the reader's home is a folder that lasts as long as this script.
#
# Each fenced block stands below a comment that says what it is; a block without one is an error.
#
#   <!-- example: file PATH -->     the contents of a file in SCRATCH
#   <!-- example: run FOLDER -->    commands to run in that folder of SCRATCH; each must succeed
#   <!-- example: output -->        all that the commands of the block before print
#   <!-- example: scripts -->       commands of this project that set up the machine and run the
#                                   suite, which calls this script. They are not run here: this
#                                   checks only that they are there, can be executed and are sound
#                                   as shell
#   <!-- example: sample -->        what such a script prints; not compared with anything

set -euo pipefail

document=$1 checkout=$2 scratch=$3
home=
line_number=0
blocks=0
sources=() # C++ files that the document shows
uses=      # all text that can make use of them
printed=   # what the last commands printed; only of interest to a block "output"
has_printed=false
compared=0

stop() {
    printf '%s:%d: %s\n' "$document" "$line_number" "$*" >&2
    exit 1
}

prepare_scratch() {
    # Not in SCRATCH, which may have blanks in its path: the shell would split what pkg-config
    # prints.
    home=$(mktemp -d)
    trap 'rm -rf -- "$home"' EXIT
    rm -rf -- "$scratch"
    mkdir -p -- "$scratch/nuriccl"
    local entry
    for entry in "$checkout"/* "$checkout"/.[!.]*; do
        case ${entry##*/} in
        build* | .git | .cache) ;;
        *) cp -R -- "$entry" "$scratch/nuriccl/" ;;
        esac
    done
}

take_file() {
    local path=$scratch/$1
    mkdir -p -- "$(dirname -- "$path")"
    printf '%s' "$2" >"$path"
    case $1 in
    *.cpp) sources+=("${1##*/}") ;;
    esac
    uses+=$2
}

run_commands() {
    local status=0
    printf -- '--- line %d, in %s\n%s' "$line_number" "$1" "$2"
    # Only what a reader has in a new shell.
    printed=$(cd -- "$scratch/$1" && env -i PATH="$PATH" HOME="$home" \
        bash -euo pipefail -c "$2" </dev/null) || status=$?
    printf '%s\n' "$printed"
    ((status == 0)) || stop "the commands above end with status $status"
    has_printed=true
    uses+=$2
}

compare_output() {
    [[ $has_printed == true ]] || stop "no commands come before this output"
    [[ $1 == "$printed"$'\n' ]] || stop "the commands print something else"
    has_printed=false
    ((++compared))
}

check_scripts() {
    local words word count=0
    read -r -d '' -a words <<<"$1" || true
    for word in "${words[@]}"; do
        if [[ $word == scripts/* ]]; then
            [[ -x $checkout/$word ]] || stop "$word is no program"
            bash -n "$checkout/$word" || stop "$word is no sound shell script"
            ((++count))
        fi
    done
    ((count != 0)) || stop "no script is named here"
}

# take_block KIND ARGUMENT LANGUAGE TEXT
take_block() {
    case $1/$3 in
    file/cpp | file/cmake) take_file "$2" "$4" ;;
    run/sh) run_commands "$2" "$4" ;;
    output/text) compare_output "$4" ;;
    scripts/sh) check_scripts "$4" ;;
    sample/text) ;;
    *) stop "a block of the language '$3' cannot be '$1'" ;;
    esac
    ((++blocks))
}

read_document() {
    local line kind='' argument='' language='' text='' inside=false
    while IFS= read -r line; do
        ((++line_number))
        if [[ $inside == true ]]; then
            if [[ $line == '```' ]]; then
                inside=false
                take_block "$kind" "$argument" "$language" "$text"
                kind=
            else
                text+=$line$'\n'
            fi
        elif [[ $line =~ ^'<!-- example: '([a-z]+)' '?([^ ]*)' -->'$ ]]; then
            kind=${BASH_REMATCH[1]} argument=${BASH_REMATCH[2]}
        elif [[ $line == '```'* ]]; then
            [[ -n $kind ]] || stop "no comment above this block says what it is"
            inside=true language=${line#'```'} text=
        elif [[ $line =~ ^[[:blank:]]*('```'|'~~~') ]]; then
            stop "blocks start at the margin, with three backquotes"
        else
            kind= # it must stand right above
        fi
    done <"$document"
    [[ $inside == false ]] || stop "the last block has no end"
}

prepare_scratch
read_document
((blocks != 0)) || stop "no blocks"
for source in "${sources[@]}"; do
    [[ $uses == *"$source"* ]] || stop "nothing builds $source"
done
((compared >= ${#sources[@]})) || stop "shows more programs than outputs"
printf '%d blocks hold\n' "$blocks"
