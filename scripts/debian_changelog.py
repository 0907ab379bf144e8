#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints the changelog of the Debian packages, generated from CHANGELOG.md: debian_changelog.py
With --check, fails when packaging/changelog differs from it, or CMakeLists.txt from its version."""

import re
import sys
import textwrap
from datetime import date
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
AUTHOR = "The ixlal maintainers <maintainers@ixlal.example.org>"
RELEASE = re.compile(r"## \[(\d+\.\d+\.\d+)\] - (\d{4}-\d\d-\d\d)\n")
# Lintian requires English names in every locale.
DAYS = "Mon Tue Wed Thu Fri Sat Sun".split()
MONTHS = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()


def releases(text: str) -> list[tuple[str, date, str]]:
    """Version, day and entries of each release, the latest first."""
    parts = RELEASE.split(text)
    return [(version, date.fromisoformat(day), body)
            for version, day, body in zip(parts[1::3], parts[2::3], parts[3::3])]


def entries(body: str) -> list[str]:
    """The entries of a release, each with the heading that it stands below."""
    found = []
    for section in body.split("\n### ")[1:]:
        heading, _, items = section.partition("\n")
        for item in items.split("\n- ")[1:]:
            plain = " ".join(item.split()).replace("`", "")
            found.append(f"{heading}: {plain}")
    return found


def debian(text: str) -> str:
    paragraphs = []
    for version, day, body in releases(text):
        lines = [textwrap.fill(entry, 78, initial_indent="  * ", subsequent_indent="    ",
                               break_long_words=False, break_on_hyphens=False)
                 for entry in entries(body)]
        stamp = f"{DAYS[day.weekday()]}, {day.day:02} {MONTHS[day.month - 1]} {day.year}"
        paragraphs.append("\n".join([f"ixlal ({version}) unstable; urgency=medium", "", *lines, "",
                                     f" -- {AUTHOR}  {stamp} 12:00:00 +0000", ""]))
    return "\n".join(paragraphs)


def problems(text: str) -> list[str]:
    found = []
    if (ROOT / "packaging/changelog").read_text(encoding="utf-8") != debian(text):
        found.append("packaging/changelog differs from CHANGELOG.md: run "
                     "scripts/debian_changelog.py >packaging/changelog")
    version = releases(text)[0][0]
    if f"project(ixlal VERSION {version}" not in (ROOT / "CMakeLists.txt").read_text("utf-8"):
        found.append(f"CMakeLists.txt does not have the version {version}, which CHANGELOG.md has")
    return found


def main() -> int:
    text = (ROOT / "CHANGELOG.md").read_text(encoding="utf-8")
    if sys.argv[1:] == ["--check"]:
        found = problems(text)
        print("\n".join(found) or "Both changelogs have the same releases")
        return 1 if found else 0
    print(debian(text), end="")
    return 0


if __name__ == "__main__":
    sys.exit(main())
