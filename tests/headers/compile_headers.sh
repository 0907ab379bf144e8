#!/bin/sh
# SPDX-License-Identifier: MIT
# Compiles headers one by one, each alone and included as in a user's source.
# Usage: compile_headers.sh COMPILER STANDARD BITS ROOT HEADER...
# Headers are paths relative to ROOT. Fails if one of them gives a warning or an error.
set -u
compiler=$1 standard=$2 bits=$3 root=$4
shift 4

if ! command -v "$compiler" >/dev/null
then
    echo "$compiler is not installed"
    exit 2
fi
case $compiler in
    clang*) more=-Wthread-safety ;;
    *) more= ;;
esac

failed=0
for header
do
    # shellcheck disable=SC2086 -- an empty $more is no argument
    if ! printf '#include "%s"\n' "$header" |
        "$compiler" "-std=c++$standard" "-m$bits" -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow \
            -Wconversion -Werror $more "-I$root" "-I$root/include" "-I$root/port" "-I$root/sdk" \
            -x c++ -
    then
        echo "$header does not compile"
        failed=1
    fi
done
exit $failed
