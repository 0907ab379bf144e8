#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that the completions for zsh and fish have all commands and options of the help:
# check_shells.sh PROGRAM TOOLS
set -eu

program=$1
zsh_file=$2/completion-zsh/_ixla-ctl
fish_file=$2/completion-fish/ixla-ctl.fish
failures=0

fail() {
    echo "ixla-ctl: $1" >&2
    failures=$((failures + 1))
}

# help_options COMMAND...: the long options of the help.
help_options() {
    "$program" "$@" --help | grep -oE '^ +(-[a-z], ?)?--[a-z-]+' | grep -oE -- '--[a-z-]+' | sort -u
}

# help_commands COMMAND...: the commands of the help.
help_commands() {
    "$program" "$@" --help | grep -oE '^    [a-z]+ ' | tr -d ' '
}

# in_fish LINE WORD: whether fish offers the word at the end of the line.
in_fish() {
    fish --no-config -c "source '$fish_file'; complete -C '$1'" | cut -f 1 | grep -qxF -- "$2"
}

# check_words LINE WORD...: the line ends with a blank or the beginning of the words.
check_words() {
    local line=$1 word
    shift
    for word in "$@"; do
        in_fish "$line" "$word" || fail "fish: no completion of $line$word"
        grep -qE -- "(^|[^a-z-])$word([^a-z-]|\$)" "$zsh_file" || fail "zsh: no $word"
    done
}

# check_command COMMAND...: its options.
check_command() {
    mapfile -t options < <(help_options "$@")
    [ ${#options[@]} -ge 4 ] || fail "no options of $*"
    check_words "ixla-ctl ${*:+$* }--" "${options[@]}"
}

zsh -n "$zsh_file"
mapfile -t commands < <(help_commands)
[ ${#commands[@]} -eq 10 ] || fail "not 10 commands: ${commands[*]}"
check_words 'ixla-ctl ' "${commands[@]}"
check_command
for command in "${commands[@]}"; do
    case $command in
    log | event)
        mapfile -t subcommands < <(help_commands "$command")
        check_words "ixla-ctl $command " "${subcommands[@]}"
        for subcommand in "${subcommands[@]}"; do
            check_command "$command" "$subcommand"
        done
        ;;
    *) check_command "$command" ;;
    esac
done
[ "$failures" -eq 0 ]
