#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that systemd accepts the example unit and rates its exposure below 2.0:
# check_unit.sh UNIT HOST
set -eu

if ! command -v systemd-analyze >/dev/null; then
    echo "SKIPPED: systemd-analyze is not installed, so the unit is not checked"
    exit 77
fi
work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-test-XXXXXX")
trap 'rm -rf "$work"' EXIT

sed "s,/usr/bin/ixla-host,$2," "$1" >"$work/ixla-host@example.service"
grep -qF "ExecStart=$2 --prs" "$work/ixla-host@example.service"
systemd-analyze verify --man=no "$work/ixla-host@example.service"
# The threshold is in tenths.
systemd-analyze security --no-pager --offline=yes --threshold=19 \
    "$work/ixla-host@example.service" >"$work/report"
tail -n 1 "$work/report"
