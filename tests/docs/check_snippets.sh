#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that the code in a document is that of the file named in its fence, "```cpp FILE":
# check_snippets.sh DOCUMENT ROOT
# A document omits the line with the license.
set -u

document=$1
root=$2
failed=0
found=0
for file in $(sed -n 's/^```cpp //p' "$document"); do
    found=$((found + 1))
    snippet=$(awk -v fence="\`\`\`cpp $file" '$0 == "```" { on = 0 } on; $0 == fence { on = 1 }' \
        "$document")
    if ! sed '1{/SPDX-License-Identifier/d}' "$root/$file" |
        diff -u --label "$file" --label "$(basename "$document")" - <(echo "$snippet"); then
        failed=1
    fi
done
if [ "$found" -eq 0 ]; then
    echo "$document shows no code" >&2
    failed=1
fi
exit $failed
