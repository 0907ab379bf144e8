#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that a plugin of the examples is short: check_lines.py LINES FRAMEWORK ROOT FILE...

The files, relative to ROOT, may have LINES lines together. All lines count, also comments and empty
ones, and the files are formatted by the clang-format of the tree, so that no line is packed.

At most FRAMEWORK of them may be code of the framework. These lines count as such:
- an #include of a header of the product or its helpers,
- each line of a class that derives from PPlugin, and the macros that define the factory,
- each line of onInit and onExit,
- a line that names ixlaGuarded, try, catch, or compares a result with eIxlaOk,
- a member that holds a service of the core or a subscription."""
import pathlib
import re
import subprocess
import sys

LINE = re.compile(
    r'#include "(I[A-Z]\w+\.h|P[A-Z]\w+\.h|helpers/.*|portinglayer/.*)"'
    r"|\bIXLA_(SERVICE_)?PLUGIN\("
    r"|\bixlaGuarded\b|\btry\b|\bcatch\b|[!=]= eIxlaOk"
    r"|^\s+(PBaseptr<I(EventDispatcher|ConfigManager|Config|Logger)>|P(Config)?Subscription) f"
)
BLOCK = re.compile(r"(class|struct) \w+ .*\bPPlugin$|\b(int onInit|void onExit)\(\) override$")


def framework_lines(lines, own_headers):
    """The lines that are code of the framework."""
    found = []
    block_end = None
    for line in lines:
        indent = line[: len(line) - len(line.lstrip())]
        if block_end is None and BLOCK.search(line):
            block_end = (indent + "}", indent + "};")
        own = any(f'"{name}"' in line for name in own_headers)
        if block_end is not None or (LINE.search(line) and not own):
            found.append(line)
        if block_end is not None and line in block_end:
            block_end = None
    return found


def main(most, most_framework, root, names):
    files = [pathlib.Path(root) / name for name in names]
    own_headers = {header.name for file in files for header in file.parent.glob("*.h")}
    lines = []
    framework = []
    failed = False
    for file in files:
        of_file = file.read_text(encoding="utf-8").splitlines()
        lines += of_file
        framework += framework_lines(of_file, own_headers)
        formatted = subprocess.run(
            ["clang-format", "--dry-run", "-Werror", str(file)], check=False, stderr=subprocess.PIPE
        )
        if formatted.returncode != 0:
            print(f"{file.name}: not formatted as clang-format does")
            failed = True
    for what, count, limit in (
        ("lines", len(lines), most),
        ("lines of the framework", len(framework), most_framework),
    ):
        print(f"{count} {what}, at most {limit}")
        failed = failed or count > limit
    print("\n".join(framework))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(int(sys.argv[1]), int(sys.argv[2]), sys.argv[3], sys.argv[4:]))
