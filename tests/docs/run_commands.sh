#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the commands of a document's "```sh" blocks unchanged: run_commands.sh DOCUMENT ROOT
set -eu

commands=$(awk '$0 == "```" { on = 0 } on; $0 == "```sh" { on = 1 }' "$1")
if [ -z "$commands" ]; then
    echo "$1 shows no commands" >&2
    exit 1
fi
cd "$2"
bash -euc "$commands"
