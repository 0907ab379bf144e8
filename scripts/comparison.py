#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Puts the measured ratios into the README and docs/comparison.md: comparison.py [--check]
Their one source is the table of docs/performance.md. With --check, fails when they differ from it
and changes nothing."""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SOURCE = ROOT / "docs/performance.md"
README = ROOT / "README.md"
PAGE = ROOT / "docs/comparison.md"
NOT_MEASURED = "not measured"

# Rows of the README: what they are called there, their case and size in the table of measurements,
# and whether that case has a floor of plain dlopen.
ROWS = [
    ("start, 1 plugin", "start", "1", True),
    ("start, 500 plugins", "start", "500", True),
    ("look-up among 10 services", "lookup", "10", False),
    ("look-up among 10,000 services", "lookup", "10,000", False),
    ("event to 1 listener", "send", "1", False),
    ("read of a text from a file, 100 keys", "read own text", "100", False),
    ("read of a run-time text, 100 keys", "read run-time text", "100", False),
]


def measured(text: str) -> list[dict[str, str]]:
    """The rows of the table of measurements that were counted, with one thread each."""
    table = re.search(r"<!-- table -->\n(.*?)<!-- end of table -->", text, re.S)[1]
    header, _, *lines = [[cell.strip() for cell in line.strip("|").split("|")]
                         for line in table.strip().splitlines()]
    of_floor = header.index("instructions, ours") + 1
    peer = header.index("best peer")
    of_peer = header.index("ours / peer, instructions")
    rows = []
    for cells in lines:
        if cells[2] == "1":
            rows.append({"case": cells[0], "size": cells[1], "floor": cells[3],
                         "of floor": cells[of_floor], "peer": cells[peer],
                         "of peer": cells[of_peer]})
    return rows


def readme_row(rows: list[dict[str, str]], label: str, case: str, size: str, opens: bool) -> str:
    row = next(row for row in rows if (row["case"], row["size"]) == (case, size))
    poco = row["of peer"] if row["peer"] == "poco" else NOT_MEASURED
    floor = row["of floor"] if opens else "no such function"
    return f"| {label} | 1 | {NOT_MEASURED} | {NOT_MEASURED} | {poco} | {NOT_MEASURED} | {floor} |"


def with_ratios(readme: str, rows: list[dict[str, str]]) -> str:
    for label, *which in ROWS:
        readme, count = re.subn(rf"^\| {re.escape(label)} \|.*$", readme_row(rows, label, *which),
                                readme, flags=re.M)
        if count != 1:
            sys.exit(f"{README}: {count} rows {label!r}, 1 expected")
    return readme


def page_table(rows: list[dict[str, str]]) -> str:
    """Each case with each peer once: other kinds of floor repeat the peer."""
    lines = ["| case | size | compared with | instructions, ours / theirs |", "|---|---|---|---|"]
    lines += [f"| {row['case']} | {row['size']} | plain `dlopen` | {row['of floor']} |"
              for row in rows if row["case"] == "start"]
    lines += dict.fromkeys(f"| {row['case']} | {row['size']} | {row['peer']} | {row['of peer']} |"
                           for row in rows if row["peer"] and row["of peer"])
    return "\n".join(lines)


def with_table(page: str, rows: list[dict[str, str]]) -> str:
    changed, count = re.subn(r"(<!-- ratios -->\n).*?(<!-- end of ratios -->)",
                             lambda marks: f"{marks[1]}\n{page_table(rows)}\n\n{marks[2]}", page,
                             flags=re.S)
    if count != 1:
        sys.exit(f"{PAGE}: no place for the ratios")
    return changed


def changes() -> dict[Path, str]:
    """The files that differ from the table of measurements, with their new texts."""
    rows = measured(SOURCE.read_text(encoding="utf-8"))
    texts = {README: with_ratios(README.read_text(encoding="utf-8"), rows),
             PAGE: with_table(PAGE.read_text(encoding="utf-8"), rows)}
    return {file: text for file, text in texts.items()
            if file.read_text(encoding="utf-8") != text}


def update() -> None:
    for file, text in changes().items():
        file.write_text(text, encoding="utf-8")


def main() -> int:
    if sys.argv[1:] != ["--check"]:
        update()
        return 0
    outdated = changes()
    for file in outdated:
        print(f"{file.relative_to(ROOT)}: ratios differ from docs/performance.md: "
              "run scripts/comparison.py")
    return 1 if outdated else 0


if __name__ == "__main__":
    sys.exit(main())
