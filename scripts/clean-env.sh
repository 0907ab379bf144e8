#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command with only PATH, HOME, TERM and LANG of the caller's variables, so that it behaves as
# on a newly installed machine: clean-env.sh [--hostile] COMMAND...
# --hostile: without LANG, with umask 077, and with a temporary TMPDIR that has a blank in its name.
set -eu

variables=()
hostile=no
keep() {
    if [ -n "${!1+set}" ]; then
        variables+=("$1=${!1}")
    fi
}

if [ "${1:-}" = --hostile ]; then
    hostile=yes
    shift
fi
if [ $# -eq 0 ]; then
    sed -n '4s/.*: /Usage: /p' "$0" >&2
    exit 2
fi
keep PATH
keep HOME
keep TERM
if [ "$hostile" = no ]; then
    keep LANG
    exec env -i "${variables[@]}" "$@"
fi

umask 077
outer=$(mktemp -d /tmp/ixlal-hostile-XXXXXX)
trap 'rm -rf "$outer"' EXIT
chmod 755 "$outer"
mkdir -m 1777 "$outer/with blank" # open to all users, as /tmp is
env -i "${variables[@]}" TMPDIR="$outer/with blank" "$@"
