#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that a tool's man page and completion have all options of its help:
# check_pages.sh PROGRAM MAN COMPLETION [SUBCOMMAND...]
set -eu

program=$1
man=$2
completion=$3
shift 3
name=$(basename "$program")
failures=0

fail() {
    echo "$name: $1" >&2
    failures=$((failures + 1))
}

# help_options [SUBCOMMAND]: the long options of the help.
help_options() {
    "$program" "$@" --help | grep -oE '^ +(-[a-z], ?)?--[a-z][a-z-]*' | grep -oE -- '--[a-z-]+' | sort -u
}

# complete_words WORD...: the completions of the last word.
complete_words() {
    COMP_WORDS=("$name" "$@")
    COMP_CWORD=$#
    COMPREPLY=()
    "$(complete -p "$name" | sed 's/.*-F \([^ ]*\).*/\1/')"
    printf '%s\n' "${COMPREPLY[@]}"
}

# shown_in_page WORD: whether the formatted page has the word at the start of a line.
shown_in_page() {
    grep -qE -- "^ +(-[a-z], )?$1( |\$)" <<<"$page"
}

# check_options [SUBCOMMAND]
check_options() {
    local option offered
    offered=$(complete_words "$@" --)
    for option in $(help_options "$@"); do
        shown_in_page "$option" || fail "no $option in the man page"
        # Options before a subcommand need not be offered after it.
        grep -qxF -- "$option" <<<"$offered" || fail "no completion of ${*} $option"
    done
}

# shellcheck disable=SC1090 # the file under test
source "$completion"
mandoc -Tlint -W warning "$man" || fail "mandoc has something to say"
page=$(mandoc -Tutf8 "$man" | sed 's/.\x08//g')
[ "$("$program" --help | grep -c "^ *$name .")" -ge 2 ] || fail "fewer than two examples in --help"
check_options
for subcommand in "$@"; do
    shown_in_page "$subcommand" || fail "no $subcommand in the man page"
    complete_words '' | grep -qxF -- "$subcommand" || fail "no completion of $subcommand"
    check_options "$subcommand"
done
[ "$failures" -eq 0 ]
