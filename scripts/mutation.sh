#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Plants small faults in the product, one at a time, and shows which of them the tests detect:
#   mutation.sh                 tries all faults that a test can catch; fails when less than 95 %
#                               are caught, or when one does not compile
#   mutation.sh --only ID...    tries only these; fails as above
#   mutation.sh --self-test     tries faults with a known outcome
#   mutation.sh --list          lists the faults that a test can catch
#   mutation.sh --drawn         tries faults drawn at random by rules; fails as above
#   mutation.sh --survivors     tries the drawn faults that survived again, after tests were added
#   mutation.sh --sample N      tries some of the lists' faults, which turn with N, in a few minutes
#   mutation.sh --sample-drawn N    tries some drawn faults, by the seed N, in a few minutes
# The faults come from the lists in tests/mutation, or are drawn by tests/mutation/draw.py. They are
# planted in a copy of the tree, in build/mutation, which must pass its tests first. Each fault is run
# against the tests of its directory and, if it survives, against all others. A test that hangs counts
# as failed. A drawn fault that does not compile is not counted.
#
# A drawn fault is run against the tests of its directory and of the code that uses it and, if it
# survives, also under the address and the thread sanitizer. An interrupted run continues where it
# stopped, as long as the tree is unchanged.
#
# A sample is tried beside the release build of the tree itself, only against the quick tests of the
# fault's directory; it fails when less than half are caught.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
work=$root/build/mutation
tree=$work/tree
# At the same depth in the copy as other builds in the tree, so that ccache sees the same paths.
build=$tree/build/mutation
wanted_percent=95
drawn=$work/drawn
drawn_seeds="1 2 3"
drawn_by_seed=155
# The check that the faults can be planted fails in a tree with a planted fault.
unfit_tests='^Mutation\.'
# The first tests of a directory exclude long tests that detect few faults.
late_tests='^(Mutation|Headers|StoreKill|CoreStress)\.'

# shellcheck source-path=SCRIPTDIR source=../tests/mutation/faults.sh
. "$root/tests/mutation/faults.sh"
# shellcheck source-path=SCRIPTDIR source=../tests/mutation/copy.sh
. "$root/tests/mutation/copy.sh"

caught=0
survived=()
broken=()

# Does not relink users of changed libraries, and lists tests at run time, to save time.
configure() {
    local launcher
    mapfile -t launcher < <(launcher)
    (cd "$tree" && cmake --preset release -B "$build" "${launcher[@]}" \
        -DCMAKE_LINK_DEPENDS_NO_SHARED=ON -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST) \
        >"$work/build.log" 2>&1
}

build_targets() {
    cmake --build "$build" -j2 --target "$@" >"$work/build.log" 2>&1
}

# run_tests DIRECTORY EXCLUDED: the tests of a build directory.
run_tests() {
    ctest --test-dir "$1" -j2 --stop-on-failure -E "$2" >"$work/test.log" 2>&1
}

# The first failed tests, or another error.
failed_tests() {
    local failed
    failed=$(sed -n 's/^[[:space:]]*[0-9]* - \(.*\)$/\1/p' "$work/test.log" | head -n 2 | paste -sd ,)
    echo "${failed:-tests that cannot be listed}"
}

# Runs once for every state of the tree.
prove_green() {
    local state
    state=$(copied_state)
    if [ "$state" = "$(cat "$work/green" 2>/dev/null)" ]; then
        return
    fi
    echo "Building and testing the tree without a fault"
    rm -f "$work/green"
    configure || die "It cannot be configured, see $work/build.log"
    build_targets all || die "It cannot be built, see $work/build.log"
    run_tests "$build" "$unfit_tests" || die "It fails its own tests, $(failed_tests), see $work/test.log"
    echo "$state" >"$work/green"
}

# meets TARGET DIRECTORY EXCLUDED: runs tests; sets outcome and, for a detected fault, the tests.
meets() {
    outcome=survived
    if ! build_targets "$1"; then
        outcome=uncompilable
    elif ! run_tests "$2" "$3"; then
        outcome=caught
        by=$(failed_tests)
    fi
}

# meets_tests DIRECTORY: runs the tests of one directory of tests/, then all.
meets_tests() {
    meets "tests/$1/all" "$build/tests/$1" "$late_tests"
    if [ "$outcome" = survived ]; then
        meets all "$build" "$unfit_tests"
    fi
}

try_fault() {
    local by=
    plant "$1"
    meets_tests "$(first_tests "$1")"
    uproot "$1"
    printf '%-12s %-28s %s\n' "$outcome" "$1" "${by:-${fault_reason[$1]-}}"
}

try_faults() {
    local id outcome
    for id in "$@"; do
        try_fault "$id"
        case $outcome in
            caught) caught=$((caught + 1)) ;;
            survived) survived+=("$id") ;;
            uncompilable) broken+=("$id") ;;
        esac
    done
}

# Checks the script itself.
self_test() {
    try_faults control-comment control-fatal control-hanging control-uncompilable
    [ "$caught, ${survived[*]}, ${broken[*]}" = "2, control-comment, control-uncompilable" ] ||
        die "These had to be survived, caught, caught and uncompilable"
    caught=0
    survived=()
    broken=()
}

summarise() {
    local id total=$((caught + ${#survived[@]}))
    echo "$caught of $total faults caught"
    for id in "${survived[@]}"; do
        echo "Survived: $id: ${fault_breaks[$id]} (${fault_file[$id]}): ${fault_reason[$id]-}"
    done
    [ ${#broken[@]} -eq 0 ] || die "These do not compile: ${broken[*]}"
    [ "$total" -gt 0 ] && [ $((caught * 100)) -ge $((total * wanted_percent)) ]
}

# catchable: the faults that a test can catch.
catchable() {
    local id
    for id in "${fault_ids[@]}"; do
        [ -n "${fault_reason[$id]-}" ] || echo "$id"
    done
}

read_lists() {
    local list
    for list in "$root"/tests/mutation/*.faults; do
        case $list in
            */stale.faults | */controls.faults) ;;
            *) read_faults "$list" ;;
        esac
    done
}

draw_faults() {
    local seed
    for seed in $drawn_seeds; do
        python3 "$root/tests/mutation/draw.py" "$tree" "$seed" "$drawn_by_seed"
    done
}

# try_drawn PRESET BUILD FAULTS OPTIONS...
try_drawn() {
    nice python3 "$root/tests/mutation/trial.py" "$tree" "$2" "$drawn/$1" "$3" --jobs 4 "${@:4}"
}

tally_drawn() {
    python3 "$root/tests/mutation/tally.py" "$@" "$tree" "$drawn"/{release,asan,tsan}
}

# sanitize PRESET: tries the survivors under a sanitizer.
sanitize() {
    local sanitized=$tree/build/$1
    tally_drawn --left >"$drawn/left"
    [ -s "$drawn/left" ] || return 0
    (cd "$tree" && cmake --preset "$1" -B "$sanitized") >"$work/build.log" 2>&1 ||
        die "It cannot be configured, see $work/build.log"
    cmake --build "$sanitized" -j2 --target tests/{core,config,events,headers,logger,logging,port}/all \
        >"$work/build.log" 2>&1 || die "It cannot be built, see $work/build.log"
    try_drawn "$1" "$sanitized" "$drawn/left" --quick --retry
}

try_all_drawn() {
    mkdir -p "$drawn"
    touch "$drawn"/{release,asan,tsan}
    [ -s "$drawn/faults" ] || draw_faults >"$drawn/faults"
    try_drawn release "$build" "$drawn/faults" --quick
    try_drawn release "$build" "$drawn/faults" --retry
    sanitize asan
    sanitize tsan
    tally_drawn
}

# Results of another tree are not valid for this one.
forget_other_tree() {
    if ! cmp -s "$work/green" "$drawn/green"; then
        rm -rf "$drawn"
        mkdir -p "$drawn"
        cp "$work/green" "$drawn/green"
    fi
}

# fault_lists: the names of the lists with faults that tests can catch.
fault_lists() {
    find "$root/tests/mutation" -name '*.faults' \
        ! -name stale.faults ! -name controls.faults ! -name survivors.faults | sort
}

# try_sample: tries the faults on the standard input.
try_sample() {
    local sample=$work/sample
    mkdir -p "$sample"
    cat >"$sample/faults"
    rm -f "$sample/results"
    (cd "$root" && cmake --preset release && cmake --build --preset release) >"$work/build.log" 2>&1 ||
        die "It cannot be built, see $work/build.log"
    python3 "$root/tests/mutation/trial.py" "$root" "$root/build/release" "$sample/results" \
        "$sample/faults" --quick --jobs 2
    python3 "$root/tests/mutation/tally.py" --few "$root" "$sample/results"
}

prepare() {
    mkdir -p "$work"
    copy_tree
    prove_green
}

case ${1-} in
    --list)
        read_lists
        catchable | list_faults
        ;;
    --only)
        shift
        read_lists
        for id in "$@"; do
            [ -n "${fault_file[$id]-}" ] || die "There is no fault $id"
        done
        prepare
        try_faults "$@"
        summarise
        ;;
    --drawn)
        prepare
        forget_other_tree
        try_all_drawn
        ;;
    --survivors)
        prepare
        [ -s "$drawn/faults" ] || die "None was drawn before"
        try_all_drawn
        ;;
    --sample | --sample-drawn)
        [[ ${2-} =~ ^[0-9]+$ ]] || die "$1 needs a number"
        if [ "$1" = --sample ]; then
            fault_lists | xargs -d '\n' "$root/tests/mutation/listed.py" "$2" 6 | try_sample
        else
            python3 "$root/tests/mutation/draw.py" "$root" "$2" 8 | try_sample
        fi
        ;;
    --self-test)
        read_faults "$root/tests/mutation/controls.faults"
        prepare
        self_test
        ;;
    "")
        read_lists
        mapfile -t selected < <(catchable)
        read_faults "$root/tests/mutation/controls.faults"
        prepare
        self_test
        try_faults "${selected[@]}"
        summarise
        ;;
    *) die "Usage: mutation.sh [--list | --drawn | --survivors | --sample[-drawn] N | --self-test | --only ID...]" ;;
esac
