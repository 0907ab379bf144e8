#!/usr/bin/env bash
# Shows which of our lines and branches the tests reach: coverage.sh [--report]
# Builds the preset "coverage", runs all tests and writes build/coverage/report: index.html,
# coverage.txt (a line for every file) and summary.txt. Fails when a test fails, below 97 % of the
# lines and below 90 % of the branches. --report: only writes the report of the last run anew.
#
# Branches are our own: those that the compiler makes for exceptions that pass through, and those
# that cannot be reached, do not count. docs/coverage.md lists what is left and why.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
build=build/coverage
report=$build/report

run_tests() {
    cmake --preset coverage >/dev/null
    cmake --build --preset coverage -j "$(nproc)"
    find "$build" -name '*.gcda' -delete
    ctest --preset coverage --progress
}

write_report() {
    local filters=() directory
    for directory in include port core config events logging; do
        filters+=(--filter "$directory/")
    done
    rm -rf "$report"
    mkdir -p "$report"
    gcovr -j "$(nproc)" --root . "${filters[@]}" \
        --exclude-throw-branches --exclude-unreachable-branches \
        --html-details "$report/index.html" --txt "$report/lines.txt" \
        --json "$report/coverage.json" --print-summary \
        --fail-under-line 97 --fail-under-branch 90 "$build" | tee "$report/summary.txt"
}

scripts/install-deps.sh test
if [ "${1:-}" != --report ]; then
    run_tests
fi
write_report
