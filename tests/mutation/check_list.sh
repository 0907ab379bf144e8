#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The whole run of scripts/mutation.sh tries the faults that its samples take turns with, and none
# that no test can catch: check_list.sh ROOT LIST...
set -eu -o pipefail

root=$1
whole=$("$root/scripts/mutation.sh" --list | awk '{ print $1 }' | sort)
sampled=$("$root/tests/mutation/listed.py" 0 100000 "${@:2}" | sed -E 's/^\{"operator": "([^"]+)".*/\1/' |
    sort -u)
useless=$(awk '/^id: / { id = $2 } /^survives: / { print id }' "${@:2}" | sort)

diff <(echo "$whole") <(echo "$sampled")
[ -n "$useless" ]
if comm -12 <(echo "$whole") <(echo "$useless") | grep .; then
    echo "No test can catch these" >&2
    exit 1
fi
