#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# As run_commands.sh, for commands that change files of the tree: they change a copy. The copy must
# be the same afterwards, because the tree already has the files that the commands record.
# Usage: run_in_copy.sh DOCUMENT ROOT
set -eu

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$2" && pwd)
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT

for entry in "$root"/*; do
    ln -s "$entry" "$copy/$(basename "$entry")"
done
rm "$copy/abi" "$copy/scripts"
cp -r "$root/abi" "$root/scripts" "$copy"

"$here/run_commands.sh" "$1" "$copy"
diff -r "$root/abi" "$copy/abi"
