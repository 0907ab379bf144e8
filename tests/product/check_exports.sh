#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that a library exports exactly the names of a list: check_exports.sh LIBRARY LIST
set -u

diff -u "$2" <(nm -D --defined-only "$1" | awk '{ print $NF }' | LC_ALL=C sort) ||
    { echo "$(basename "$1") exports other symbols than $2 says" >&2; exit 1; }
