#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Shows that check-abi.sh detects changes: it must refuse copies of the headers and of the libraries
# with one difference from the record, and name the difference.
# Usage: refuse_changed_abi.sh ROOT LIBRARIES OBJECTS
# LIBRARIES is the directory of the built libraries; OBJECTS lists their object files, one per line:
# the library's name and the object's path.
set -eu -o pipefail

root=$1
libraries=$2
objects=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

fresh_copy() {
    rm -rf "${work:?}/tree" "${work:?}/lib"
    mkdir "$work/tree" "$work/lib"
    cp -r "$root/include" "$root/port" "$root/core" "$work/tree"
    cp "$libraries"/libixlal.*.so "$work/lib"
}

# change FILE SED_SCRIPT: edits a file of the copied tree; the script must change it.
change() {
    sed -i.before "$2" "$work/tree/$1"
    if cmp -s "$work/tree/$1" "$work/tree/$1.before"; then
        echo "Nothing changed in $1 by: $2"
        exit 2
    fi
    rm "$work/tree/$1.before"
}

# relink NAME DIRECTORY [SOURCE]: links a library again with the version script of the copied tree,
# after compiling SOURCE of the copied tree.
relink() {
    local source=${3:-}
    local own=()
    mapfile -t own < <(awk -v name="$1" -v source="$source" \
        '$1 == name && (source == "" || index($2, source ".o") == 0) { print $2 }' "$objects")
    if [ -n "$source" ]; then
        g++ -m32 -std=c++20 -g -O1 -fPIC -fvisibility=hidden -fvisibility-inlines-hidden \
            "-I$work/tree/include" "-I$work/tree/port" "-I$work/tree" \
            -c "$work/tree/$2/$source" -o "$work/changed.o"
        own+=("$work/changed.o")
    fi
    g++ -m32 -shared "-Wl,--version-script=$work/tree/$2/exports.map" \
        "-Wl,-soname,libixlal.$1.so" -o "$work/lib/libixlal.$1.so" "${own[@]}"
}

# refused WHAT TEXT...: the copy must be refused with a report that contains every text.
refused() {
    local what=$1
    local text
    shift
    if "$root/scripts/check-abi.sh" "$work/lib" "$work/tree" >"$work/report" 2>&1; then
        echo "$what: not seen"
        failed=1
    fi
    for text in "$@"; do
        if ! grep -qF -- "$text" "$work/report"; then
            echo "$what: the report does not say: $text"
            cat "$work/report"
            failed=1
        fi
    done
    fresh_copy
}

# swap_names HEADER FIRST SECOND: exchanges two names of operations.
swap_names() {
    change "$1" "s/\b$2(/swapped(/; s/\b$3(/$2(/; s/\bswapped(/$3(/"
}

fresh_copy
swap_names include/IConfigChanged.h getID getKey
refused "Two operations of one form swapped" "IConfigChanged::getKey" "vtable offset"
swap_names include/IConfigManager.h setUint32 storeUint32
refused "Operations far apart swapped" "IConfigManager::storeUint32" "vtable offset"
change include/ILogger.h 's/virtual int showMsgBox.*/&\n    virtual int added() = 0;/'
refused "An operation added at the end" "ILogger::added"
change include/IEventDispatcher.h '/virtual int send/d'
refused "An operation removed" "IEventDispatcher::send"
change include/IPlugin.h 's/virtual int init() = 0;/&\n    virtual ~IPlugin() {}/'
refused "A virtual destructor added" "IPlugin::~IPlugin"
change include/IConfig.h 's/\(getInt32(const PLiteral& iKey\), int& /\1, long\& /'
refused "An argument of another type and the same size" "IConfig::getInt32" "long int"
change include/PPtr.h 's/^    int fType;/&\n    int fAdded;/'
change include/PPtr.h 's/^static_assert.*//'
refused "A field added to the holders" "PPtr<PString>" "fAdded"
change include/PPtr.h '/^    unsigned int\* fCounter;/d'
change include/PPtr.h 's/^    int fType;/&\n    unsigned int* fCounter;/'
refused "Fields of the holders swapped" "PPtr<PString>" "offset changed"
change include/Ixla.h 's/eIxlaNoInstance = -2002/eIxlaNoInstance = -2005/'
refused "A code changed" "eIxlaNoInstance"
change include/Ixla.h 's/^    eIxlaOk = 0,/&\n    eIxlaAdded = 1,/'
refused "A code added" "eIxlaAdded"
change port/portinglayer/PCounter.h 's/^    int fValue;/    long fValue;/'
refused "A counter of another type" "PCounter" "fValue"

change port/portinglayer/PMutex.h 's/^private:/&\n    int fAdded;/'
relink portinglayer port/portinglayer PMutex.cpp
refused "A field added to a class of the porting layer" "libixlal.portinglayer.abi" "fAdded"
change port/portinglayer/exports.map '/PTime::/d'
relink portinglayer port/portinglayer
refused "Functions no longer exported" "PTime::" "-_ZN5PTime" "libixlal.portinglayer.exports"
change port/logger/PLogger.h 's/int setLevel(int/int setLevel(long/'
change port/logger/PLogger.cpp 's/::setLevel(int/::setLevel(long/'
relink logger port/logger PLogger.cpp
refused "An argument of the logger of another type" "PLogger::setLevel" "libixlal.logger.exports"
change core/exports.map 's/_Z8ixlaStopv;//'
relink core core
refused "A function of the core no longer exported" "-_Z8ixlaStopv" "libixlal.core.abi"
change core/exports.map 's/_Z8ixlaStopv;/&_Z5addedv;/'
change core/Ixla.cpp '$aIXLA_EXPORT int added() { return 0; }'
relink core core Ixla.cpp
refused "A sixth function of the core" "+_Z5addedv" "int added()" "libixlal.core.abi"

"$root/scripts/check-abi.sh" "$work/lib" "$work/tree" >"$work/report" 2>&1 || {
    echo "An unchanged copy is refused:"
    cat "$work/report"
    failed=1
}
exit $failed
