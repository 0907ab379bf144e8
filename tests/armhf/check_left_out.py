#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the list of the tests that are left out on another processor with the tests of the
release build: check_left_out.py LIST RELEASE_BUILD [OTHER_BUILD]

Each line of the list is a pattern of names, a colon and a reason. Every pattern matches a test of
the release build. With OTHER_BUILD, its tests are all others of the release build, and none of the
list."""

import json
import re
import subprocess
import sys
from fnmatch import fnmatchcase
from pathlib import Path

# The tests of the lists themselves.
OWN = re.compile(r"(Armhf|Powerpc)\.")
SKIPPED = 77


def tests_of(build: str) -> set[str]:
    listed = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"],
                            capture_output=True, text=True, check=False)
    if listed.returncode != 0:
        return set()
    names = {test["name"] for test in json.loads(listed.stdout)["tests"]}
    return {name for name in names if not OWN.match(name)}


def read_list(path: str) -> dict[str, str]:
    entries = {}
    for line in Path(path).read_text().splitlines():
        if line and not line.startswith("#"):
            pattern, _, reason = line.partition(":")
            entries[pattern] = reason.strip()
    return entries


def main(list_path: str, release_build: str, other_build: str | None = None) -> int:
    left_out = read_list(list_path)
    release = tests_of(release_build)
    if other_build and (not release or any(name.endswith("_NOT_BUILT") for name in release)):
        print(f"{release_build} is not built")
        return SKIPPED
    problems = [f"no reason: {pattern}" for pattern, reason in left_out.items() if not reason]
    problems += [f"no such test: {pattern}" for pattern in left_out
                 if not any(fnmatchcase(name, pattern) for name in release)]
    if other_build:
        other = tests_of(other_build)
        listed = {name for name in release | other
                  if any(fnmatchcase(name, pattern) for pattern in left_out)}
        problems += [f"left out, but runs: {name}" for name in sorted(listed & other)]
        problems += [f"runs not, but is not left out: {name}"
                     for name in sorted(release - other - listed)]
    print("\n".join(problems) or f"{len(left_out)} entries")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
