#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks the lock annotations of the product's sources with clang: check-locks.sh
# Every annotated member and every function that requires a lock is checked (see
# port/portinglayer/PThreadSafety.h); the records of plugins are not annotated. A use without the
# lock is an error.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh" test
cd "$root"

# The standard headers are parsed once, because they take most of the time.
parsed=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-locks-XXXXXX")
export parsed
trap 'rm -rf "$parsed"' EXIT
printf '#include <%s>\n' algorithm atomic charconv cwchar map memory string vector >"$parsed/std.h"
clang++ -m32 -std=c++20 -x c++-header "$parsed/std.h" -o "$parsed/std.h.pch"

# check FILE
check() {
    clang++ -m32 -std=c++20 -fsyntax-only -Iinclude -Iport -I. -include-pch "$parsed/std.h.pch" \
        -Wall -Wextra -Wthread-safety -Werror "$1"
}

if check tests/locks/unlocked_use.cpp 2>/dev/null; then
    echo "The check does not detect a use without the lock" >&2
    exit 1
fi
export -f check
printf "%s\n" port/*/*.cpp core/*.cpp config/*.cpp events/*.cpp logging/*.cpp |
    xargs -P "$(nproc)" -n 1 bash -euc 'check "$1"' check
echo "No violation of lock annotations"
