#!/bin/sh
# SPDX-License-Identifier: MIT
# Shows that docs/compatibility.md names all operations that pass a type of the standard library,
# and that they pass only vectors of texts.
# Usage: check_border.sh ROOT
set -eu
root=$1
page=$root/docs/compatibility.md

# One line for each operation with such a type: its name and the types.
operations=$(cat "$root"/include/I*.h | tr '\n' ' ' | sed 's/;/;\n/g' |
    sed -n 's/.*virtual [^(]* \**\([A-Za-z0-9]*\)(\(.*std::.*\)) = 0;/\1 \2/p')
if [ "$(echo "$operations" | wc -l)" -lt 5 ]
then
    echo "only these operations were found:"
    echo "$operations"
    exit 1
fi
echo "$operations" | while read -r name types
do
    if [ -n "$(echo "$types" | sed 's/std::vector<PString>//g' | grep std::)" ]
    then
        echo "$name passes something else: $types"
        exit 1
    elif ! sed -n '/^### Standard library types/,/^## /p' "$page" | grep -q "[\`:]$name\`"
    then
        echo "compatibility.md does not name $name"
        exit 1
    fi
done
