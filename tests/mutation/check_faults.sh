#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that every fault of some lists can still be planted: check_faults.sh TREE LIST...
set -eu

# shellcheck source-path=SCRIPTDIR source=faults.sh
. "$(dirname "$0")/faults.sh"
tree=$1
shift
read_faults "$@"

stale=0
for id in "${fault_ids[@]}"; do
    if ! planted "$tree" "$id" >/dev/null; then
        echo "$id: its old text is not in ${fault_file[$id]} exactly once" >&2
        stale=$((stale + 1))
    fi
done
echo "${#fault_ids[@]} faults, $stale of them stale"
[ "$stale" -eq 0 ]
