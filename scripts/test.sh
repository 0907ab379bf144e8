#!/usr/bin/env bash
# Builds the product and its tests and runs them all: test.sh [PRESET]
# The preset is release (32-bit) unless another one of CMakePresets.json is named.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
preset=${1:-release}

"$root/scripts/install-deps.sh" test
cd "$root"
mkdir -p build
cmake --preset "$preset" >build/configure.log || { cat build/configure.log; exit 1; }
cmake --build --preset "$preset"
ctest --preset "$preset"
