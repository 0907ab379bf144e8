#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the product under a controlled scheduler: schedules.sh [--seconds N] [--runs N] [--seed N]
#                                [--different N] [--scenario NAME]... [--faults] [--replay FILE]...
#                                [--table]
# Builds the preset "schedules". Without options: the self-test of the checks, the recorded
# schedules, all schedules of the small scenarios with two preemptions, and then fresh ones of every
# scenario for N seconds in all (60). --runs: so many of every scenario instead. --seed: of the first
# schedule, drawn otherwise and printed. --scenario: only fresh ones, of this one. --faults: with a
# failing call in most of them. --replay: only runs this schedule and describes it.
#
# --different: only fresh ones, of every scenario until so many of them differ, or hardly any new ones
# are found. The results are added to tests/schedules/searched.txt, with the last commit. Scenarios
# that it names are left out, so an interrupted search continues. --table: only prints them as a
# table.
#
# A schedule that fails is shortened, printed, and written to build/schedules/failed. See
# docs/testing-schedules.md.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
program=build/schedules/bin/ixlal-schedules
failed=build/schedules/failed
searched=tests/schedules/searched.txt
seconds=60
runs=
different=
seed=
scenarios=()
replays=()
options=()

usage() {
    sed -n '3,5s/^# *//p' "$0" >&2
    exit 2
}

print_table() {
    echo "| scenario | first seed | drawn | different | switch points of each | commit |"
    echo "|---|---:|---:|---:|---:|---|"
    sed -E 's/^([^ ]+) +([0-9]+) schedules, +([0-9]+) different, +([0-9]+) points.*seed ([0-9]+).*commit (.*)$/| \1 | \5 | \2 | \3 | \4 | \6 |/' "$searched"
}

read_arguments() {
    while [ $# -gt 0 ]; do
        case $1 in
        --faults)
            options+=(--faults)
            shift
            continue
            ;;
        --table)
            print_table
            exit
            ;;
        esac
        [ $# -ge 2 ] || usage
        case $1 in
        --seconds) seconds=$2 ;;
        --runs) runs=$2 ;;
        --different) different=$2 ;;
        --seed) seed=$2 ;;
        --scenario) scenarios+=("$2") ;;
        --replay) replays+=(--replay "$(realpath "$2")") ;;
        *) usage ;;
        esac
        shift 2
    done
    case $seconds$runs$different$seed in
    *[!0-9]*) usage ;;
    esac
}

build() {
    local log=build/schedules-build.log
    "$root/scripts/install-deps.sh"
    mkdir -p build
    { cmake --preset schedules && cmake --build --preset schedules; } >"$log" 2>&1 || {
        tail -n 40 "$log" >&2
        exit 1
    }
    mkdir -p "$failed"
}

# Fresh schedules of the scenarios whose number, modulo the processors, is $1.
search_share() {
    local own=() i
    for ((i = $1; i < ${#scenarios[@]}; i += processors)); do
        own+=(--scenario "${scenarios[i]}")
    done
    [ ${#own[@]} -gt 0 ] || return 0
    local limit=(--runs 1000000000 --seconds "$((seconds * processors / ${#scenarios[@]} + 1))")
    [ -z "$runs" ] || limit=(--runs "$runs")
    [ -z "$different" ] || limit=(--runs 1000000000 --different "$different")
    exec "$program" "${own[@]}" "${limit[@]}" "${options[@]}" --processor "$1" --seed "$seed" \
        --save "$failed"
}

# On every processor a share of the scenarios.
search() {
    local processors shares=() i result=0
    processors=$(nproc)
    trap 'kill $(jobs -p) 2>/dev/null || true' EXIT
    [ -n "$seed" ] || seed=$(od -An -N4 -tu4 /dev/urandom | tr -d ' ')
    echo "== Fresh schedules, seed $seed"
    for ((i = 0; i < processors; i++)); do
        search_share "$i" &
        shares+=($!)
    done
    for i in "${shares[@]}"; do
        wait "$i" || result=1
    done
    return $result
}

check_known() {
    local recorded=() file
    echo "== Faults that the checks have to find"
    "$program" --self-test
    for file in tests/schedules/recorded/*.schedule; do
        [ ! -e "$file" ] || recorded+=(--replay "$file")
    done
    if [ ${#recorded[@]} -gt 0 ]; then
        echo "== Recorded schedules"
        "$program" "${recorded[@]}"
    fi
    echo "== All schedules with two preemptions"
    "$program" --exhaustive --runs 1000000 --save "$failed"
}

# The scenarios of the arguments, or all.
wanted_scenarios() {
    if [ ${#scenarios[@]} -gt 0 ]; then
        printf '%s\n' "${scenarios[@]}"
        return
    fi
    "$program" --list | grep -v 'wrong on purpose' | cut -d' ' -f1
}

# Those that the file of results does not name.
search_long() {
    touch "$searched"
    mapfile -t scenarios < <(wanted_scenarios | grep -vxF -f <(cut -d' ' -f1 "$searched"))
    if [ ${#scenarios[@]} -eq 0 ]; then
        echo "All of them are in $searched"
        return
    fi
    local commit
    commit=$(git rev-parse --short=8 HEAD)
    search | tee >(sed -nu "/, interrupted/!s/: passed\$/&, commit $commit/p" >>"$searched")
}

read_arguments "$@"
build
if [ ${#replays[@]} -gt 0 ]; then
    exec "$program" --explain "${replays[@]}"
fi
if [ -n "$different" ]; then
    search_long
    exit
fi
if [ ${#scenarios[@]} -eq 0 ]; then
    check_known
    mapfile -t scenarios < <(wanted_scenarios)
fi
search
