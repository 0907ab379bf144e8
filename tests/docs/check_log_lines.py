#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the log lines that a document quotes against the sources: check_log_lines.py DOCUMENT ROOT

Each quoted line must be one that the sources can write, and each error line of the sources must be
quoted. In the document "…" stands for what a format fills in. The same holds for the samples of
logs that the pages of its directory show."""

import re
import sys
from pathlib import Path

DIRECTORIES = ("core", "config", "events", "logging", "port")
TEXT = r'L?"(?:[^"\\]|\\.)*"'
LINE = re.compile(rf'{TEXT}(?:\s*{TEXT})*')
ERROR = re.compile(rf'\b(?:error|nl_(?:plugins)?[eE]rror|logServiceError)\(\s*(?:[^;"]*?,\s*)?'
                   rf'({TEXT}(?:\s*{TEXT})*)', re.S)
PART = re.compile(r"%(?:ls|llu|lx|d|u|p|s)")
# A line of a log as a page shows it.
SAMPLE = re.compile(r"^(?:[\d-]+ [\d:.]+ \d+:\d+ )?[EWID] \w+ (\[.*)$", re.M)
# Composed of parts in port/logger/PLogFile.cpp.
LOSSES = ("[PLogger] Lost lines: … err: …", "[PLogger] Lost echo lines: … err: …")


def joined(literals: str) -> str:
    """The text of adjacent literals."""
    return "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals)).strip()


def pattern(line: str) -> re.Pattern[str]:
    """The pattern of quoted lines for a format of the sources."""
    return re.compile(".+".join(re.escape(part) for part in PART.split(line)), re.S)


def wrong_samples(directory: Path, formats: list[re.Pattern[str]]) -> list[str]:
    """Lines of logs that a page of the directory shows and no source can write."""
    losses = [re.compile(".+".join(map(re.escape, loss.split("…")))) for loss in LOSSES]
    return [f"{page.name} shows a line that no source writes: {line}"
            for page in sorted(directory.glob("*.md"))
            for line in SAMPLE.findall(page.read_text(encoding="utf-8"))
            if not any(known.fullmatch(line) for known in [*formats, *losses])]


def main() -> int:
    document, root = Path(sys.argv[1]), Path(sys.argv[2])
    quoted = {line for row in document.read_text().splitlines() if row.startswith("| `[")
              for line in re.findall(r"`([^`]*)`", row.split(" | ")[0])}
    sources = [path.read_text() for directory in DIRECTORIES
               for path in sorted((root / directory).rglob("*.cpp"))]
    lines = {joined(found) for source in sources for found in LINE.findall(source)}
    formats = [pattern(line) for line in lines if line.startswith("[")]
    errors = {joined(found) for source in sources for found in ERROR.findall(source)}
    problems = [f"no source writes: {line}" for line in sorted(quoted)
                if line not in LOSSES and not any(known.fullmatch(line) for known in formats)]
    problems += [f"not explained: {line}" for line in sorted(errors)
                 if line.startswith("[") and not any(map(pattern(line).fullmatch, quoted))]
    problems += wrong_samples(document.parent, formats)
    if not quoted:
        problems.append("no log line is quoted")
    for problem in problems:
        print(f"{document.name}: {problem}", file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
