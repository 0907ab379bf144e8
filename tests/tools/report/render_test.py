# SPDX-License-Identifier: MIT
"""Tests the report's pages in a browser: render_test.py REPORT CIRCLE_LOG HOST PLUGIN
Exits with 77 without chromium."""

import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
from browser import BROWSER, DARK, browse, differences, framed, measure
from log_text import HOUR, begin, done, init, line, load, wait
from start_maker import start_log

REPORT, CIRCLE, HOST, PLUGIN = (sys.argv.pop(1) for _ in range(4))

# Finds texts outside of their picture, overlapping texts, and texts over the names and columns.
MEASURE = """
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
return found;
"""

# Finds labels beside bars that cover a bar, and labels in bars that are wider than their bar.
LABELS = """
const found = {covers: [], sticksOut: []};
const inside = (box, bar) => box.x >= bar.x && box.x + box.width <= bar.x + bar.width + 1;
for (const svg of document.querySelectorAll("svg")) {
  const bars = [...svg.querySelectorAll('rect[height="14"]')].map(bar => bar.getBBox());
  for (const text of svg.querySelectorAll(".label, .on, .on-nested")) {
    const box = text.getBBox();
    const near = bars.filter(bar => bar.y < box.y + box.height / 2 &&
                                    bar.y + bar.height > box.y + box.height / 2);
    const over = near.filter(bar => box.x + box.width > bar.x + 1 && bar.x + bar.width > box.x + 1);
    if (over.length === 0) continue;
    if (/-text/.test(text.getAttribute("class")) || text.classList.contains("faint"))
      found.covers.push(text.textContent);
    else if (!over.some(bar => inside(box, bar)))
      found.sticksOut.push(text.textContent);
  }
}
return found;
"""

# The state of the page in the frame: how wide it is, which cells are cut, and how many stand alone.
NARROW = """
const page = document.querySelector("iframe").contentDocument;
const cells = [...page.querySelectorAll("td")].filter(cell => cell.textContent);
return {width: page.documentElement.scrollWidth, cells: cells.length,
        cut: cells.filter(cell => cell.scrollWidth > cell.clientWidth ||
                                  cell.getBoundingClientRect().right > 360)
                  .map(cell => cell.textContent),
        heads: page.querySelector("tr.head").getClientRects().length,
        beside: cells.filter((cell, i) => i > 0 && cell.getBoundingClientRect().top ===
                                          cells[i - 1].getBoundingClientRect().top).length};
"""


def many(count, slowest=90):
    """A log of many plugins, the slow ones with long names."""
    log = begin(0)
    time = 1
    for i in range(count):
        log += load(time, f"lib{i}{'W' * (i % 50)}.so", i % 4)
        time += i % 4
    for i in range(count):
        name = f"lib{i}{'W' * (i % 50)}.so"
        log += init(time, name, 1 + i % slowest, inside=wait(time, "lib1W.so", i % 60))
        time += 1 + i % slowest
    return log + done(time)


PAGES = {
    "circle": lambda: Path(CIRCLE).read_text(),
    "one": lambda: begin(0) + load(1, "liba.so") + done(2),
    "none": lambda: begin(0),
    "many": lambda: many(200),
    "fast": lambda: many(200, 7),
    "failed": lambda: begin(0) + load(1, "liba.so") + init(2, "liba.so", 900, result=-2003) + load(
        905, "libb.so") + init(910, "libb.so", 1, result=-42) + done(911),
    "slow": lambda: begin(0) + load(1, "liba.so", 70_000) + init(80_000, "liba.so", 400_000) + init(
        500_000, "liba.so", 1, inside=line(500_000, "x" * 3000 + " (circle)", "E")),
    "late": lambda: many(3) + init(3 * HOUR, "lib1W.so", 10) + init(9 * HOUR, "lib2WW.so", 20),
    "wide": lambda: begin(0) + load(1, "lib\u4e2d\u6587" + "\u5b57" * 40 + ".so"),
}


class Browser(unittest.TestCase):
    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def write(self, *arguments):
        subprocess.run([REPORT, *arguments, "--html", "x.html"], cwd=self.dir, check=True,
                       timeout=60)
        return (self.dir / "x.html").read_text()

    def page(self, name):
        (self.dir / "core.log").write_text(PAGES[name]())
        return self.write("core.log")

    def all_pages(self):
        """The contents of all pages on one."""
        bodies = [re.search("<body>(.*)</body>", self.page(name), re.S)[1] for name in PAGES]
        return self.page("one").replace("</body>", "".join(bodies) + "</body>")

    def test_shows_every_text_at_its_place(self):
        found = measure(self.all_pages(), MEASURE)
        self.assertGreater(found["texts"], 800)
        self.assertEqual(([], []), (found["outside"], found["over"]))

    def test_places_labels_in_or_beside_bars(self):
        self.assertEqual({"covers": [], "sticksOut": []}, measure(self.all_pages(), LABELS))

    def test_shows_the_start_of_a_real_core_with_60_plugins(self):
        (self.dir / "core.log").write_bytes(start_log(HOST, PLUGIN, 60))
        page = self.write("core.log")
        found = measure(page, MEASURE)
        self.assertGreater(found["texts"], 250)
        self.assertEqual(([], []), (found["outside"], found["over"]))
        self.assertEqual({"covers": [], "sticksOut": []}, measure(page, LABELS))

    def assert_fits(self, page):
        found = measure(framed(page, 360, 2000), NARROW)
        self.assertEqual((360, [], 0, 0),
                         tuple(found[key] for key in ("width", "cut", "heads", "beside")))
        self.assertGreater(found["cells"], 3)

    def test_fits_a_narrow_screen(self):
        for name in ("many", "circle", "wide"):
            with self.subTest(name):
                self.assert_fits(self.page(name))
        (self.dir / "old.log").write_text(PAGES["many"]())
        self.page("fast")
        self.assert_fits(self.write("--compare", "core.log", "old.log"))

    def test_has_a_table_on_a_wide_screen(self):
        found = measure(framed(self.page("many"), 1200, 2000), NARROW)
        self.assertEqual(1, found["heads"])
        self.assertGreater(found["beside"], 500)

    def test_has_dark_colours(self):
        script = "return getComputedStyle(document.body).backgroundColor;"
        page = self.page("one")
        self.assertEqual("rgb(20, 24, 31)", measure(page.replace("</body>", DARK + "</body>"), script))
        self.assertEqual("rgb(255, 255, 255)", measure(page, script))

    def test_paints_bars(self):
        self.page("circle")
        picture = self.dir / "x.png"
        browse(f"--screenshot={picture}", "--window-size=1260,700", f"file://{self.dir}/x.html")
        plain = self.dir / "plain.png"
        (self.dir / "plain.html").write_text("<!DOCTYPE html>")
        browse(f"--screenshot={plain}", "--window-size=1260,700", f"file://{self.dir}/plain.html")
        self.assertGreater(differences([(picture.read_bytes(), plain.read_bytes())])[0], 0.05)


if __name__ == "__main__":
    if not BROWSER:
        print("SKIPPED: chromium is not installed, so nobody looks at the pages")
        sys.exit(77)
    unittest.main()
