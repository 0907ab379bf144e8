#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Measures the product, floors and peers:
#   bench.sh              everything: table, JSON and plots in build/bench/results
#   bench.sh --publish [SAMPLES]
#                         the same, and writes the figures and plots to docs/performance.md; takes
#                         SAMPLES samples of each case (12)
#   bench.sh --short      each case once; fails on allocations, sizes and instructions, never on times
#   bench.sh --record     as --short, but records the instructions as the new baseline
# All contestants of a case run in one process, in turns. Instructions are counted by callgrind.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/bench
results=$build/results
# Debian's own interpreter, for which its packages are installed.
report=(/usr/bin/python3 "$root/scripts/bench_report.py" "$results")
repetitions=${2:-12}
# The cases that the short form counts: those of the product and of the floors. Cases on disk are
# excluded because the instructions are the same, a start with 500 plugins because it takes long, and
# subscribing 10,000 listeners because the count depends on their addresses.
briefly='^(?!.* disk/)(?!subscribe/.*/10000/).*/(floor[^/]*|ours)/(?!500/)'

prepare() {
    "$root/scripts/install-deps.sh" "$1"
    "$root/scripts/fetch-peers.sh"
    cd "$root"
    cmake --preset bench >build/configure.log || {
        cat build/configure.log
        exit 1
    }
    cmake --build --preset bench
    rm -rf "$results"
    mkdir -p "$results"
}

# measure REPETITIONS
measure() {
    "$build/bin/ixlal-bench" --benchmark_repetitions="$1" \
        --benchmark_enable_random_interleaving=true \
        --benchmark_out="$results/times.json" --benchmark_out_format=json \
        >"$results/times.log" 2>"$results/errors.log" || {
        cat "$results/errors.log"
        exit 1
    }
}

# count [PATTERN OF NAMES]
count() {
    local counts=$results/counts
    mkdir -p "$counts"
    valgrind --tool=callgrind --instr-atstart=no --callgrind-out-file="$counts/out" \
        "$build/bin/ixlal-bench" --count "${1:-}" >"$counts/turns" 2>"$counts/log" || {
        cat "$counts/log"
        exit 1
    }
}

# The instrumented build of the schedule tests counts atomic operations, locks and shared lines.
count_costs() {
    {
        cmake --preset schedules && cmake --build --preset schedules
    } >"$results/schedules.log" 2>&1 || {
        cat "$results/schedules.log"
        exit 1
    }
    "$root/build/schedules/bin/ixlal-schedules" --costs | tee "$results/costs"
}

measure_fully() {
    measure "$repetitions"
    cp /proc/loadavg "$results"
    "$build/bin/ixlal-bench" --shared-line >"$results/shared-line"
    count
    count_costs
    "$build/bin/ixlal-sizes" 2>/dev/null | tee "$results/sizes"
}

measure_briefly() {
    measure 1
    count "$briefly"
    count_costs
    "$build/bin/ixlal-sizes" 2>/dev/null
}

case ${1-} in
    "")
        prepare plots
        measure_fully
        "${report[@]}" report
        ;;
    --publish)
        prepare plots
        measure_fully
        "${report[@]}" publish
        ;;
    --short)
        prepare bench
        measure_briefly
        "${report[@]}" check
        ;;
    --record)
        prepare bench
        measure_briefly
        "${report[@]}" record
        ;;
    *)
        sed -n '3,10s/^# \?//p' "$0"
        exit 2
        ;;
esac
