#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks the number of slots in the virtual tables of a library's classes:
# check_tables.sh LIBRARY WORD_SIZE CLASS=SLOTS...
# The library needs its symbols; a table is two words longer than its slots.
set -eu

library=$1
word=$(($2 / 8))
shift 2
symbols=$(nm -S --defined-only "$library")
failed=0

for promise; do
    class=${promise%=*}
    symbol=_ZTV${#class}$class
    size=$(awk -v symbol="$symbol" '$4 == symbol { print $2 }' <<<"$symbols")
    slots=$((0x${size:-0} / word - 2))
    if [ $slots -ne "${promise#*=}" ]; then
        echo "The table of $class has $slots slots and not ${promise#*=}" >&2
        failed=1
    fi
done
exit $failed
