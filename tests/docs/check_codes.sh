#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that a document explains every result code of the header: check_codes.sh HEADER DOCUMENT
set -eu

failed=0
while read -r name code; do
    # In a row of a table, alone or with other codes.
    if ! grep -q "^|.*$code \`$name\`" "$2"; then
        echo "$2 says nothing about $code $name" >&2
        failed=1
    fi
done < <(sed -n 's/^ *\(eIxla[A-Za-z]*\) = \(-[0-9]*\),\{0,1\}.*/\1 \2/p' "$1")
exit $failed
