#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Uses the files that man pages show: check_man_files.sh MAN BIN
# A host starts with the property file, the configuration and the store. Its logs have the format of
# the page.
set -eu -o pipefail

man=$(realpath "$1")
bin=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# example PAGE NUMBER: the example of the page with this number, from 1.
example() {
    awk -v wanted="$2" '/^\.EE/ { on = 0 } on; /^\.EX/ { on = ++count == wanted }' "$man/$1" |
        sed 's/\\e/\\/g'
}

mkdir config plugins
example ixlal-properties.5 1 >core.prs
example ixlal-properties.5 2 >config/ixlap.configmanager.prs
example ixlal-properties.5 3 >config/net.prs
touch config/net.local.prs
example ixlal-store.5 1 >config/store.txt
cp config/store.txt store.txt

config=("$bin/ixla-config" --dir config --core core.prs.file=core.prs)
"${config[@]}" check --strict core.prs config/ixlap.configmanager.prs config/net.prs
"${config[@]}" check --strict --store config/store.txt
value=$("${config[@]}" get com.example.net port)
[ "$value" = "$(sed -n 's/^com.example.net|port = //p' config/store.txt)" ]
"${config[@]}" explain com.example.net host | grep -q 'the files pin the key with const'
# The order of entries is that of the core.
"${config[@]}" store com.example.net port "$value"
cmp store.txt config/store.txt

"$bin/ixla-host" --prs core.prs --seconds 0 core.log.file=core.log core.log.level=1000
format='[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3} [0-9]+:[0-9]+ [DIE]'
example ixlal-log.5 1 >shown.log
example ixlal-log.5 2 >>shown.log
for log in "core.log Core" "log/ixlaplugins.log pgs" "shown.log Core"; do
    [ -s "${log% *}" ]
    if grep -vE "^$format ${log#* } " "${log% *}"; then
        echo "${log% *} has lines of another format" >&2
        exit 1
    fi
done
# The version is that of the page.
grep -qF "$(example ixlal-log.5 2 | sed 's/.* Core \[/Core [/')" core.log
echo "The files of the man pages work as described"
