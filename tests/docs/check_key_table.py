#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the table of keys in a document, and the keys that the completion of ixla-host offers,
with the keys that ixla-config knows: check_key_table.py DOCUMENT BIN COMPLETION"""

import json
import re
import subprocess
import sys
from pathlib import Path

COLUMNS = ("key", "type", "place", "default", "meaning")


def known_rows(binaries: Path) -> list[tuple[str, ...]]:
    text = subprocess.run([binaries / "ixla-config", "core-keys", "--json"], check=True,
                          capture_output=True, text=True).stdout
    return [tuple(key[column] for column in COLUMNS) for key in json.loads(text)["keys"]]


def shown_rows(document: Path) -> list[tuple[str, ...]]:
    lines = document.read_text(encoding="utf-8").splitlines()
    begin = lines.index(f"| {' | '.join(COLUMNS)} |") + 2
    rows = []
    for line in lines[begin:]:
        if not line.startswith("| "):
            break
        rows.append(tuple(cell.strip().strip("`") for cell in line.strip("|").split(" | ")))
    return rows


def offered_keys(completion: Path) -> set[str]:
    return set(re.findall(r"\bcore\.[a-z.]+[a-z]\b", completion.read_text(encoding="utf-8")))


def main() -> int:
    document, binaries, completion = (Path(argument) for argument in sys.argv[1:4])
    known, shown = known_rows(binaries), shown_rows(document)
    problems = [f"{document.name}: no row {' | '.join(row)}" for row in known if row not in shown]
    problems += [f"ixla-config: no key {' | '.join(row)}" for row in shown if row not in known]
    arguments = {row[0] for row in known if "argument" in row[2] and not row[0].endswith("NAME")}
    offered = offered_keys(completion)
    problems += [f"{completion}: does not offer {key}" for key in sorted(arguments - offered)]
    problems += [f"{completion}: offers {key}" for key in sorted(offered - arguments)]
    print("\n".join(problems) or f"{len(known)} keys")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
