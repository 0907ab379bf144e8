#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Shows that the walk through the slots detects swapped operations: compiles it with copies of the
# headers in which two operations of every interface are swapped.
# Usage: refuse_swapped_slots.sh BITS ROOT PORTING_LAYER WALK_SOURCE...
set -eu

bits=$1
root=$2
port=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$root/include" "$work"

# swap HEADER FIRST SECOND: exchanges the lines that declare two operations.
swap() {
    local header=$work/include/$1.h
    awk -v first=" $2\\(" -v second=" $3\\(" '
        NR == FNR && $0 ~ first { one = $0 }
        NR == FNR && $0 ~ second { two = $0 }
        NR == FNR { next }
        $0 ~ first { print two; next }
        $0 ~ second { print one; next }
        { print }' "$header" "$header" >"$work/swapped"
    mv "$work/swapped" "$header"
}

# seen PROBLEM: the walk must have reported it.
seen() {
    if ! grep -qxF "$1" "$work/problems"; then
        echo "Not seen: $1"
        cat "$work/problems"
        exit 1
    fi
}

swap IBase incRef decRef
swap IPlugin init getInstance
swap IConfig getInt32 getAttrInt32
swap IConfigManager setInt32 storeInt32
swap IConfigChanged getID getKey
swap IEventDispatcher addListener removeListener
swap ILogger info debug
# The listener has only one operation, so another one replaces it.
sed -i 's/virtual int handleEvent/virtual void added() {}\n    &/' "$work/include/IEventListener.h"

g++ "-m$bits" -std=c++20 "-I$work/include" "-I$root/port" "-I$root/tests" \
    "$root/tests/headers/walk_slots.cpp" "$@" "$port" \
    "-Wl,-rpath,$(dirname "$port")" -o "$work/walk"
result=0
"$work/walk" >"$work/problems" || result=$?
if [ $result -ne 1 ]; then
    echo "The walk ends with $result"
    exit 1
fi

for interface in IBase IPlugin IConfig IConfigManager IConfigChanged IEventDispatcher \
    IEventListener ILogger; do
    seen "$interface slot 1 reaches decRef instead of incRef"
    seen "$interface slot 2 reaches incRef instead of decRef"
done
seen "IPlugin slot 3 reaches getInstance instead of init"
seen "IPlugin slot 5 reaches init instead of getInstance"
seen "IConfig slot 6 reaches getAttrInt32 instead of getInt32"
seen "IConfig slot 13 reaches getInt32 instead of getAttrInt32"
seen "IConfigManager slot 14 reaches storeInt32 instead of setInt32"
seen "IConfigManager slot 30 reaches setInt32 instead of storeInt32"
seen "IConfigChanged slot 4 reaches getKey instead of getID"
seen "IConfigChanged slot 5 reaches getID instead of getKey"
seen "IEventDispatcher slot 3 reaches removeListener instead of addListener"
seen "IEventDispatcher slot 4 reaches addListener instead of removeListener"
seen "IEventListener slot 3 reaches nothing instead of handleEvent"
seen "ILogger slot 6 reaches debug instead of info"
seen "ILogger slot 8 reaches info instead of debug"
if [ "$(wc -l <"$work/problems")" -ne 29 ]; then
    echo "The walk sees more than was done:"
    cat "$work/problems"
    exit 1
fi
