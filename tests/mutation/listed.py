#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints some of the listed faults as draw.py prints drawn ones: listed.py NUMBER COUNT LIST...

The lists in their order hold parts of COUNT faults each; NUMBER, modulo their number, is that of the
part. Faults that no test can catch are left out.
"""
import json
import pathlib
import re
import sys


def read_list(path):
    for block in re.split(r"\n\s*\n", pathlib.Path(path).read_text(encoding="utf-8")):
        fields = dict(re.findall(r"^(id|file|survives): (.*)$", block, re.MULTILINE))
        if "id" in fields and "survives" not in fields:
            old, new = ("\n".join(re.findall(rf"^{re.escape(sign)} ?(.*)$", block, re.MULTILINE))
                        for sign in "-+")
            yield {"operator": fields["id"], "file": fields["file"], "line": 0, "old": old, "new": new}


def part(faults, number, count):
    begin = number * count % len(faults)
    return (faults + faults)[begin:begin + count]


def main(arguments):
    if len(arguments) < 3:
        sys.exit(__doc__)
    faults = [fault for path in arguments[2:] for fault in read_list(path)]
    for fault in part(faults, int(arguments[0]), int(arguments[1])):
        print(json.dumps(fault))


if __name__ == "__main__":
    main(sys.argv[1:])
