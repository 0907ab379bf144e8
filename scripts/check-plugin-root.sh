#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the tutorial's commands on a bare Debian 12, from nothing to a validated, packaged and
# installed plugin that a host runs: check-plugin-root.sh [--list] [--page FILE]
#                                                       [--packages DIRECTORY] [--dir DIRECTORY]
# The commands are those of the page, docs/writing-a-plugin.md, below "From nothing to an installed
# plugin". The home of the root user contains the Debian packages of the release build, or those in
# --packages. The bare root is kept in --dir (build/clean-root) for the next run. Must be run as root.
# --list: only counts and prints the commands, as any user.
#
# Prints a transcript with the duration of each command. Fails when a command fails, when there are
# more than 20, or when they take more than 300 s.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=scripts/clean-root-functions.sh
. "$root/scripts/clean-root-functions.sh"
work=$root/build/clean-root
packages=
page=$root/docs/writing-a-plugin.md
only_list=no
most_commands=20
most_seconds=300

fail() {
    echo "check-plugin-root: $1" >&2
    exit 1
}

read_arguments() {
    if [ "${1:-}" = --list ]; then
        only_list=yes
        shift
    fi
    while [ $# -ge 2 ]; do
        case $1 in
        --packages) packages=$(cd "$2" && pwd) ;;
        --dir) work=$2 ;;
        --page) page=$2 ;;
        *) break ;;
        esac
        shift 2
    done
    if [ $# -ne 0 ]; then
        sed -n '4,5s/^# *//p' "$0" >&2
        exit 2
    fi
}

# The commands of the section, one per line.
list_commands() {
    awk '
        /^## / { section = ($0 == "## From nothing to an installed plugin") }
        section && $0 == "```" { inside = !inside; next }
        inside
    ' "$page" | sed -e :a -e '/\\$/N; s/\\\n *//; ta'
}

# Makes the root with the packages and the commands in the home of its user.
make_root() {
    mount_root plugin
    # Without updates, so that each run has the same packages.
    sed -i "/ $release /!d" "$work/plugin/etc/apt/sources.list"
    if [ -z "$packages" ]; then
        packages=$work/packages
        rm -rf "$packages"
        cpack --config "$root/build/release/CPackConfig.cmake" -B "$packages" >"$work/cpack.log"
    fi
    cp "$packages"/{libixlal,libixlal-dev,ixlal-tools}_*.deb "$work/plugin/root"
    list_commands >"$work/plugin/root/commands"
    cat >"$work/plugin/root/run" <<'TEXT'
while IFS= read -r command <&3; do
    printf '\n$ %s\n' "$command"
    began=$SECONDS
    eval "$command" || exit
    printf '= %d s\n' "$((SECONDS - began))"
done 3<commands
printf '\n== %d commands, %d s\n' "$(wc -l <~/commands)" "$SECONDS"
TEXT
}

# said PATTERN: the transcript must have a line of this form.
said() {
    grep -qE -- "$1" "$work/transcript.txt" || fail "the transcript has no line: $1"
}

read_arguments "$@"
count=$(list_commands | wc -l)
[ "$count" -gt 0 ] || fail "$page has no commands"
[ "$count" -le "$most_commands" ] || fail "$count commands are more than $most_commands"
if [ "$only_list" = yes ]; then
    list_commands
    exit
fi
prepare_roots "$@"
make_root
in_root plugin root "bash run" 2>&1 | tee "$work/transcript.txt" || fail "a command fails"
said 'libgreeter\.so: [0-9]+ checks passed'
said '^100% tests passed'
said '^ixla-host: ready'
chroot "$work/plugin" dpkg --verify ixlal-plugin-greeter libixlal ||
    fail "the installed files are not those of the packages"
seconds=$(sed -n 's/^== .* commands, \(.*\) s$/\1/p' "$work/transcript.txt")
[ "$seconds" -le "$most_seconds" ] || fail "$seconds s are more than $most_seconds s"
remove_root plugin
