#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds OldStandard.cpp with C++11 and runs it: run_old_standard.sh COMPILER BITS ROOT LIBDIR
set -eu
compiler=$1 bits=$2 root=$3 libraries=$4

work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-standard-XXXXXX")
trap 'rm -rf "$work"' EXIT
"$compiler" -std=c++11 "-m$bits" -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror \
    "-I$root/include" "-I$root/port" "-I$root/sdk" "-I$root/tests" -o "$work/uses" \
    "$root/tests/sdk/OldStandard.cpp" "-L$libraries" -lixlal.core -lixlal.portinglayer -pthread \
    "-Wl,-rpath,$libraries" "-Wl,-rpath-link,$libraries"
mkdir "$work/plugins" "$work/config" "$work/log"
: >"$work/config/ixlap.configmanager.prs"
"$work/uses" "$work"
diff - <(sed 's/.* I pgs //' "$work/log/own.log") <<'TEXT'
8 and wide
once
at most 0
TEXT
