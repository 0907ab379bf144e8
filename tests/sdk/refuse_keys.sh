#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that the compiler refuses wrong declarations of keys, and says why:
# refuse_keys.sh COMPILER BITS ROOT
set -eu

compiler=$1
bits=$2
root=$3
failures=0

# compile KEYS [ID]: compiles a declaration; prints what the compiler says.
compile() {
    printf '#include "helpers/PKeyedConfig.h"\nIXLA_CONFIG(TestConfig, "%s",\n%s)\n' \
        "${2:-com.example.net}" "$1" |
        "$compiler" -std=c++11 "-m$bits" -fsyntax-only -Wall -Wextra -Wpedantic -Werror \
            "-I$root/include" "-I$root/port" "-I$root/sdk" -x c++ - 2>&1
}

# refused MESSAGE KEYS [ID]
refused() {
    local said
    if said=$(compile "${@:2}"); then
        echo "accepted: ${*:2}" >&2
    elif ! grep -qF -- "$1" <<<"$said"; then
        printf 'refused, but not with "%s": %s\n%s\n' "$1" "${*:2}" "$said" >&2
    else
        return 0
    fi
    failures=$((failures + 1))
}

# number DEFAULT LOW HIGH [TYPE]: a key with these numbers.
number() {
    echo "IXLA_KEY_${4:-INT32}(a, \"a\", $1, $2, $3, \"\", \"start\", \"\")"
}

# text NAME DEFAULT CHANGE DESCRIPTION
text() {
    echo "IXLA_KEY_TEXT(a, \"$1\", \"$2\", \"$3\", \"$4\")"
}

long=$(printf 'x%.0s' {1..3000})
several=$(for i in {1..63}; do echo "IXLA_KEY_BOOL(k$i, \"k$i\", true, \"start\", \"\"),"; done)
for keys in "$(number -2147483648 -2147483648 2147483647)" "$(number -0 -0 0)" \
    "$(text 'a key' '' run-time "$long")" "$(text grün ß start '#|=:')" \
    "$several $(number 0 0 18446744073709551615 UINT64)"; do
    compile "$keys" || {
        echo "refused: $keys" >&2
        failures=$((failures + 1))
    }
done

of_type='a number of a is not a plain decimal number of its type'
refused 'the default of a is out of its range' "$(number 0 1 2)"
refused 'the default of a is out of its range' "$(number 5 6 4)"
refused "$of_type" "$(number 2147483648 0 2147483648)"
refused "$of_type" "$(number -1 -1 1 UINT32)"
refused "$of_type" "$(number 0 -9223372036854775809 1 INT64)"
refused "$of_type" "$(number 0 0 18446744073709551616 UINT64)"
for wrong in 1u 0x10 1.0 "'1'" '2 * 3' +1 '' UNDEFINED; do
    refused "$of_type" "$(number "$wrong" 0 9)"
done
refused 'the key a=b has tabs' "$(text a=b x start '')"
refused 'the key  a has tabs' "$(text ' a' x start '')"
refused 'the key #a has tabs' "$(text '#a' x start '')"
refused 'the key  has tabs' "$(text '' x start '')"
refused 'the change of a is neither start nor run-time' "$(text a x runtime '')"
refused 'the default of a has a tab' "$(text a 'x\ty' start '')"
refused 'the description of a has a tab' "$(text a x start 'x\ny')"
refused 'the ID has tabs' "$(text a x start '')" 'a|b'
refused 'the default of a is not one of its choices' \
    'IXLA_KEY_CHOICE(a, "a", "old", "oldest|newest", "start", "")'
refused 'a choice of a has a blank' 'IXLA_KEY_CHOICE(a, "a", "x", "x|y z", "start", "")'
refused 'the default of a is not true or false' 'IXLA_KEY_BOOL(a, "a", 1, "start", "")'
refused 'the default of a does not have two hexadecimal digits for each byte' \
    'IXLA_KEY_BYTES(a, "a", "0", "start", "")'
refused 'IXLA_CONFIG has more than 64 keys' "$several $(number 0 0 1), $(text b x start '' | sed 's/(a/(b/')"
[ "$failures" -eq 0 ]
