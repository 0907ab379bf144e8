#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the checks that take too long for every change, and keeps their figures:
#   long-checks.sh [--only NAME]... [--minutes N]   runs all, or these
#   long-checks.sh --list                           names them, with the age of their figures
#   long-checks.sh --slice [NUMBER]                 runs a part of one of them, in some minutes
# --minutes sets the duration of each soak, of the schedules and of each fuzzer (30); the others end by
# themselves. A check that passes writes its figures, with date and commit, to docs/long-checks.json,
# and from there to docs/long-checks.md. The checked files must be committed. The check with the oldest
# figures runs first. Outputs are in build/long-checks.
#
# The parts turn with NUMBER, the number of commits by default, so that all come round. A part that
# cannot run here, for lack of root, says so and passes.
set -eu

exec python3 "$(dirname "$0")/long_checks.py" "$@"
