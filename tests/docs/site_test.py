# SPDX-License-Identifier: MIT
"""Tests the site of the documentation, also in a browser: site_test.py ROOT
Exits with 77 without chromium."""

import functools
import http.server
import json
import re
import subprocess
import sys
import tempfile
import threading
import unittest
from html import unescape
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(sys.argv.pop(1))
sys.path.insert(0, str(ROOT / "tests/tools/report"))
from browser import BROWSER, browse, running

# What the search has to find: a word, and the title and the address of one of its results.
SEARCHES = (("maxsize", "Keys of the core", "docs/configuration.html#keys-of-the-core"),
            ("core.log.maxsize", "Keys of the core", "docs/configuration.html#keys-of-the-core"),
            ("-1007", "Plugins", "docs/result-codes.html#plugins"),
            ("ixlaunloadplugin", "ixlaUnloadPlugin(3)", "man/ixlaUnloadPlugin.3.html"),
            ("loadbyid", "IConfigManager::loadByID", "api/classIConfigManager.html#"))

# Shows pages one after another in a narrow window, then the results of searches. Sends the pages
# that scroll sideways, and what the searches found.
DRIVER = """<!DOCTYPE html><html><body><iframe width="400" height="800"></iframe><script>
const frame = document.querySelector("iframe");
const show = (page) => new Promise((resolve) => { frame.onload = resolve; frame.src = page; });
const pause = () => new Promise((resolve) => setTimeout(resolve, 50));
async function look() {
  const seen = {wide: [], pages: 0, found: {}};
  for (const page of PAGES) {
    await show(page);
    const root = frame.contentDocument.documentElement;
    if (root.scrollWidth > root.clientWidth) seen.wide.push(page);
    ++seen.pages;
  }
  for (const word of WORDS) {
    await show(`docs/events.html?q=${word}`);
    const results = () => frame.contentDocument.querySelectorAll("#mkdocs-search-results a");
    while (results().length === 0) await pause();
    seen.found[word] = [...results()].map((link) => [link.textContent, link.getAttribute("href")]);
  }
  fetch("seen", {method: "POST", body: JSON.stringify(seen)});
}
look();
</script></body></html>"""


class Server(http.server.ThreadingHTTPServer):
    """Serves the site, and receives what the driver has seen."""

    def __init__(self, site):
        super().__init__(("127.0.0.1", 0), functools.partial(Handler, directory=site))
        self.seen = None
        self.is_seen = threading.Event()


class Handler(http.server.SimpleHTTPRequestHandler):
    def do_POST(self):  # pylint: disable=invalid-name
        self.server.seen = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        self.send_response(204)
        self.end_headers()
        self.server.is_seen.set()

    def log_message(self, format, *arguments):  # pylint: disable=redefined-builtin
        pass


def found_by(address, word):
    """The titles and addresses that the search of a page shows for a word."""
    dump = browse("--dump-dom", "--virtual-time-budget=20000", f"{address}?q={word}")
    shown = re.search(r'<div id="mkdocs-search-results".*?</div>', dump, re.S)[0]
    return {unescape(title): link for link, title in
            re.findall(r'<h3><a href="([^"]*)">(.*?)</a></h3>', shown)}


class SiteTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.site = Path(cls.enterClassContext(tempfile.TemporaryDirectory()), "site")
        subprocess.run([ROOT / "scripts/docs_site.py", cls.site], check=True,
                       stdout=subprocess.DEVNULL)

    def test_is_complete_and_has_no_broken_link(self):
        done = subprocess.run([ROOT / "tests/docs/check_site.py", self.site, ROOT], check=False,
                              capture_output=True, text=True)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        print(done.stdout.strip(), file=sys.stderr)

    def test_search_works_without_a_server(self):
        for word, title, link in SEARCHES:
            with self.subTest(word=word):
                found = found_by((self.site / "docs/events.html").as_uri(), word)
                self.assertIn(title, found)
                self.assertIn(link, found[title])

    def test_pages_are_narrow_and_search_works_with_a_server(self):
        pages = [str(page.relative_to(self.site)) for page in self.site.rglob("*.html")
                 if "api" not in page.parts]
        pages += ["api/index.html", "api/classIConfigManager.html", "api/classPPlugin.html",
                  "api/Ixla_8h.html", "api/annotated.html"]
        seen = self.drive(pages)
        self.assertEqual([], seen["wide"])
        self.assertEqual(len(pages), seen["pages"])
        for word, title, link in SEARCHES:
            found = dict(seen["found"][word])
            self.assertIn(title, found)
            self.assertIn(link, found[title])

    def drive(self, pages):
        """What the driver sees in a browser."""
        driver = self.site / "driver.html"
        driver.write_text(DRIVER.replace("PAGES", json.dumps(sorted(pages))).replace(
            "WORDS", json.dumps([word for word, *_ in SEARCHES])), encoding="utf-8")
        self.addCleanup(driver.unlink)
        with Server(self.site) as server:
            threading.Thread(target=server.serve_forever, daemon=True).start()
            with running(f"http://127.0.0.1:{server.server_port}/driver.html"):
                is_seen = server.is_seen.wait(200)
            server.shutdown()
        self.assertTrue(is_seen, "the browser does not report")
        return server.seen


if __name__ == "__main__":
    if not BROWSER:
        print("chromium is missing")
        sys.exit(77)
    unittest.main()
