#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that each atomic variable says why its memory order is enough: check_orders.py FILE...
Its line, or the comment directly before it, has the word "order"."""

import re
import sys
from pathlib import Path

DECLARATION = re.compile(r"^\s*(?:static |typedef )?std::atomic(?:_flag|<.*>\*?) (\w+)(?:\{.*\})?;")
COMMENT = re.compile(r"^\s*//")


def unexplained(path):
    comment = ""
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if COMMENT.match(line):
            comment += line
            continue
        found = DECLARATION.match(line)
        if found and not re.search(r"\border\b", comment + line):
            yield f"{path}:{number}: nothing says why the order of {found[1]} is enough"
        # A comment is about all declarations that follow it without an empty line.
        comment = comment if found else ""


def main():
    findings = [text for path in sys.argv[1:] for text in unexplained(Path(path))]
    print("\n".join(findings) or "Every atomic variable says why its order is enough")
    return bool(findings)


if __name__ == "__main__":
    sys.exit(main())
