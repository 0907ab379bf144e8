#!/bin/sh
# SPDX-License-Identifier: MIT
# Renames a program and puts a script in its place that runs it: emulate.sh PROGRAM EMULATOR...
set -eu

program=$(realpath "$1")
shift
mv "$program" "$program.elf"
cat >"$program" <<TEXT
#!/bin/sh
exec $* -0 "\$0" "$program.elf" "\$@"
TEXT
chmod 755 "$program"
