#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Validates the control plugin, with a runtime directory of its own: check_valid.sh VALIDATE PLUGIN
set -eu

XDG_RUNTIME_DIR=$(mktemp -d)
export XDG_RUNTIME_DIR
trap 'rm -rf "$XDG_RUNTIME_DIR"' EXIT
env -u RUNTIME_DIRECTORY "$1" "$2"
