#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The errors of the host for wrong arguments: host-fails.sh HOST CODE TEXT ARGUMENTS...
# It must end with CODE and print TEXT.
set -eu

host=$1
expected=$2
text=$3
shift 3
code=0
output=$("$host" "$@" 2>&1) || code=$?
printf '%s\nexit code: %s\n' "$output" "$code"
[ "$code" -eq "$expected" ]
grep -qF -- "$text" <<<"$output"
