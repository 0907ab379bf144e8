#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Compares the binary interface of the built libraries with its record in abi/:
#   check-abi.sh [--record] [LIBRARIES [ROOT]]
# LIBRARIES is the directory of the three libraries of the 32-bit release build, build/release/lib
# by default, or of the build for 32-bit ARM, whose record is in abi/armhf; ROOT has the headers they
# were built from, this tree by default. Any change fails, including additions, with a report of the
# change. --record updates the record instead.
set -eu -o pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
if ! command -v abidw >/dev/null; then
    echo "abidw is missing: install abigail-tools" >&2
    exit 2
fi
recording=no
if [ "${1:-}" = --record ]; then
    recording=yes
    shift
fi
libraries=$(cd "${1:-$here/build/release/lib}" && pwd)
root=$(cd "${2:-$here}" && pwd)
record=$here/abi
compiler=g++
if [ "$(od -An -j18 -N2 -td2 "$libraries/libixlal.core.so")" -eq 40 ]; then # an ELF file for ARM
    record=$here/abi/armhf
    compiler=$here/build/compilers/armhf/g++
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The names that a library exports, one per line.
list_exports() {
    nm -D --defined-only "$1" | awk '{ print $NF }' | LC_ALL=C sort
}

# describe LIBRARY ABIDW_OPTION...: describes a library by its public headers. The description does
# not depend on the location of the tree.
describe() {
    local library=$1
    shift
    abidw "$@" --headers-dir "$work/headers" --drop-private-types \
        --suppressions "$here/abi/private.abignore" --no-corpus-path --no-comp-dir-path \
        --no-show-locs --no-parameter-names --no-elf-needed --type-id-style hash "$library" |
        sed "s|\(<abi-instr .*path='\)[^']*/|\1|"
}

# A library for the description of the headers.
build_services() {
    "$compiler" -m32 -std=c++20 -g -fPIC -shared -nostdlib -fvisibility=hidden \
        -femit-class-debug-always "-I$root/include" "-I$root/port" -Wl,-soname,services \
        -o "$work/services.so" "$here/abi/services.cpp"
}

describe_all() {
    local library
    local name

    mkdir "$work/headers"
    cp "$root"/include/*.h "$root"/port/portinglayer/*.h "$root/port/logger/PLogger.h" \
        "$work/headers"
    build_services
    describe "$work/services.so" >"$work/services.abi"
    for name in libixlal.core libixlal.logger libixlal.portinglayer; do
        library=$libraries/$name.so
        describe "$library" --exported-interfaces-only >"$work/$name.abi"
        list_exports "$library" >"$work/$name.exports"
    done
}

# Compares one description with its record; fails with a report of changes.
compare() {
    local name
    name=$(basename "$1")
    case $name in
        *.exports)
            diff -u --label "${record#"$here/"}/$name" --label built "$record/$name" "$1" && return
            ;;
        *)
            abidiff --no-default-suppression --harmless --redundant --no-show-locs \
                "$record/$name" "$1" >"$work/report" && return
            # Omits repeated reports of the same change.
            grep -v 'implicit parameter\|, as being reported\|, as reported earlier' "$work/report"
            ;;
    esac
    echo "The binary interface differs from ${record#"$here/"}/$name"
    return 1
}

# A description that differs only in its order is not replaced.
record_changed() {
    local description
    mkdir -p "$record"
    for description in "$work"/*.abi "$work"/*.exports; do
        compare "$description" >/dev/null 2>&1 || cp "$description" "$record"
    done
}

describe_all
if [ "$recording" = yes ]; then
    record_changed
    echo "Recorded the binary interface in ${record#"$here/"}/"
    exit 0
fi

failed=0
for description in "$work"/*.abi "$work"/*.exports; do
    compare "$description" || failed=1
done
if [ $failed -ne 0 ]; then
    echo "If the change is intended, run this script with --record and commit the record with it"
    exit 1
fi
echo "The binary interface is as recorded"
