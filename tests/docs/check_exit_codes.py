#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the exit codes of the tools: check_exit_codes.py ROOT BIN [TOOL=CODES]
The man page of a tool is their source. The help text and the tables of docs/ have the same codes.
With TOOL=CODES, such as ixla-host=0,1, the page of the tool counts as having these."""

import re
import subprocess
import sys
from pathlib import Path

TOOLS = ("ixla-config", "ixla-ctl", "ixla-host", "ixla-inspect", "ixla-new-plugin", "ixla-report",
         "ixla-validate")
# Pages with a table of the exit codes of a tool.
TABLES = {"docs/writing-a-host.md": "ixla-host", "docs/control.md": "ixla-ctl"}
CODE = r"\d+(?:\+N| \+ N)?"


def section(text: str, title: str) -> str:
    """From the title to an empty line in front of another paragraph at the left."""
    return re.split(r"\n\n(?=\S)", re.split(title, text, maxsplit=1)[1], maxsplit=1)[0]


def page_codes(man: Path) -> set[str]:
    page = subprocess.run(["mandoc", "-Tutf8", man], check=True, capture_output=True, text=True)
    text = re.sub(".\b", "", page.stdout)
    body = re.split(r"\n(?=\S)", text.split("\nEXIT STATUS\n", 1)[1], maxsplit=1)[0]
    return set(re.findall(rf"^ +({CODE}) +\S", body, re.M))


def help_codes(tool: Path) -> set[str]:
    text = subprocess.run([tool, "--help"], check=True, capture_output=True, text=True).stdout
    body = section(text, r"(?i)\bexit (?:codes?|status):")
    return set(re.findall(rf"(?:^|[\s,:])({CODE}) +[a-z]", body))


def table_codes(document: Path) -> set[str]:
    rows = document.read_text(encoding="utf-8").splitlines()
    return {found[1] for row in rows if (found := re.match(rf"\| ({CODE}) \|", row))}


def main() -> int:
    root, binaries = Path(sys.argv[1]), Path(sys.argv[2])
    pages = {tool: page_codes(root / f"tools/man/{tool}.1") for tool in TOOLS}
    for other in sys.argv[3:]:
        tool, codes = other.split("=")
        pages[tool] = set(codes.split(","))
    found = [(f"{tool} --help", tool, help_codes(binaries / tool)) for tool in TOOLS]
    found += [(name, tool, table_codes(root / name)) for name, tool in TABLES.items()]
    problems = [f"{place}: exit codes {sorted(codes)}, the man page of {tool} has "
                f"{sorted(pages[tool])}" for place, tool, codes in found if codes != pages[tool]]
    print("\n".join(problems) or "\n".join(f"{tool}: {sorted(pages[tool])}" for tool in TOOLS))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
