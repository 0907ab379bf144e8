#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the product and its tests and runs them all: test.sh [--hostile] [--core[=DIRECTORY]] [PRESET]
# The preset is release (32-bit) unless another one of CMakePresets.json is named. All of it runs in
# a clean environment, or with --hostile in an unusual one; see clean-env.sh. --core builds and tests
# only the libraries, --core=DIRECTORY only the tests of this directory of them below tests/. The end
# lists the skipped tests with their reasons, and for other processors counts what is left out.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
clean=("$root/scripts/clean-env.sh")
targets=()
tests=()
if [ "${1:-}" = --hostile ]; then
    clean+=(--hostile)
    shift
fi
case ${1:-} in
--core)
    targets=(--target ixlal_core_tests)
    tests=(--label-regex '^core-')
    shift
    ;;
--core=*)
    targets=(--target "ixlal_core_tests_${1#*=}")
    tests=(--label-regex "^core-${1#*=}\$")
    shift
    ;;
esac
preset=${1:-release}
results=$root/build/$preset/tests.xml

# With the caller's variables, because it may need a proxy.
"$root/scripts/install-deps.sh" test
case $preset in
    armhf | powerpc) "$root/scripts/install-deps.sh" "$preset" ;;
esac
cd "$root"
mkdir -p build
"${clean[@]}" cmake --preset "$preset" >build/configure.log || {
    cat build/configure.log
    exit 1
}
"${clean[@]}" cmake --build --preset "$preset" "${targets[@]}"
rm -f "$results"
code=0
"${clean[@]}" ctest --preset "$preset" "${tests[@]}" --output-junit "$results" \
    --test-output-size-passed 4000000 || code=$?
"${clean[@]}" python3 "$root/scripts/skipped_tests.py" "$results"
left_out=tests/$preset/left-out.txt
if [ -e "$left_out" ]; then
    echo "Left out: $(grep -c '^[^#]' "$left_out") entries of $left_out"
fi
exit "$code"
