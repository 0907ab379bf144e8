#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that the scenarios in the table of a document exist: check_scenarios.sh DOCUMENT ROOT
# The table is in the section "What schedules show"; its last column has their names.
set -eu

# shellcheck disable=SC2016 # the text of the document
names=$(sed -n '/^## What schedules show$/,/^## /s/^|.*|\([^|]*`[^|]*\)|$/\1/p' "$1" |
    grep -o '`[A-Za-z0-9]*`' | tr -d '`' | sort -u)
if [ -z "$names" ]; then
    echo "$(basename "$1") names no scenario" >&2
    exit 1
fi
unknown=$(comm -23 <(echo "$names") \
    <(sed -n 's/^SCENARIO(\([A-Za-z0-9]*\).*/\1/p' "$2"/tests/schedules/scenarios/*.cpp | sort -u))
if [ -n "$unknown" ]; then
    echo "$(basename "$1"): no such scenario: ${unknown//$'\n'/ }" >&2
    exit 1
fi
