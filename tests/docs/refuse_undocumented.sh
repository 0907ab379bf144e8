#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Shows that doxygen, with docs/Doxyfile, refuses a class without a comment:
# refuse_undocumented.sh ROOT
set -eu

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo 'class Undocumented { public: int member(); };' >"$work/Undocumented.h"
printf '%s\n' '@INCLUDE = docs/Doxyfile' "INPUT = \"$work\"" "OUTPUT_DIRECTORY = \"$work\"" >"$work/Doxyfile"

cd "$1"
if doxygen "$work/Doxyfile" >"$work/report" 2>&1; then
    echo "doxygen lets a class without a comment through" >&2
    exit 1
fi
grep -q 'Undocumented is not documented' "$work/report"
