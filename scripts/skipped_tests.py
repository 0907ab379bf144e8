#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Lists the tests that were skipped, fully or partly, with the reasons: skipped_tests.py RESULTS
RESULTS is the file that ctest writes with --output-junit and all output. A reason is the text of
GTEST_SKIP or unittest, or the last line of a skipped test."""

import re
import sys
from xml.etree import ElementTree

GOOGLE_TEST = re.compile(r"^\S+:\d+: Skipped\n(.+)$", re.M)
UNITTEST = re.compile(r"\.\.\. skipped ['\"](.*)['\"]$", re.M)
UNITTEST_COUNT = re.compile(r"^OK \(.*skipped=\d+.*\)$", re.M)
NO_REASON = "no reason given"


def reasons(output: str, skipped: bool) -> list[str]:
    found = GOOGLE_TEST.findall(output) + UNITTEST.findall(output)
    if found:
        return list(dict.fromkeys(found))
    if skipped:
        return [output.strip().splitlines()[-1].removeprefix("SKIPPED: ")
                if output.strip() else NO_REASON]
    return [NO_REASON] if UNITTEST_COUNT.search(output) else []


def main() -> None:
    tests = ElementTree.parse(sys.argv[1]).iter("testcase")
    lines = sorted(f"  {test.get('name')}: {reason}" for test in tests
                   for reason in reasons(test.findtext("system-out", ""),
                                         test.find("skipped") is not None))
    print(f"Skipped, fully or partly: {len(lines)}")
    print("".join(f"{line}\n" for line in lines), end="")


if __name__ == "__main__":
    main()
