#!/bin/sh
# SPDX-License-Identifier: MIT
# Shows that compile_headers.sh detects broken headers: copies of real ones that lack an include,
# use a later standard or give a warning.
# Usage: refuse_broken_header.sh COMPILER STANDARD BITS ROOT
set -eu
compiler=$1 standard=$2 bits=$3 root=$4
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Copies also linked directories, so that nothing is written under ROOT.
cp -rL "$root/include" "$root/port" "$work"

# refused NAME SCRIPT: only the copy of include/IPlugin.h that sed changes must be refused.
refused()
{
    sed "$2" "$root/include/IPlugin.h" >"$work/include/$1.h"
    result=0
    "$here/compile_headers.sh" "$compiler" "$standard" "$bits" "$work" \
        include/IBase.h "include/$1.h" >"$work/output" 2>/dev/null || result=$?
    if [ $result -ne 1 ] || [ "$(cat "$work/output")" != "include/$1.h does not compile" ]
    then
        echo "$1 was not refused as it should be:"
        cat "$work/output"
        exit 1
    fi
}

refused IMissingInclude '/#include "portinglayer/d'
refused IUnknownType 's/int init/PUnknown init/'
refused IWarning 's/#endif/inline int narrowed(long long i) { return i; }\n#endif/'
if [ "$standard" -lt 20 ]
then
    refused ILaterLanguage 's/#endif/template <class T> concept Any = true;\n#endif/'
fi
