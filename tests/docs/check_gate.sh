#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that the table of the gate in a document has the steps of .ci/run: check_gate.sh DOCUMENT ROOT
set -eu

# shellcheck disable=SC2016 # the texts of the files
diff --label .ci/run --label "$(basename "$1")" \
    <(sed -n 's/^step "[^"]*" "$root\/\([^"]*\)"/\1/p' "$2/.ci/run") \
    <(sed -n '/^## The gate$/,/^## /s/^|[^|]*| `\(scripts[^`]*\)`.*/\1/p' "$1")
