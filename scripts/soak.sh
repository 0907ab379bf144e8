#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the soak and runs it: soak.sh [--minutes N] [--preset release|tsan]
# Many threads use the core for N minutes (30), while it is stopped and started repeatedly. The table
# at the end shows the operations and the resources of the process; the result is 1 after an error or
# if a resource grew. Files are in TMPDIR, /dev/shm by default.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
minutes=30
preset=release

usage() {
    sed -n '3s/^# //p' "$0" >&2
    exit 2
}

while [ $# -gt 0 ]; do
    [ $# -ge 2 ] || usage
    case $1 in
    --minutes) minutes=$2 ;;
    --preset) preset=$2 ;;
    *) usage ;;
    esac
    shift 2
done
case $minutes in
'' | *[!0-9]* | 0*) usage ;;
esac

"$root/scripts/install-deps.sh" test
cd "$root"
mkdir -p build
log=build/soak-build.log
{ cmake --preset "$preset" && cmake --build --preset "$preset" --target ixlal-soak; } >"$log" || {
    tail -n 40 "$log" >&2
    exit 1
}

if [ -z "${TMPDIR:-}" ] && [ -w /dev/shm ]; then
    export TMPDIR=/dev/shm
fi
echo "Soaking $preset for $minutes minutes"
# The core prints every start to the standard error stream.
"build/$preset/bin/ixlal-soak" --seconds $((minutes * 60)) 2> >(grep -v -e '^$' -e '^\[iXLA\]' >&2)
