# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2034
# Reads lists of faults and plants them in a tree; to be sourced by scripts.
#
# A list holds one fault after another:
#
#   id: mutex-nested-unlock
#   file: port/portinglayer/PMutex.cpp
#   breaks: The inner of two unlocks releases the mutex
#   - if (--fDepth > 0)
#   + if (--fDepth > 1)
#
# The text after "- " is replaced by that after "+ ". It may start and end within a line, and must
# occur exactly once in the file. Both may have several lines; "+" alone means no text.
# "tests: DIRECTORY" names the directory of tests/ that is tried first; the default depends on the
# file. "scenarios: NAME..." names the scenarios of tests/schedules that reach the place. "survives:
# REASON" marks a fault that no test can catch.

fault_ids=()
declare -A fault_file fault_breaks fault_tests fault_scenarios fault_reason fault_old fault_new

# read_faults LIST...
read_faults() {
    local list line id=
    for list in "$@"; do
        while IFS= read -r line; do
            case $line in
                "" | "#"*) ;;
                "id: "*) begin_fault "${line#id: }" ;;
                "file: "*) fault_file[$id]=${line#file: } ;;
                "breaks: "*) fault_breaks[$id]=${line#breaks: } ;;
                "tests: "*) fault_tests[$id]=${line#tests: } ;;
                "scenarios: "*) fault_scenarios[$id]=${line#scenarios: } ;;
                "survives: "*) fault_reason[$id]=${line#survives: } ;;
                "-" | "- "*) fault_old[$id]+=${fault_old[$id]:+$'\n'}${line:2} ;;
                "+" | "+ "*) fault_new[$id]+=${fault_new[$id]:+$'\n'}${line:2} ;;
                *) refuse_list "$list" "$line" ;;
            esac
        done <"$list"
    done
}

begin_fault() {
    id=$1
    if [ -n "${fault_file[$id]-}" ]; then
        refuse_list "$list" "$line"
    fi
    fault_ids+=("$id")
    fault_old[$id]=
    fault_new[$id]=
}

refuse_list() {
    echo "$1: not understood: $2" >&2
    exit 2
}

# first_tests ID: the directory of tests/ that belongs to the file of a fault.
first_tests() {
    local file=${fault_file[$1]}
    case ${fault_tests[$1]-}:$file in
        :port/logger/*) echo logger ;;
        :include/*) echo headers ;;
        :*) echo "${file%%/*}" ;;
        *) echo "${fault_tests[$1]}" ;;
    esac
}

# planted TREE ID: prints the file of a fault with the fault in it. Fails if the file does not
# contain the old text exactly once.
planted() {
    OLD=${fault_old[$2]} NEW=${fault_new[$2]} LC_ALL=C awk '
        { text = text $0 "\n" }
        END {
            at = index(text, ENVIRON["OLD"])
            rest = substr(text, at + length(ENVIRON["OLD"]))
            if (ENVIRON["OLD"] == "" || at == 0 || index(rest, ENVIRON["OLD"]) > 0)
                exit 1
            printf "%s%s%s", substr(text, 1, at - 1), ENVIRON["NEW"], rest
        }' "$1/${fault_file[$2]}"
}
