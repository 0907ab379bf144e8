#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Each library exports only the factory and can be unloaded: exports.sh LIBRARY...
set -eu

for library in "$@"; do
    exported=$(nm -D --defined-only "$library" | sed 's/^[^ ]* //')
    if [ "$exported" != "T _Z13ixlaGetPluginv" ]; then
        printf '%s exports:\n%s\n' "$library" "$exported"
        exit 1
    fi
    if readelf -W --syms "$library" | grep ' UNIQUE '; then
        echo "$library can never be unloaded"
        exit 1
    fi
done
