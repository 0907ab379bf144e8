#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the README's commands on a bare Debian 12: check-clean-root.sh [--user root|ordinary]
#                                                 [--command TEXT]... [--dir DIRECTORY]
# Creates a root of Debian's smallest variant, with the mirror and the proxy that apt uses here. Runs
# the commands as printed in a copy for each user, root and an ordinary user with sudo, with only
# PATH and HOME in the environment. The tree is that of the last commit. --user: only this user.
# --command: only the commands that contain one of these texts. The bare root is kept in DIRECTORY
# (build/clean-root) for the next run. Must be run as root.
#
# Prints a transcript, and at the end the exit code and duration of each command.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=scripts/clean-root-functions.sh
. "$root/scripts/clean-root-functions.sh"
work=$root/build/clean-root
users=()
wanted=()
results=()
failures=0

usage() {
    sed -n '3,4s/^# *//p' "$0" >&2
    exit 2
}

read_arguments() {
    while [ $# -ge 2 ]; do
        case $1 in
        --user)
            [[ $2 = root || $2 = ordinary ]] || usage
            users+=("$2")
            ;;
        --command) wanted+=("$2") ;;
        --dir) work=$2 ;;
        *) usage ;;
        esac
        shift 2
    done
    [ $# -eq 0 ] || usage
    if [ ${#users[@]} -eq 0 ]; then
        users=(root ordinary)
    fi
}

# make_root USER: creates a new root in $work/USER, with the tree in the user's home.
make_root() {
    local new=$work/$1 home=/root
    mount_root "$1"
    if [ "$1" = ordinary ]; then
        home=/home/ordinary
        in_root "$1" root "apt-get update -qq && apt-get install -y -qq sudo &&
            useradd --create-home --shell /bin/bash ordinary &&
            echo 'ordinary ALL=(ALL) NOPASSWD: ALL' >/etc/sudoers.d/ordinary" >"$work/sudo.log" 2>&1 || {
            tail -n 20 "$work/sudo.log" >&2
            exit 1
        }
    fi
    mkdir "$new$home/ixlal"
    git -C "$root" archive HEAD | tar -x -C "$new$home/ixlal"
    chroot "$new" chown -R "$1:" "$home/ixlal"
}

# The commands of the README, each terminated by a zero byte: lines that begin with a script, in
# blocks without a language, and whole blocks of sh.
list_commands() {
    awk '
        !inside && /^```/ { inside = 1; language = substr($0, 4); text = ""; next }
        inside && $0 == "```" {
            inside = 0
            if (language == "sh") printf "%s%c", text, 0
            next
        }
        inside && language == "sh" { text = text $0 "\n" }
        inside && language == "" && /^scripts\// { printf "%s\n%c", $0, 0 }
    ' "$root/README.md"
}

is_wanted() {
    local text
    for text in "${wanted[@]}"; do
        if [[ $1 == *"$text"* ]]; then
            return 0
        fi
    done
    [ ${#wanted[@]} -eq 0 ]
}

# run_command USER COMMAND
run_command() {
    local code=0 began=$SECONDS
    printf '\n== As %s\n' "$1"
    # shellcheck disable=SC2001 # of every line
    sed 's/^/$ /' <<<"${2%$'\n'}"
    in_root "$1" "$1" "cd ixlal; set -eu; $2" 2>&1 || code=$?
    results+=("$(printf '%-9s exit code %3d %6d s  %s' "$1" "$code" $((SECONDS - began)) \
        "$(head -n 1 <<<"$2")")")
    [ "$code" -eq 0 ] || failures=$((failures + 1))
}

run_commands() {
    local user=$1 command
    make_root "$user"
    while IFS= read -r -d '' command <&3; do
        if is_wanted "$command"; then
            run_command "$user" "$command"
        fi
    done 3< <(list_commands)
    remove_root "$user"
}

read_arguments "$@"
prepare_roots "$@"
for user in "${users[@]}"; do
    run_commands "$user"
done
printf '\n== Results\n'
printf '%s\n' "${results[@]}"
[ "$failures" -eq 0 ] && [ ${#results[@]} -gt 0 ]
