#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that bash completes IDs and keys, of files and of declarations:
# completion_test.sh PROGRAM COMPLETION PLUGIN
set -eu

program=$1
completion=$2
plugin=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# shellcheck disable=SC1090 # the file under test
source "$completion"
mkdir "$work/plugins" "$work/config"
cp "$plugin" "$work/plugins"
cd "$work"
printf 'com.example.net = net.prs\ncom.example.disk = disk.prs\n' >config/ixlap.configmanager.prs
printf 'speed = 1\n' >config/net.prs
printf 'core.plugins.dir = plugins\n' >core.prs
ixla-config() { "$program" "$@"; }

# expect WANTED WORD...: the candidates for the last word, in any order.
expect() {
    local wanted=$1 found
    shift
    COMP_WORDS=(ixla-config "$@")
    COMP_CWORD=$#
    COMPREPLY=()
    _ixla_config
    found=$(printf '%s\n' "${COMPREPLY[@]}" | sort -u | xargs)
    if [ "$found" != "$wanted" ]; then
        echo "ixla-config $*: \"$found\" instead of \"$wanted\"" >&2
        failures=$((failures + 1))
    fi
}

keys='active delay host magic mask order port total'
all=(--plugins plugins --dir config)
expect 'com.example.net com.example.ui' --plugins plugins describe ''
expect 'com.example.net com.example.ui' --plugins plugins template com
expect 'com.example.disk com.example.net com.example.ui' "${all[@]}" explain ''
expect 'com.example.disk com.example.net' --dir config get ''
expect "${keys/port/port speed}" "${all[@]}" explain com.example.net ''
expect 'port' "${all[@]}" store com.example.net po
expect 'speed' --dir config get com.example.net ''
expect '' "${all[@]}" store com.example.net port ''
expect '' core-keys ''
# bash separates KEY=VALUE.
expect 'colour' --core core.prs.file = core.prs --dir config explain com.example.ui ''
[ "$failures" -eq 0 ]
