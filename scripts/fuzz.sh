#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Fuzzes the product: fuzz.sh [--seconds N] [--runs N] [--executions N] [--seed N] [--jobs N]
#                             [--table] [--coverage] [--minimise] [TARGET...]
# Runs each given target of tests/fuzz (default: all) for N seconds (60), one on each processor or
# as many as --jobs. New inputs are stored in build/fuzz/work; tests/fuzz/corpus is only read. Fails
# on any finding and prints the command that reproduces it. --seed: of the random inputs.
#
# --runs: N executions of each target instead, from the corpus and --seed (1) alone, so that every
# run of the same sources has the same inputs.
#
# --executions: until N executions of each target are recorded in tests/fuzz/executed.txt, with the
# last commit, in runs of at most 500,000 with other seeds. An interrupted search continues.
# --table: only prints what is recorded.
#
# --coverage: only prints which lines of the sources of each target its corpus covers. --minimise:
# replaces the inputs "grown_*" of each corpus by the smallest ones, of these and of those in
# build/fuzz/work, that together cover the same. The other inputs stay.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/fuzz
work=$build/work
corpora=$root/tests/fuzz/corpus
executed=$root/tests/fuzz/executed.txt
all=(conversions format keys log notes parser request store tokens utf8)
mode=search
seconds=60
runs=
executions=
seed=
launcher=()
jobs=$(nproc)
targets=()

# The sources that a target is for.
declare -A sources=(
    [conversions]="port/portinglayer/PUtils.cpp"
    [format]="port/logger/PLogFormat.cpp port/logger/PLogField.cpp port/logger/PLogNumbers.cpp
        port/logger/PLogSpec.cpp port/logger/PLogNarrow.cpp"
    [keys]="tools/shared/DeclaredKey.cpp tools/shared/PConfigFile.cpp tools/shared/PKeyNote.cpp"
    [log]="port/logger"
    [notes]="tools/shared/PElfNotes.cpp tools/shared/PPluginNotes.cpp"
    [parser]="config/PConfigFormat.cpp config/PConfigLoader.cpp config/PConfigRecords.cpp
        config/PConfigAttributes.cpp config/PConfigValues.cpp core/PStartArguments.cpp"
    [request]="tools/control/PJsonObject.cpp tools/control/PRequest.cpp"
    [store]="config/PConfigManager.cpp config/PConfigStore.cpp config/PStoreWriter.cpp
        config/PRunTimeValues.cpp config/PTypedConfigManager.cpp"
    [tokens]="port/portinglayer/PLiteral.cpp port/portinglayer/PString.cpp"
    [utf8]="port/portinglayer/PUtf8.cpp port/portinglayer/PFile.cpp"
)

usage() {
    sed -n '3,4s/^# *//p' "$0" >&2
    exit 2
}

print_table() {
    echo "| target | executions | processor seconds | per second | runs |"
    echo "|---|---:|---:|---:|---:|"
    awk '
        { count[$1] += $2; time[$1] += $4; ++runs[$1] }
        END {
            for (name in count) {
                printf "| %s | %d | %d | %d | %d |\n", name, count[name], time[name],
                    count[name] / time[name], runs[name]
            }
        }' "$executed" | sort
}

read_arguments() {
    while [ $# -gt 0 ]; do
        case $1 in
        --seconds | --runs | --executions | --seed | --jobs)
            [[ "${2:-}" =~ ^[1-9][0-9]*$ ]] || usage
            declare -g "${1#--}=$2"
            shift
            ;;
        --table)
            print_table
            exit
            ;;
        --coverage | --minimise) mode=${1#--} ;;
        -*) usage ;;
        *)
            [[ " ${all[*]} " == *" $1 "* ]] || usage
            targets+=("$1")
            ;;
        esac
        shift
    done
    [ ${#targets[@]} -gt 0 ] || targets=("${all[@]}")
}

# build_fuzzers PRESET
build_fuzzers() {
    mkdir -p "$work" "$root/build/$1"
    cmake --preset "$1" >"$root/build/$1/configure.log" ||
        { cat "$root/build/$1/configure.log"; exit 1; }
    cmake --build --preset "$1"
}

# fuzz TARGET OPTION|CORPUS...: writes results to TARGET.log, findings to TARGET-*
# Entropic scheduling is off, because it costs more than the targets themselves; so do the stacks of
# allocations. Freed memory is kept back while it fits into the caches of a processor, which is the
# memory of several inputs. Longer inputs find hardly more and take much longer.
fuzz() {
    local target=$1 dictionary=$root/tests/fuzz/dictionaries/$1.dict
    local options=(-entropic=0 -timeout=60 -print_final_stats=1 -max_len=512)
    shift
    if [ -f "$dictionary" ]; then
        options+=("-dict=$dictionary")
    fi
    ASAN_OPTIONS=malloc_context_size=0:quarantine_size_mb=1:thread_local_quarantine_size_kb=64 \
        "${launcher[@]}" "$build/bin/fuzz_$target" "${options[@]}" \
        "-artifact_prefix=$work/$target-" "$@" >"$work/$target.log" 2>&1
}

# The fuzzer cuts the files of a corpus to the length of its own inputs.
replay() {
    find "$corpora/$1" -type f -exec "$build/bin/fuzz_$1" "-artifact_prefix=$work/$1-" {} + \
        >"$work/$1.log" 2>&1
}

# prove_bite TARGET REPORT: checks that the fuzzer detects a target with a deliberate error.
prove_bite() {
    rm -rf "${work:?}/$1" "$work/$1"-*
    mkdir -p "$work/$1"
    if fuzz "$1" -max_total_time=60 "$work/$1" || ! grep -q "$2" "$work/$1.log"; then
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

# Without the inputs of other runs, which the fuzzer would also read while it runs. The product's
# tables have orders that depend on addresses, so these must not be random.
fuzz_runs() {
    local fresh=$work/$1.runs launcher=(setarch --addr-no-randomize)
    "${launcher[@]}" true 2>/dev/null || launcher=()
    rm -rf "$fresh"
    mkdir "$fresh"
    fuzz "$1" "-runs=$runs" "-seed=${seed:-1}" -reload=0 "$fresh" "$corpora/$1"
}

recorded_executions() {
    awk -v name="$1" '$1 == name { count += $2 } END { print count + 0 }' "$executed"
}

# record TARGET FILE SEED: FILE has the user's and the system's seconds.
record() {
    local commit
    commit=$(git -C "$root" rev-parse --short=8 HEAD)
    awk -v name="$1" -v seed="$3" -v commit="$commit" '
        NR == FNR { time = $1 + $2 > 0.1 ? $1 + $2 : 0.1; next }
        /^stat::number_of_executed_units:/ {
            printf "%-12s %8d executions, %8.1f s, %7d/s, seed %d, commit %s\n",
                name, $2, time, $2 / time, seed, commit
        }' "$2" "$work/$1.log" >>"$executed"
}

# Each run has the number of the record as its seed.
fuzz_executions() {
    local left number used=$work/$1.seconds TIMEFORMAT='%U %S'
    while left=$((executions - $(recorded_executions "$1"))) && [ "$left" -gt 0 ]; do
        number=$((${seed:-1} + $(grep -c "^$1 " "$executed" || true)))
        { time fuzz "$1" "-runs=$((left < 500000 ? left : 500000))" "-seed=$number" \
            "$work/$1" "$corpora/$1"; } 2>"$used" || return 1
        record "$1" "$used" "$number"
    done
}

fuzz_as_told() {
    if [ -n "$executions" ]; then
        fuzz_executions "$1"
    elif [ -n "$runs" ]; then
        fuzz_runs "$1"
    else
        fuzz "$1" "-max_total_time=$seconds" ${seed:+"-seed=$seed"} "$work/$1" "$corpora/$1"
    fi
}

# Creates a file for each target that failed.
run_target() {
    mkdir -p "$work/$1"
    rm -f "$work/$1.failed"
    if replay "$1" && fuzz_as_told "$1"; then
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

# Prints the covered lines of the sources of a target.
cover() {
    local directory=$root/build/fuzz-coverage objects=() library
    local profile=$directory/$1
    for library in "$directory"/lib/*.so; do
        objects+=(-object "$library")
    done
    rm -rf "$profile"
    mkdir "$profile"
    find "$corpora/$1" -type f -exec env "LLVM_PROFILE_FILE=$profile/%m-%p.profraw" \
        "$directory/bin/fuzz_$1" {} + >"$profile/log" 2>&1 || { cat "$profile/log" >&2; return 1; }
    llvm-profdata merge -o "$profile/data" "$profile"/*.profraw
    llvm-cov report "$directory/bin/fuzz_$1" "${objects[@]}" "-instr-profile=$profile/data" \
        >"$profile/report" 2>>"$profile/log"
    # The table has columns for regions, functions and lines: of each the number and the missed ones.
    awk -v name="$1" -v inputs="$(find "$corpora/$1" -type f | wc -l)" -v list="${sources[$1]}" '
        BEGIN { count = split(list, paths) }
        {
            for (i = 1; i <= count; ++i) {
                if (index($1, "/" paths[i]) > 0) { lines += $8; missed += $9 }
            }
        }
        END {
            printf "%-12s %4d inputs cover %4d of %4d lines, %.1f %%\n", name, inputs,
                lines - missed, lines, 100 * (lines - missed) / lines
        }' "$profile/report"
}

# An input is kept for the branches that no smaller one reaches; how often it reaches them does not
# count.
minimise() {
    local small=$work/$1.small input number
    rm -rf "$small"
    mkdir -p "$small" "$work/$1"
    find "$corpora/$1" -type f ! -name 'grown_*' -exec cp {} "$small" \;
    number=$(find "$small" -type f | wc -l)
    fuzz "$1" -merge=1 -use_counters=0 "$small" "$corpora/$1" "$work/$1" ||
        { tell_finding "$1"; return 1; }
    printf '%-12s %4d inputs' "$1" "$(find "$corpora/$1" -type f | wc -l)"
    rm -f "$corpora/$1"/grown_*
    for input in $(cd "$small" && ls); do
        [ -e "$corpora/$1/$input" ] || cp "$small/$input" "$corpora/$1/grown_${input:0:8}"
    done
    printf ' -> %4d, %d of them not grown\n' "$(find "$corpora/$1" -type f | wc -l)" "$number"
}

read_arguments "$@"
"$root/scripts/install-deps.sh" test
cd "$root"

case $mode in
coverage)
    build_fuzzers fuzz-coverage
    for target in "${targets[@]}"; do
        cover "$target"
    done
    exit
    ;;
minimise)
    build_fuzzers fuzz
    for target in "${targets[@]}"; do
        minimise "$target"
    done
    exit
    ;;
esac

build_fuzzers fuzz
prove_bite wrong "Doesn't hold: bytes come back"
prove_bite overrun "AddressSanitizer: heap-buffer-overflow"
run_targets
tell_failures
