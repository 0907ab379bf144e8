# SPDX-License-Identifier: MIT
"""Compares the pictures of ixla-report with reference pictures, which somebody has looked at:
reference_test.py REPORT DIRECTORY [--write]

The texts must be the same. What a browser makes of them may differ a little, because letters differ
from version to version. With --write the references are replaced: look at all of them."""

import gzip
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
from browser import BROWSER, DARK, differences, framed, screenshot

REPORT, REFERENCES = sys.argv.pop(1), Path(sys.argv.pop(1))
MOST_DIFFERENT = 0.01  # of the squares of a picture
COUNTS = (3, 60, 300)
PAGE = '<!DOCTYPE html><html><body style="margin:0">{}</body></html>'
SCALES = {3: 0.75, 60: 0.5, 300: 0.25}


def report(count, *arguments):
    """The output about the log with that many plugins."""
    with tempfile.TemporaryDirectory() as directory:
        log = gzip.decompress((REFERENCES / f"{count}.log.gz").read_bytes())
        Path(directory, f"{count}.log").write_bytes(log)
        return subprocess.run([REPORT, f"{count}.log", *arguments], cwd=directory, check=True,
                              capture_output=True, timeout=60).stdout.decode()


def texts():
    """The reference texts by file name."""
    return {**{f"{count}.svg": report(count, "--svg", "-") for count in COUNTS},
            "3.html": report(3, "--html", "-")}


def packed(name):
    """The file of a reference text; large ones are compressed."""
    return REFERENCES / (f"{name}.gz" if name.startswith("300") else name)


def read(name):
    data = packed(name).read_bytes()
    return (gzip.decompress(data) if packed(name).suffix == ".gz" else data).decode()


def write(name, text):
    data = text.encode()
    packed(name).write_bytes(gzip.compress(data, 9, mtime=0) if packed(name).suffix == ".gz"
                             else data)


def drawn(count, svg, more=""):
    """The picture of an SVG, in the scale of the reference."""
    scale = SCALES[count]
    size = re.search(r'width="(\d+)" height="(\d+)"', svg)
    width, height = int(int(size[1]) * scale), int(int(size[2]) * scale)
    page = svg.replace(size[0], f'width="{width}" height="{height}"', 1)
    return screenshot(PAGE.format(page + more), (width, height))


def pictures():
    """The pictures of the reference texts by file name."""
    made = {f"{count}.png": drawn(count, read(f"{count}.svg")) for count in COUNTS}
    made["3-dark.png"] = drawn(3, read("3.svg"), DARK)
    made["3-narrow.png"] = screenshot(framed(read("3.html"), 360, 1100), (500, 1100))
    return made


class References(unittest.TestCase):
    def test_are_what_the_tool_writes(self):
        for name, text in texts().items():
            with self.subTest(name):
                self.assertMultiLineEqual(read(name), text)

    @unittest.skipUnless(BROWSER, "chromium is not installed")
    def test_look_as_they_did(self):
        now = pictures()
        shares = differences([((REFERENCES / name).read_bytes(), now[name]) for name in now])
        self.assertEqual({}, {name: share for name, share in zip(now, shares)
                              if share > MOST_DIFFERENT})

    @unittest.skipUnless(BROWSER, "chromium is not installed")
    def test_look_different_in_another_order(self):
        other = drawn(60, report(60, "--svg", "-", "--sort", "name"))
        self.assertGreater(differences([((REFERENCES / "60.png").read_bytes(), other)])[0],
                           MOST_DIFFERENT)


if __name__ == "__main__":
    if sys.argv[1:] == ["--write"]:
        for file, content in texts().items():
            write(file, content)
        for file, content in pictures().items():
            (REFERENCES / file).write_bytes(content)
        sys.exit(0)
    unittest.main(verbosity=int(os.environ.get("VERBOSE", "1")))
