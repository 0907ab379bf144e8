#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Measures which lines and branches the tests cover: coverage.sh [--report|--limits]
# Builds the preset "coverage", runs all tests and writes build/coverage/report: index.html,
# lines.txt (a line for every file) and summary.txt. Fails when a test fails, or when either figure
# is more than 0.3 points below the last one, in docs/coverage.md.
# --report: only writes the report of the last run again. --limits: only prints the limits.
#
# Branches that the compiler adds for propagating exceptions, and unreachable branches, are not
# counted. docs/coverage.md lists the uncovered lines with the reasons.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
build=build/coverage
report=$build/report

# The limits of lines and branches, from the page's line "On DATE: LINES % of ..., BRANCHES % of ...".
read_limits() {
    local figures
    figures=$(sed -nE 's/^On .*: ([0-9.]+) % of .* lines, ([0-9.]+) % of .* branches\.$/\1 \2/p' \
        docs/coverage.md)
    if ! [[ $figures =~ ^[0-9.]+\ [0-9.]+$ ]]; then
        echo "docs/coverage.md does not have the last figures" >&2
        return 1
    fi
    awk '{ printf "%.1f %.1f\n", $1 - 0.3, $2 - 0.3 }' <<<"$figures"
}

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
        --fail-under-line "${limits% *}" --fail-under-branch "${limits#* }" \
        "$build" | tee "$report/summary.txt"
}

limits=$(read_limits)
if [ "${1:-}" = --limits ]; then
    echo "$limits"
    exit
fi
scripts/install-deps.sh test
if [ "${1:-}" != --report ]; then
    run_tests
fi
write_report
