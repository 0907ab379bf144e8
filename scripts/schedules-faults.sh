#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Plants concurrency faults in the product, one at a time, and shows which of them the scenarios of
# tests/schedules find, after how many schedules and seconds:
#   schedules-faults.sh                tries all faults; fails when less than 95 % are found
#   schedules-faults.sh --only ID...   tries only these; fails as above
#   schedules-faults.sh --sample N     tries four, which turn with N, with the scenarios that their list
#                                      names; fails as above
#   schedules-faults.sh --list         lists the faults
#   schedules-faults.sh --table        prints the results so far
# The faults come from the lists in tests/schedules/faults. They are planted in a copy of the tree, in
# build/schedules-faults. Each is searched for with PCT of depth 3 from two seeds and with a random
# walk, for at most IXLAL_FAULT_SECONDS (60) each. The first strategy tries the scenarios that the
# list names, or all; the others only the one that has found the fault. A scenario that fails without
# a fault is not used.
#
# An interrupted run continues where it stopped, as long as the tree is unchanged.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
work=$root/build/schedules-faults
tree=$work/tree
# At the same depth in the copy as other builds in the tree, so that ccache sees the same paths.
build=$tree/build/schedules
results=$work/results
green=$work/green
passing=$work/scenarios
seconds=${IXLAL_FAULT_SECONDS:-60}
wanted_percent=95
strategies=("pct 1" "pct 1000001" "walk 1")
# Schedules of each scenario in the first round; each further round has ten times as many.
first_runs=100

# shellcheck source-path=SCRIPTDIR source=../tests/mutation/faults.sh
. "$root/tests/mutation/faults.sh"
# shellcheck source-path=SCRIPTDIR source=../tests/mutation/copy.sh
. "$root/tests/mutation/copy.sh"

build_all() {
    cmake --build "$build" -j2 >"$work/build.log" 2>&1
}

configure() {
    local launcher
    mapfile -t launcher < <(launcher)
    (cd "$tree" && cmake --preset schedules -B "$build" "${launcher[@]}" \
        -DCMAKE_LINK_DEPENDS_NO_SHARED=ON) >"$work/build.log" 2>&1
}

run_schedules() {
    "$build/bin/ixlal-schedules" --brief "$@"
}

# prove_green [SCENARIO...]: lists those that pass, of these or of all. Runs once for every state of
# the tree.
prove_green() {
    local state scenario all
    state="$(copied_state) $*"
    if [ "$state" = "$(cat "$green" 2>/dev/null)" ]; then
        return
    fi
    echo "Building the tree and running it without a fault"
    rm -f "$green" "$results"
    configure || die "It cannot be configured, see $work/build.log"
    build_all || die "It cannot be built, see $work/build.log"
    : >"$passing"
    if [ $# -eq 0 ]; then
        mapfile -t all < <(run_schedules --list | grep -v "wrong on purpose" | cut -d ' ' -f 1)
        set -- "${all[@]}"
    fi
    for scenario in "$@"; do
        if run_schedules --scenario "$scenario" --runs 100 --seconds 2 >"$work/run.log" 2>&1; then
            echo "$scenario" >>"$passing"
        else
            echo "Not used, because it fails without a fault: $(cat "$work/run.log")"
        fi
    done
    echo "$state" >"$green"
}

# scenarios_for ID: those that the list names and that exist, or all.
scenarios_for() {
    local named
    named=$(tr ' ' '\n' <<<"${fault_scenarios[$1]-}" | grep -Fx -f "$passing" || true)
    echo "${named:-$(cat "$passing")}"
}

now() {
    date +%s.%N
}

# left BEGIN: the seconds that a search which began then may still take.
left() {
    awk -v begin="$1" -v now="$(now)" -v limit="$seconds" \
        'BEGIN { left = limit - (now - begin); printf "%.2f", (left > 0 ? left : 0) }'
}

# run_scenario SCENARIO METHOD SEED RUNS SECONDS: adds to runs; sets outcome.
run_scenario() {
    local line
    line=$(run_schedules --scenario "$1" --method "$2" --depth 3 --seed "$3" --runs "$4" \
        --seconds "$5" 2>&1) || true
    outcome=${line##*: }
    line=$(sed -n 's/^[^ ]* *\([0-9]*\) schedules,.*/\1/p' <<<"$line")
    runs=$((runs + ${line:-0}))
}

# search METHOD SEED SCENARIO...: runs rounds of all scenarios until one fails; sets scenario, outcome
# and runs.
search() {
    local method=$1 seed=$2 begin rest round=$first_runs before=0
    shift 2
    begin=$(now)
    runs=0
    while true; do
        for scenario in "$@"; do
            rest=$(left "$begin")
            if [ "$rest" = 0.00 ]; then
                scenario=-
                outcome=survived
                return
            fi
            run_scenario "$scenario" "$method" $((seed + before)) "$round" "$rest"
            if [ "$outcome" != passed ]; then
                return
            fi
        done
        before=$((before + round))
        round=$((round * 10))
    done
}

# try_strategies ID: appends a line for each strategy to the results.
try_strategies() {
    local strategy begin scenario outcome runs found=
    for strategy in "${strategies[@]}"; do
        begin=$(now)
        # shellcheck disable=SC2046,SC2086
        search $strategy ${found:-$(scenarios_for "$1")}
        [ "$outcome" = survived ] || found=${found:-$scenario}
        printf '%s\t%s\t%s\t%s\t%s\t%.1f\n' "$1" "$strategy" "$scenario" "$outcome" "$runs" \
            "$(awk -v begin="$begin" -v now="$(now)" 'BEGIN { print now - begin }')" |
            tee -a "$work/tried"
    done
}

try_fault() {
    : >"$work/tried"
    plant "$1"
    if build_all; then
        try_strategies "$1"
    else
        printf '%s\t-\t-\tuncompilable\t0\t0\n' "$1" | tee "$work/tried"
    fi
    uproot "$1"
    cat "$work/tried" >>"$results"
}

is_tried() {
    cut -f 1 "$results" | grep -Fqx "$1"
}

# forget_results ID...: they are tried again.
forget_results() {
    printf '%s\t\n' "$@" >"$work/forgotten"
    grep -v -F -f "$work/forgotten" "$results" >"$work/remaining" || true
    mv "$work/remaining" "$results"
}

# A line for each fault. A cell of a strategy has schedules and seconds.
print_table() {
    echo "| fault | scenario | outcome | pct, seed 1 | pct, seed 1000001 | walk |"
    echo "|---|---|---|---|---|---|"
    awk -F '\t' '
        function row() {
            if (id != "")
                print "| " id " | " scenario " | " outcome " |" cells
        }
        $1 != id { row(); id = $1; scenario = "-"; outcome = $4; cells = "" }
        $4 != "survived" && scenario == "-" { scenario = $3; outcome = $4 }
        { cells = cells ($4 == "survived" ? " - |" : " " $5 ", " $6 " s |") }
        END { row() }' "$results"
}

# Counts the faults that a strategy has found in time.
summarise() {
    local id found=0 total=0 survived=()
    for id in "$@"; do
        if ! is_tried "$id" || [ -n "${fault_reason[$id]-}" ]; then
            continue
        fi
        total=$((total + 1))
        if awk -F '\t' -v id="$id" '$1 == id && $4 !~ /^(survived|uncompilable)$/ { found = 1 }
            END { exit !found }' "$results"; then
            found=$((found + 1))
        else
            survived+=("$id")
        fi
    done
    echo "$found of $total faults found"
    for id in "${survived[@]}"; do
        echo "Not found: $id: ${fault_breaks[$id]} (${fault_file[$id]})"
    done
    [ "$total" -gt 0 ] && [ $((found * 100)) -ge $((total * wanted_percent)) ]
}

# prepare [SCENARIO...]
prepare() {
    mkdir -p "$work"
    copy_tree
    prove_green "$@"
    touch "$results"
}

try_faults() {
    local id
    for id in "$@"; do
        [ -n "${fault_file[$id]-}" ] || die "There is no fault $id"
        is_tried "$id" || try_fault "$id"
    done
}

# sample NUMBER: prints the names of four faults. A fault that no check can find is left out.
sample() {
    local id i possible=()
    for id in "${fault_ids[@]}"; do
        [ -n "${fault_reason[$id]-}" ] || possible+=("$id")
    done
    for ((i = 4 * $1; i < 4 * $1 + 4; i++)); do
        echo "${possible[i % ${#possible[@]}]}"
    done
}

# try_sample ID...: keeps the results of a whole run.
try_sample() {
    local id scenarios
    green+=-of-a-sample results+=-of-a-sample passing+=-of-a-sample
    rm -f "$results"
    mapfile -t scenarios < <(
        for id in "$@"; do tr ' ' '\n' <<<"${fault_scenarios[$id]}"; done | sort -u)
    prepare "${scenarios[@]}"
    try_faults "$@"
    print_table
    summarise "$@"
}

read_faults "$root"/tests/schedules/faults/*.faults
case ${1-} in
    --list) printf '%s\n' "${fault_ids[@]}" | list_faults ;;
    --table)
        touch "$results"
        print_table
        summarise "${fault_ids[@]}"
        ;;
    --only)
        shift
        prepare
        forget_results "$@"
        try_faults "$@"
        print_table
        summarise "$@"
        ;;
    --sample)
        [[ ${2-} =~ ^[0-9]+$ ]] || die "--sample needs a number"
        mapfile -t selected < <(sample "$2")
        try_sample "${selected[@]}"
        ;;
    "")
        prepare
        try_faults "${fault_ids[@]}"
        print_table
        summarise "${fault_ids[@]}"
        ;;
    *) die "Usage: schedules-faults.sh [--list | --table | --sample N | --only ID...]" ;;
esac
