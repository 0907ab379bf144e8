#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the example host and its plugins: run-demo.sh [--keep] BUILD_DIR SECONDS
# Two runs of SECONDS each, then one with a plugin that cannot be loaded, in a new temporary
# directory, which --keep leaves in place. Exits with 0 only when all expected output was found.
set -eu

keep=no
if [ "$1" = --keep ]; then
    keep=yes
    shift
fi
examples=$(cd "$(dirname "$0")" && pwd)
built=$(cd "$1" && pwd)/examples
seconds=$2

work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-demo-XXXXXX")
clean_up() {
    [ "$keep" = yes ] || rm -rf "$work"
}
trap clean_up EXIT

say() {
    printf '\n== %s\n' "$*"
}

fail() {
    printf 'DEMO FAILED: %s\n' "$*" >&2
    exit 1
}

# expect WHAT PATTERN FILE: a line of the file must match.
expect() {
    grep -Eq -- "$2" "$3" || fail "$1: nothing like '$2' in $3"
    printf 'seen: %s\n' "$1"
}

# run NAME ARGUMENTS...: runs the host; its output goes to NAME.out and to the screen.
run() {
    local name=$1 code=0
    shift
    "$built/example-host" --config config/core.prs "core.log.file=log/core-$name.log" \
        --seconds "$seconds" "$@" >"$name.out" 2>&1 || code=$?
    sed '/^$/d' "$name.out"
    return "$code"
}

# show FILE: prints the path and the last lines.
show() {
    printf '%s\n' "$work/$1"
    tail -n 4 "$1" | sed 's/^/    /'
}

# The lines of the alarm's log after the memory threshold was raised.
after_raise() {
    sed -n '/memory in percent: threshold was 0 and is now 101/,$p' log/alarm.log
}

cd "$work"
mkdir plugins log
cp -r "$examples/config" config
cp "$built"/plugins/{sampler,alarm,reporter}/*.so plugins/

say "First run, $seconds seconds; half way the host raises both thresholds of the alarm"
run first --raise memory.max=101 --raise load.max=100000 || fail "first run ended with code $?"
expect "samples arrived" '^\[reporter\] samples: [1-9]' first.out
expect "nothing was known of earlier runs" 'highest of earlier runs: load none, memory none' first.out
expect "the reporter heard of both settings" 'configuration changes: 2$' first.out
expect "the memory threshold was raised" 'memory in percent: threshold was 0 and is now 101' log/alarm.log
expect "the load threshold is pinned with const" 'load in hundredths: threshold was set at run time and stays 0' log/alarm.log
expect "the memory alarm came before the raise" 'memory in percent: ALARM, [0-9]+ has reached 0' log/alarm.log
after_raise | grep -q 'memory in percent: ALARM' && fail "memory alarm after the threshold was raised"
after_raise | grep -q 'load in hundredths: ALARM' || fail "no load alarm after the setting"
echo "seen: after the raise the load alarm goes on and the memory alarm is quiet"
mv log/alarm.log log/alarm-first.log
highest=$(sed -n 's/^\[reporter\] highest so far: //p' first.out)

say "Second run: the store brings back the highest values of the first"
run second || fail "second run ended with code $?"
expect "highest values of the first run: $highest" "highest of earlier runs: $highest\$" second.out

say "Third run, with a plugin that needs a function nobody supplies"
cp "$built"/plugins/broken/*.so plugins/
code=0
run third || code=$?
[ "$code" -eq 1 ] || fail "third run ended with code $code instead of 1"
expect "the host says that the start failed" 'start failed, result: -8' third.out
expect "the loader's reason" 'libbroken.so.*undefined symbol: .*exampleFunctionThatNobodySupplies' log/core-third.log
grep -E 'undefined symbol|Failed to load lib' log/core-third.log | sed 's/^/    /'

say "Logs and store, with their last lines"
for file in log/core-second.log log/ixlaplugins.log log/alarm-first.log log/alarm.log config/store.txt; do
    show "$file"
done

say "All of it was seen"
if [ "$keep" = yes ]; then
    echo "The files stay in $work"
fi
