#!/bin/bash
# Builds and runs a project that uses the library, from scratch.
#
# usage: consume.sh run <source> <build folder> <configure option>...
#        consume.sh refuse <message> <source> <build folder> <configure option>...
#                expects that the project cannot be configured, with the message
#
# CMAKE names the cmake to use.
set -euo pipefail
unset LD_LIBRARY_PATH

configure() {
    rm -rf "$2"
    "$CMAKE" -S "$1" -B "$2" "${@:3}"
}

case $1 in
run)
    configure "${@:2}"
    "$CMAKE" --build "$3"
    "$3/consumer"
    ;;
refuse)
    if output=$(configure "${@:3}" 2>&1); then
        echo "$output"
        echo "This project should have been refused."
        exit 1
    fi
    echo "$output"
    # The message may be broken into lines anywhere.
    tr -s '[:space:]' ' ' <<< "$output" | grep -qF -- "$2" || {
        echo "Refused, but not with the message: $2"
        exit 1
    }
    ;;
esac
