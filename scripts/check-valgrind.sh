#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the thread tests of the 32-bit release build under DRD: check-valgrind.sh [PATTERN]
# With a pattern, only the tests whose names match it. Fails if DRD reports an error that
# tests/valgrind/thread.supp does not suppress, or does not report the race of a sample; without a
# pattern, also if a suppression is not used. Files are in TMPDIR, /dev/shm by default; reports are
# in build/valgrind.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
out=build/valgrind

compile() {
    g++ -m32 -std=c++20 -O2 -g -pthread -Wall -Wextra -Werror "$@"
}

"$root/scripts/install-deps.sh" test
"$root/scripts/install-deps.sh" bench
cd "$root"
mkdir -p "$out"
{ cmake --preset release && cmake --build --preset release; } >"$out/build.txt" || {
    tail -n 40 "$out/build.txt" >&2
    exit 1
}
compile -shared -fPIC tests/valgrind/ThreadCalls.cpp -o "$out/thread_calls.so"
compile tests/sanitizers/data_race.cpp -o "$out/data_race"

if [ -z "${TMPDIR:-}" ] && [ -w /dev/shm ]; then
    export TMPDIR=/dev/shm
fi
tests/valgrind/run_tests.py -R "${1:-}" build/release "$out"
