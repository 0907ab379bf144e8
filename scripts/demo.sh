#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the product and runs the examples, in a clean environment (see clean-env.sh): demo.sh
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/demo

# With the caller's variables, because it may need a proxy.
"$root/scripts/install-deps.sh" build

quietly() {
    "$root/scripts/clean-env.sh" "$@" >"$build/build.log" 2>&1 || {
        tail -n 40 "$build/build.log" >&2
        exit 1
    }
}

cd "$root"
mkdir -p "$build"
echo "Building the product and the examples in $build"
quietly cmake --preset release -B "$build" -DIXLAL_BUILD_TESTS=OFF
quietly cmake --build "$build"

"$root/scripts/clean-env.sh" "$root/examples/run-demo.sh" --keep "$build" 4
