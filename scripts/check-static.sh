#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Static checks of the sources: check-static.sh [spelling|sizes|cppcheck|tidy|tools|tests [N]]
# Without an argument: codespell on the whole tree, the sizes of sources and classes, what atomic
# variables say about their order, cppcheck on all sources, and clang-tidy on the product and the
# examples with a limit on the paths that its analyzer follows through a function.
# tidy: without that limit, which takes twice as long. tools, tests: clang-tidy on these, which takes
# long. With a number after one of these three: only a part of the sources, which turns with N.
# Any finding fails. What clang-tidy looks for is in .clang-tidy, here and in examples/ and tests/;
# .codespellrc has the words that codespell accepts.
# An accepted finding is suppressed in its line, with the reason.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
product=(include port core config events logging examples)
out=build/static
path_limit=()
part_size=20

# complains REPORT WANTED...: whether the report about a sample has a line with each text.
complains() {
    local report=$1 wanted
    shift
    for wanted in "$@"; do
        if ! grep -q -- "$wanted" "$report"; then
            echo "Nothing like $wanted in $report about the sample in tests/static" >&2
            return 1
        fi
    done
}

# The misspelt word is split here, so that this file passes.
check_spelling() {
    if printf 'rec%s\n' ieve | codespell - >/dev/null; then
        echo "codespell accepts a misspelt word" >&2
        return 1
    fi
    codespell
    echo "codespell found nothing"
}

# check_sources PROGRAM: runs it with all sources of the product.
check_sources() {
    local sources
    mapfile -t sources < <(find include port core config events logging -name '*.h' -o -name '*.cpp')
    "$1" "${sources[@]}"
}

# The sample has a class with one member too many, and here one line too many.
check_sizes() {
    local sample=$out/large.h
    yes // | head -n "$((401 - $(wc -l <tests/static/large.h)))" |
        cat tests/static/large.h - >"$sample"
    if scripts/check_sizes.py "$sample" >"$out/sizes.txt"; then
        echo "check_sizes.py accepts a large class" >&2
        return 1
    fi
    complains "$out/sizes.txt" 'large.h: 401 lines' 'PLarge: 26 members'
    check_sources scripts/check_sizes.py
}

# The sample has one variable without an explanation.
check_orders() {
    if scripts/check_orders.py tests/static/orders.h >"$out/orders.txt"; then
        echo "check_orders.py accepts an atomic variable without an explanation" >&2
        return 1
    fi
    complains "$out/orders.txt" 'orders.h:11: .* sUnexplained'
    check_sources scripts/check_orders.py
}

# run_cppcheck PLATFORM ARGUMENTS...
# IXLA_CONFIG stays a name: cppcheck cannot expand macros that expand each other for a list.
run_cppcheck() {
    local platform=$1
    shift
    cppcheck -j 2 --quiet --std=c++20 --language=c++ --platform="$platform" --inline-suppr \
        --error-exitcode=1 --template='{file}:{line}: {severity}: {message} [{id}]' \
        --library=googletest -UIXLA_CONFIG --suppress=missingIncludeSystem \
        -Iinclude -Iport -Isdk -Itools -I. "$@"
}

# Disabled: useStlAlgorithm, because a short loop with an early return is easier to read than an
# algorithm and a lambda; shadowFunction, because the compiler's -Wshadow finds the relevant cases.
check_cppcheck() {
    local all=warning,performance,portability,style platform
    if run_cppcheck unix32 --enable="$all" tests/static/unsound.cpp 2>"$out/cppcheck.txt"; then
        echo "cppcheck does not detect unsound code" >&2
        return 1
    fi
    complains "$out/cppcheck.txt" arrayIndexOutOfBounds accessMoved

    for platform in unix32 unix64; do
        run_cppcheck "$platform" --enable="$all" --suppress=useStlAlgorithm \
            --suppress=shadowFunction "${product[@]}" sdk tools
    done
    # Excluded: samples with deliberate errors. cppcheck confuses a test's own log() with the
    # logarithm.
    run_cppcheck unix32 --enable=warning,portability -Itests -Itests/schedules \
        -i tests/schedules/scenarios/Wrong.cpp -i tests/static -i tests/locks -i tests/sanitizers \
        --suppress=ignoredReturnValue:tests/core/FullDiskTest.cpp tests
    echo "cppcheck: no findings"
}

# The compile commands of every source by itself, for 32 bits. Nothing is built, also no precompiled
# header. Fresh, because a changed path of the compiler would make cmake forget the other settings.
make_database() {
    cmake --fresh -S . -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ \
        -DCMAKE_CXX_FLAGS=-m32 -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON \
        -DCMAKE_UNITY_BUILD=OFF >"$out/cmake.txt" 2>&1 || {
        cat "$out/cmake.txt" >&2
        return 1
    }
    if grep -q '/Unity/unity_' "$out/compile_commands.json"; then
        echo "Sources that are compiled together cannot be checked one by one" >&2
        return 1
    fi
}

# list_sources DIRECTORY...: the compiled sources, the largest first, because the longest checks must
# not start last.
list_sources() {
    local directories
    directories=$(IFS='|' && echo "$*")
    grep -o '"file": "[^"]*"' "$out/compile_commands.json" | cut -d '"' -f 4 | sort -u |
        grep -E "^$root/($directories)/" | xargs ls -S
}

# tidy_one [OPTION...] SOURCE: writes the findings to a separate file.
tidy_one() {
    local source=${!#}
    local report="$out/tidy/${source//\//_}.txt"
    if clang-tidy --quiet -p "$out" "$@" >"$report" 2>"$report.err"; then
        rm "$report" "$report.err"
    elif [ ! -s "$report" ]; then
        mv "$report.err" "$report"
    fi
}

# The sample has the path of a public header, so that it is checked like the product.
refuse_unsound() {
    mkdir -p "$out/include"
    cp tests/static/unsound.* "$out/include/"
    if clang-tidy --quiet "$out/include/unsound.cpp" -- -m32 -std=c++20 >"$out/tidy.txt" 2>&1; then
        echo "clang-tidy does not detect unsound code" >&2
        return 1
    fi
    complains "$out/tidy.txt" bugprone-use-after-move clang-analyzer-core.NullDereference \
        'unsound.h:.*modernize-use-override'
}

# part NUMBER: of the lines of the standard input, every tenth or so, from another one on.
part() {
    local lines parts
    mapfile -t lines
    parts=$(((${#lines[@]} + part_size - 1) / part_size))
    printf '%s\n' "${lines[@]}" | awk -v parts="$parts" -v part=$(($1 % parts)) 'NR % parts == part'
}

# check_tidy DIRECTORY...: all of their sources, or those of the part that $number names.
check_tidy() {
    rm -rf "$out/tidy"
    mkdir -p "$out/tidy"
    refuse_unsound
    make_database
    list_sources "$@" | { if [ -n "$number" ]; then part "$number"; else cat; fi; } >"$out/sources.txt"
    export -f tidy_one
    export out
    xargs -P 2 -n 1 bash -c 'tidy_one "$@"' tidy_one "${path_limit[@]}" <"$out/sources.txt"
    if compgen -G "$out/tidy/*.txt" >/dev/null; then
        cat "$out"/tidy/*.txt
        return 1
    fi
    echo "clang-tidy: no findings in $(wc -l <"$out/sources.txt") sources in $*"
}

scripts/install-deps.sh test
mkdir -p "$out"
number=${2:-}
[[ $number =~ ^[0-9]*$ ]] || set -- unknown
case ${1:-all} in
all)
    check_spelling
    check_sizes
    check_orders
    check_cppcheck
    # A fifth of the default; nearly all functions need fewer.
    for argument in -Xclang -analyzer-config -Xclang max-nodes=50000; do
        path_limit+=("--extra-arg=$argument")
    done
    check_tidy "${product[@]}"
    ;;
spelling)
    check_spelling
    ;;
sizes)
    check_sizes
    check_orders
    ;;
cppcheck)
    check_cppcheck
    ;;
tidy)
    check_tidy "${product[@]}"
    ;;
tools | tests)
    check_tidy "$1"
    ;;
*)
    echo "Usage: check-static.sh [spelling|sizes|cppcheck|tidy|tools|tests [N]]" >&2
    exit 2
    ;;
esac
