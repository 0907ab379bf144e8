#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that a picture of a start has the shape of a new one: check_picture.py SCRIPT BUILD PICTURE
SCRIPT draws the new one from BUILD. The shape is the names of the rows and the kinds of their bars,
from left to right; figures differ from run to run."""

import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path

SVG = "{http://www.w3.org/2000/svg}"
BAR_HEIGHT = "14"
FROM_BAR_TO_LABEL = 11
# A busy machine may run the threads of a start one after the other.
TRIES = 20


def shape(picture: Path) -> list[tuple[str, list[str]]]:
    root = ElementTree.parse(picture).getroot()
    names = {float(text.get("y")): text.text for text in root.iter(f"{SVG}text")
             if text.get("class", "").startswith("name")}
    bars = [(float(bar.get("x")), float(bar.get("y")) + FROM_BAR_TO_LABEL, bar.get("class"))
            for bar in root.iter(f"{SVG}rect") if bar.get("height") == BAR_HEIGHT]
    return [(name, [kind for _, y, kind in sorted(bars) if y == place])
            for place, name in sorted(names.items())]


def main() -> int:
    script, build, picture = sys.argv[1:]
    wanted = shape(Path(picture))
    with tempfile.TemporaryDirectory() as directory:
        drawn = Path(directory) / "start.svg"
        for _ in range(TRIES):
            subprocess.run([script, build, str(drawn)], check=True)
            found = shape(drawn)
            if found == wanted:
                print(f"Both pictures show {len(found)} rows: {found}")
                return 0
    print(f"{picture} shows {wanted}\n{script} draws {found}", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
