#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the commands that a document shows and compares what they print:
check_console.py DOCUMENT PROGRAMS [LIBRARY...]

A block "```prs FILE" is written as that file, in the order of the document. In a block "```console"
a line that begins with "$ " is a command, and the lines up to the next one are all that it prints.
All run in one directory, with the directory PROGRAMS first in the path. It has nothing but the
libraries, in plugins/."""

import difflib
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

BLOCK = re.compile(r"^```(prs|console)(?: (\S+))?\n(.*?)^```$", re.M | re.S)


def run(command: str, directory: Path, programs: Path) -> str:
    path = f"{programs.resolve()}:{os.environ['PATH']}"
    done = subprocess.run(["bash", "-c", command], cwd=directory, env=os.environ | {"PATH": path},
                          stdout=subprocess.PIPE, text=True, check=False, timeout=60)
    return done.stdout


def replay(session: str, directory: Path, programs: Path) -> str:
    """The output of the session now."""
    commands = [line for line in session.splitlines() if line.startswith("$ ")]
    return "".join(f"{line}\n{run(line[2:], directory, programs)}" for line in commands)


def main() -> int:
    document, programs = Path(sys.argv[1]), Path(sys.argv[2])
    sessions = differences = 0
    with tempfile.TemporaryDirectory() as directory:
        for library in sys.argv[3:]:
            Path(directory, "plugins").mkdir(exist_ok=True)
            shutil.copy(library, Path(directory, "plugins"))
        for kind, name, text in BLOCK.findall(document.read_text()):
            if kind == "prs":
                file = Path(directory, name)
                file.parent.mkdir(parents=True, exist_ok=True)
                file.write_text(text)
                continue
            sessions += 1
            now = replay(text, Path(directory), programs)
            if now != text:
                differences += 1
                sys.stderr.writelines(difflib.unified_diff(
                    text.splitlines(True), now.splitlines(True), document.name, "now"))
    if sessions == 0:
        print(f"{document} shows no commands", file=sys.stderr)
    return 1 if differences or sessions == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
