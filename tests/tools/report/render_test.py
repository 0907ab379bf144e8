# SPDX-License-Identifier: MIT
"""Tests the report's pages in a browser: render_test.py REPORT CIRCLE_LOG
Exits with 77 without chromium."""

import json
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib
from html import unescape
from pathlib import Path

sys.dont_write_bytecode = True
from log_text import HOUR, begin, done, init, line, load, wait

REPORT, CIRCLE = sys.argv.pop(1), sys.argv.pop(1)
BROWSER = shutil.which("chromium")

# Finds texts outside of their picture, and overlapping texts.
MEASURE = """<script>
const found = {outside: [], over: [], texts: 0};
for (const svg of document.querySelectorAll("svg")) {
  const room = svg.viewBox.baseVal;
  const boxes = [...svg.querySelectorAll("text")].map(text => [text.textContent, text.getBBox()]);
  found.texts += boxes.length;
  for (const [text, box] of boxes) {
    if (box.x < 0 || box.x + box.width > room.width ||
        box.y < 0 || box.y + box.height > room.height)
      found.outside.push(text);
  }
  boxes.forEach(([text, box], i) => boxes.slice(i + 1).forEach(([other, next]) => {
    if (box.x + box.width > next.x + 1 && next.x + next.width > box.x + 1 &&
        box.y + box.height > next.y + 4 && next.y + next.height > box.y + 4)
      found.over.push([text, other]);
  }));
}
const result = document.createElement("pre");
result.id = "found";
result.textContent = JSON.stringify(found);
document.body.append(result);
</script>"""


def many(count):
    """A log of many plugins, the slow ones with long names."""
    log = begin(0)
    time = 1
    for i in range(count):
        log += load(time, f"lib{i}{'W' * (i % 50)}.so", i % 4)
        time += i % 4
    for i in range(count):
        name = f"lib{i}{'W' * (i % 50)}.so"
        log += init(time, name, 1 + i % 90, inside=wait(time, "lib1W.so", i % 60))
        time += 1 + i % 90
    return log + done(time)


PAGES = {
    "circle": lambda: Path(CIRCLE).read_text(),
    "one": lambda: begin(0) + load(1, "liba.so") + done(2),
    "none": lambda: begin(0),
    "many": lambda: many(200),
    "slow": lambda: begin(0) + load(1, "liba.so", 70_000) + init(80_000, "liba.so", 400_000) + init(
        500_000, "liba.so", 1, inside=line(500_000, "x" * 3000 + " (circle)", "E")),
    "late": lambda: many(3) + init(3 * HOUR, "lib1W.so", 10) + init(9 * HOUR, "lib2WW.so", 20),
    "wide": lambda: begin(0) + load(1, "lib\u4e2d\u6587" + "\u5b57" * 40 + ".so"),
}


def browse(*arguments):
    with tempfile.TemporaryDirectory() as profile:
        return subprocess.run(
            [BROWSER, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
             "--no-first-run", "--disable-background-networking", "--disable-component-update",
             "--disable-sync", f"--user-data-dir={profile}", *arguments],
            check=True, capture_output=True, timeout=100).stdout.decode()


def rows(png):
    """The bytes of each row of a picture."""
    data, position, width, height = b"", 8, 0, 0
    while position < len(png):
        size, kind = struct.unpack(">I4s", png[position:position + 8])
        chunk = png[position + 8:position + 8 + size]
        if kind == b"IHDR":
            width, height = struct.unpack(">II", chunk[:8])
        elif kind == b"IDAT":
            data += chunk
        position += size + 12
    plain = zlib.decompress(data)
    step = len(plain) // height
    return width, [plain[i * step:(i + 1) * step] for i in range(height)]


class Browser(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.dir = Path(temporary.name)

    def page(self, name):
        (self.dir / "core.log").write_text(PAGES[name]())
        subprocess.run([REPORT, "core.log", "--html", "x.html"], cwd=self.dir, check=True,
                       timeout=60)
        return (self.dir / "x.html").read_text()

    def test_shows_every_text_at_its_place(self):
        bodies = [re.search("<body>(.*)</body>", self.page(name), re.S)[1] for name in PAGES]
        whole = self.page("one").replace("</body>", "".join(bodies) + MEASURE + "</body>")
        (self.dir / "all.html").write_text(whole)
        dump = browse("--dump-dom", f"file://{self.dir}/all.html")
        found = json.loads(unescape(re.search('<pre id="found">(.*?)</pre>', dump, re.S)[1]))
        self.assertGreater(found["texts"], 800)
        self.assertEqual(([], []), (found["outside"], found["over"]))

    def test_paints_bars(self):
        self.page("circle")
        picture = self.dir / "x.png"
        browse(f"--screenshot={picture}", "--window-size=1260,700", f"file://{self.dir}/x.html")
        width, lines = rows(picture.read_bytes())
        self.assertEqual((1260, 700), (width, len(lines)))
        self.assertGreater(len(set(lines)), 200)


if __name__ == "__main__":
    if not BROWSER:
        print("SKIPPED: chromium is not installed, so nobody looks at the pages")
        sys.exit(77)
    unittest.main()
