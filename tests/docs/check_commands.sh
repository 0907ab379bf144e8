#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that the commands in the tables of a document exist: check_commands.sh DOCUMENT ROOT BUILD
# Each "ctest ... -R PATTERN" must select a test of the build, each script and scenario must exist.
set -eu

document=$1
root=$2
build=$3
failures=0

fail() {
    echo "$1" >&2
    failures=$((failures + 1))
}

# Bars separate the columns, so a bar inside a command is written with a backslash.
commands() {
    grep -o '`\(ctest --preset\|scripts/\)[^`]*`' "$document" | tr -d '`' | sed 's/\\|/|/g' | sort -u
}

selects_a_test() {
    local pattern
    pattern=$(sed "s/.* -R //; s/'//g" <<<"$1")
    ctest --test-dir "$build" -N -R "$pattern" | grep -q 'Total Tests: [1-9]'
}

scenarios() {
    sed -n 's/^SCENARIO(\([A-Za-z0-9]*\).*/\1/p' "$root"/tests/schedules/scenarios/*.cpp
}

while read -r command; do
    for scenario in $(grep -o -- '--scenario [^ ]*' <<<"$command" | cut -d ' ' -f 2); do
        scenarios | grep -Fqx "$scenario" || fail "no scenario: $command"
    done
    case $command in
    *" -R ^Sanitizers") ;; # only in the builds that have them
    ctest*) selects_a_test "$command" || fail "no test: $command" ;;
    *) [ -x "$root/${command%% *}" ] || fail "no script: $command" ;;
    esac
done < <(commands)

[ -n "$(commands)" ] || fail "$document shows no command"
[ "$failures" -eq 0 ]
