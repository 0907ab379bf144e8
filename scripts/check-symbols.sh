#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Compares the symbols file of the Debian package with built libraries:
#   check-symbols.sh [--record] [LIBRARIES [SYMBOLS]]
# LIBRARIES is a directory with the three libraries, build/release/lib by default; SYMBOLS is
# packaging/symbols by default. Any difference fails. --record writes the file: a new symbol gets the
# present version, which packages that use it depend on from then on.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
recording=no
if [ "${1:-}" = --record ]; then
    recording=yes
    shift
fi
libraries=$(cd "${1:-$root/build/release/lib}" && pwd)
symbols=$(realpath "${2:-$root/packaging/symbols}")
version=$(sed -n 's/^project(ixlal VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

arguments=()
for name in portinglayer logger core; do
    arguments+=("-e$libraries/libixlal.$name.so")
done
# A symbol of the present version that is missing is an error only in a later version.
if [ "$recording" = no ]; then
    version=$version+later
fi
cd "$work"
failed=0
dpkg-gensymbols -plibixlal "-v$version" -ai386 -c4 "-I$symbols" -P. "-O$work/found" \
    "${arguments[@]}" >"$work/report" 2>"$work/errors" || failed=1
if [ ! -f "$work/found" ]; then
    cat "$work/errors" >&2
    exit 1
fi
if [ "$recording" = yes ]; then
    cp "$work/found" "$symbols"
    echo "Recorded $(grep -c '^ ' "$symbols") symbols"
    exit 0
fi
if [ $failed -ne 0 ] || ! diff -u --label "$(basename "$symbols")" --label built "$symbols" \
    "$work/found" >"$work/report"; then
    cat "$work/report" "$work/errors"
    echo "The symbols file differs from the libraries; scripts/check-symbols.sh --record writes it"
    exit 1
fi
echo "$(grep -c '^ ' "$symbols") symbols are those of the symbols file"
