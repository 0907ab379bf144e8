#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that a test sweeps every exported function, every operation of every public interface and
# class, and every built-in plugin.
# Usage: check_sweeps.sh REPOSITORY [HEADER_WITH_AN_INTERFACE...]
set -eu

readonly repository=$1
shift
readonly sweeps=$repository/tests/memory

# The public operations of the classes of a header: "IConfig::getKeys". Constructors, destructors
# and operators are not listed.
operations() {
    awk '
        /^(class|struct) [^;]*$/ {
            sub(/ :.*/, ""); sub(/ final$/, ""); name = $NF; open = $1 == "struct"
        }
        /^public:/ { open = 1 }
        /^(private|protected):/ { open = 0 }
        /^};/ { name = "" }
        /^IXLA_EXPORT/ && match($0, /[a-zA-Z]+\(/) {
            print substr($0, RSTART, RLENGTH - 1)
        }
        name != "" && open && /^    [a-z].*\(/ && !/^    (if|for|while|return|explicit|template)/ {
            line = $0
            sub(/\(.*/, "", line)
            count = split(line, words, /[ *&]+/)
            operation = words[count]
            if (count > 1 && operation ~ /^[a-z][a-zA-Z0-9]*$/ && line !~ /operator/ &&
                words[count - 1] != "")
                print name "::" operation
        }
    ' "$@" | sort -u
}

is_swept() {
    grep -q "\"$1[\" ]" "$sweeps"/*.cpp
}

# Operations that need no memory: simple getters and views, which cannot return a failure; and
# operations that plugins implement.
is_exempt() {
    case $1 in
    IBase::* | IEventListener::* | IPlugin::*) return 0 ;;
    PLiteral::getNextToken) return 1 ;;
    PLiteral::* | PString::clear | PString::trim | PTime::* | ixlaGetPlugin) return 0 ;;
    PProcess::getCurrentPID | PThread::getCurrentThreadId) return 0 ;;
    PLibrary::keepLoaded | PLibrary::getName | PDir::getEntry) return 0 ;;
    PUtils::pformatStringList) return 0 ;; # behind pformatString
    PCounter::* | PCounterSync::* | PBlank::* | PErrno::* | PMonotonic::*) return 0 ;;
    PLogger::isLogged | PLogger::showMsgBox) return 0 ;; # swept as ILogger::showMsgBox
    PPtr::adopt | PBaseptr::adopt) return 1 ;;
    PPtr::* | PBaseptr::*) return 0 ;; # holders join and leave without memory
    esac
    return 1
}

main() {
    local headers=("$@") missing=0 checked=0 operation
    if [ ${#headers[@]} -eq 0 ]; then
        headers=("$repository"/include/*.h "$repository"/port/logger/PLogger.h)
        local name
        for name in PConditionalVar PDir PFile PLibrary PLiteral PMutex PProcess PString PThread \
            PTime PUtils; do
            headers+=("$repository/port/portinglayer/$name.h")
        done
    fi
    while read -r operation; do
        is_exempt "$operation" && continue
        checked=$((checked + 1))
        if ! is_swept "$operation"; then
            echo "not swept: $operation"
            missing=$((missing + 1))
        fi
    done < <(operations "${headers[@]}")
    for operation in PConfigPlugin PEventDispatcherPlugin PLoggerPlugin; do
        checked=$((checked + 1))
        if ! grep -q "_sweepPlugin<$operation>" "$sweeps"/*.cpp; then
            echo "not swept: $operation"
            missing=$((missing + 1))
        fi
    done
    echo "$checked operations, $missing not swept"
    [ "$checked" -gt 0 ] && [ "$missing" -eq 0 ]
}

main "$@"
