#!/bin/bash
# Builds the agent of the examples, compares what its program prints, and runs tests of nuriccl on
# the agent's services.
#
# usage: embedding_example.sh <source> <build folder> <configure option>...
#
# CMAKE names the cmake to use.
set -euo pipefail
unset LD_LIBRARY_PATH
source=$1
build=$2

rm -rf "$build"
# Two programs do not make up for headers that are compiled for all; joined sources are compiled in
# three quarters of the time.
"$CMAKE" -S "$source" -B "$build" -DNURICCL_BUILD_TESTS=ON -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON \
    -DCMAKE_UNITY_BUILD=ON "${@:3}"
"$CMAKE" --build "$build" --target component nuriagent_base64 nuriccl_signature
diff -u "$source/expected.txt" <("$build/component")
for program in nuriagent_base64 nuriccl_signature; do
    "$build/nuriccl/tests/$program" --gtest_brief=1
done

# The program finds the library under the name that the agent gave it.
libraries=$("$READELF" -dW "$build/component")
grep -q 'NEEDED.*\[libagentccl\.so' <<<"$libraries"
! grep -E 'NEEDED.*\[libnuri(ccl|agent)\.so' <<<"$libraries"
