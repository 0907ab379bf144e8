#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Fuzzes the product: fuzz.sh [--seconds N] [--jobs N] [TARGET...]
# Runs each given target of tests/fuzz (default: all) for N seconds (60), two at a time or as many
# as --jobs. New inputs are stored in build/fuzz/work; tests/fuzz/corpus is only read. Fails on any
# finding and prints the command that reproduces it.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/fuzz
work=$build/work
seconds=60
jobs=2
targets=()

usage() {
    sed -n '3,6s/^# //p' "$0" >&2
    exit 2
}

read_arguments() {
    while [ $# -gt 0 ]; do
        case $1 in
        --seconds | --jobs)
            [[ "${2:-}" =~ ^[1-9][0-9]*$ ]] || usage
            declare -g "${1#--}=$2"
            shift
            ;;
        -*) usage ;;
        *)
            [ -d "$root/tests/fuzz/corpus/$1" ] || usage
            targets+=("$1")
            ;;
        esac
        shift
    done
    if [ ${#targets[@]} -eq 0 ]; then
        targets=(conversions format keys log notes parser request store tokens utf8)
    fi
}

build_fuzzers() {
    mkdir -p "$work"
    cmake --preset fuzz >"$build/configure.log" || { cat "$build/configure.log"; exit 1; }
    cmake --build --preset fuzz
}

# fuzz TARGET SECONDS CORPUS...: writes results to TARGET.log, findings to TARGET-*
# Entropic scheduling is off, because it costs more than the targets themselves; so do the stacks of
# allocations. Freed memory is kept back while it fits into the caches of a processor, which is the
# memory of several inputs. Longer inputs find hardly more and take much longer.
fuzz() {
    local target=$1 limit=$2 dictionary=$root/tests/fuzz/dictionaries/$1.dict
    local options=(-entropic=0 -timeout=60 -print_final_stats=1 -max_len=512)
    shift 2
    if [ -f "$dictionary" ]; then
        options+=("-dict=$dictionary")
    fi
    ASAN_OPTIONS=malloc_context_size=0:quarantine_size_mb=1:thread_local_quarantine_size_kb=64 \
        "$build/bin/fuzz_$target" "${options[@]}" "-max_total_time=$limit" \
        "-artifact_prefix=$work/$target-" "$@" >"$work/$target.log" 2>&1
}

# The fuzzer cuts the files of a corpus to the length of its own inputs.
replay() {
    find "$root/tests/fuzz/corpus/$1" -type f -exec "$build/bin/fuzz_$1" \
        "-artifact_prefix=$work/$1-" {} + >"$work/$1.log" 2>&1
}

# prove_bite TARGET REPORT: checks that the fuzzer detects a target with a deliberate error.
prove_bite() {
    rm -rf "${work:?}/$1" "$work/$1"-*
    mkdir -p "$work/$1"
    if fuzz "$1" 60 "$work/$1" || ! grep -q "$2" "$work/$1.log"; then
        echo "The fuzzer does not detect a deliberate error; see $work/$1.log" >&2
        exit 1
    fi
    echo "Detected a deliberate error: $2"
}

# The last line of progress has the coverage, the statistics after it the executions.
report() {
    awk -v name="$1" '
        /^#[0-9]+[ \t]+[A-Za-z]+ +cov: / { for (i = 1; i < NF; ++i) seen[$i] = $(i + 1) }
        /^stat::number_of_executed_units:/ { executions = $2 }
        /^stat::average_exec_per_sec:/ { rate = $2 }
        END { printf "%-12s %10d executions %7d exec/s %6d edges %7d features, corpus %s\n",
                     name, executions, rate, seen["cov:"], seen["ft:"], seen["corp:"] }
    ' "$work/$1.log"
}

tell_finding() {
    local finding
    tail -n 60 "$work/$1.log" >&2
    finding=$(sed -n 's/.*Test unit written to //p' "$work/$1.log" | tail -n 1)
    echo "$1: FOUND ${finding:-a failure, see $work/$1.log}" >&2
    echo "Run it again: $build/bin/fuzz_$1 ${finding:-}" >&2
    echo "Keep it: copy it to tests/fuzz/corpus/$1/" >&2
}

# Creates a file for each target that failed.
run_target() {
    mkdir -p "$work/$1"
    rm -f "$work/$1.failed"
    if replay "$1" && fuzz "$1" "$seconds" "$work/$1" "$root/tests/fuzz/corpus/$1"; then
        report "$1"
    else
        touch "$work/$1.failed"
    fi
}

run_targets() {
    local running=0 target
    for target in "${targets[@]}"; do
        if [ "$running" -ge "$jobs" ]; then
            wait -n
        fi
        run_target "$target" &
        running=$((running + 1))
    done
    wait
}

tell_failures() {
    local target failed=0
    for target in "${targets[@]}"; do
        if [ -e "$work/$target.failed" ]; then
            tell_finding "$target"
            failed=1
        fi
    done
    return "$failed"
}

read_arguments "$@"
"$root/scripts/install-deps.sh" test
cd "$root"
build_fuzzers

prove_bite wrong "Doesn't hold: bytes come back"
prove_bite overrun "AddressSanitizer: heap-buffer-overflow"
run_targets
tell_failures
