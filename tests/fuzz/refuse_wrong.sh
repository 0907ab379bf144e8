#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Shows that a replay fails when its target does: refuse_wrong.sh REPLAY CORPUS
set -eu

if [ ! -x "$1" ] || [ ! -d "$2" ]; then
    echo "Nothing to run: $*" >&2
    exit 1
fi
if output=$("$1" "$2" 2>&1); then
    echo "A wrong target passed" >&2
    exit 1
fi
# The failure must be that of the check.
case $output in
*"Doesn't hold: bytes come back"*) ;;
*)
    echo "$output" >&2
    exit 1
    ;;
esac
