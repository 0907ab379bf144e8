#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Compares the stripped sizes of libraries with their limits: check_sizes.sh STRIP LIBRARIES LIMITS
# Each line of LIMITS has a file name in LIBRARIES and a number of bytes.
set -eu

stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
failed=0
while read -r name limit; do
    "$1" -o "$stripped" "$2/$name"
    size=$(stat -c %s "$stripped")
    echo "$name: $size bytes, limit $limit"
    [ "$size" -le "$limit" ] || failed=1
done <"$3"
exit "$failed"
