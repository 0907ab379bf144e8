#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Tests that check_license.py finds a source without the license and a different text.
set -eu

here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/packaging" "$work/tools/new-plugin/template"
cp "$here/../../LICENSE" "$work"
cp "$here/../../tools/new-plugin/template/LICENSE" "$work/tools/new-plugin/template"
sed 's/WITHOUT WARRANTY/WITH WARRANTY/' "$here/../../packaging/copyright" >"$work/packaging/copyright"
echo 'int without;' >"$work/without.cpp"
printf '%s\n' '// Late.' '// SPDX-License-Identifier: MIT' >"$work/late.h"
printf '%s\n' '#!/bin/sh' '# SPDX-License-Identifier: MIT' >"$work/with"
printf '%s\n' '#!/bin/sh' 'exit 0' >"$work/script"

if "$here/check_license.py" "$work" >"$work/report.txt"; then
    echo "check_license.py lets a source without the license through" >&2
    exit 1
fi
diff - "$work/report.txt" <<'TEXT'
late.h: the line with the license is missing
script: the line with the license is missing
without.cpp: the line with the license is missing
packaging/copyright: does not have the text of LICENSE as Expat
packaging/copyright: does not have the text of tools/new-plugin/template/LICENSE as MIT-0
TEXT
