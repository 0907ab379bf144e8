#!/bin/sh
# SPDX-License-Identifier: MIT
# Shows that headers with std::vector do not compile with another std::vector than the libraries'.
# Usage: refuse_other_vectors.sh COMPILER BITS ROOT
set -eu
compiler=$1 bits=$2 root=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# refused REASON HEADER FLAG...: compiling HEADER must fail with this reason.
refused()
{
    reason=$1 header=$2
    shift 2
    if printf '#include "%s"\n' "$header" |
        "$compiler" -std=c++11 "-m$bits" -fsyntax-only "-I$root/include" "-I$root/port" "$@" \
            -x c++ - 2>"$work/output"
    then
        echo "$header compiles with $*"
        exit 1
    elif ! grep -q "$reason" "$work/output"
    then
        echo "$header does not tell \"$reason\" with $*:"
        cat "$work/output"
        exit 1
    fi
}

for header in IConfig.h IConfigManager.h portinglayer/PDir.h
do
    refused '_GLIBCXX_DEBUG changes it' "$header" -D_GLIBCXX_DEBUG
done

# Two other standard libraries: one with only a vector of the right size, and one like libstdc++
# with another size.
mkdir "$work/other" "$work/resized"
template='namespace std { template <class T> struct vector { void* fields[%s]; }; }\n'
# shellcheck disable=SC2059 -- the format is the template
printf "$template" 3 >"$work/other/vector"
# shellcheck disable=SC2059 -- the same
printf "#define __GLIBCXX__ 1\n$template" 4 >"$work/resized/vector"
check=portinglayer/PVectorLayout.h
refused 'needs that of libstdc++' "$check" -nostdinc++ "-I$work/other"
refused 'a setting changes it' "$check" -nostdinc++ "-I$work/resized"
