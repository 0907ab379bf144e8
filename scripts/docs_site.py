#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Builds the documentation as a site: docs_site.py [OUT [PLACE]]
The pages are README.md, those of docs/, the man pages, the linked sources, and the reference of the
public headers by Doxygen. mkdocs makes the site and its search, which also works without a server:
open OUT/index.html. OUT, build/site if it is not given, is replaced. With PLACE, the site is made
for a package that installs it there: files of other packages are links to them."""

import json
import os
import posixpath
import re
import shutil
import subprocess
import sys
import tempfile
from html.parser import HTMLParser
from pathlib import Path
from xml.etree import ElementTree

ROOT = Path(__file__).resolve().parent.parent
SITE = ROOT / "docs/site"
LINK = re.compile(r"(\]\()([^)\s#]+)")
FENCE = re.compile(r"^( *```)(\w*)[^\n]*\n(.*?)^ *```", re.M | re.S)
# The program of Debian, whatever another Python has. Its themes consist of own files, and of links
# to those of other packages.
MKDOCS = "/usr/bin/mkdocs"
THEMES = [Path("/usr/lib/python3/dist-packages/mkdocs", part)
          for part in ("themes/mkdocs", "contrib/search/templates")]


def run(*command: object, **options: object) -> str:
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          check=False, **options)
    if done.returncode != 0:
        sys.exit(f"docs_site.py: {command[0]} failed:\n{done.stdout}{done.stderr}")
    return done.stdout


def outside_code(text: str, change) -> str:
    """Changes what is outside of blocks of code."""
    parts = re.split(r"(^ *```.*?^ *```)", text, flags=re.M | re.S)
    return "".join(part if number % 2 else change(part) for number, part in enumerate(parts))


def stage_source(source: Path, pages: Path) -> Path:
    """A page that shows a source, or the README beside a directory. Returns it."""
    if source.is_dir():
        return source.parent / "README.md"
    page = Path(f"{source.relative_to(ROOT)}.md")
    (pages / page).parent.mkdir(parents=True, exist_ok=True)
    text = source.read_text(encoding="utf-8")
    (pages / page).write_text(f"# {source.relative_to(ROOT)}\n\n````\n{text}````\n",
                              encoding="utf-8")
    return ROOT / page


def stage_page(name: Path, pages: Path) -> None:
    """Copies a page and the pictures and sources that it links."""
    def target(match: re.Match) -> str:
        linked = (ROOT / name).parent / match[2]
        if "://" in match[2] or linked.suffix == ".md":
            return match[0]
        linked = linked.resolve()
        if linked.suffix == ".svg":
            copy = pages / linked.relative_to(ROOT)
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(linked, copy)
            return match[0]
        page = stage_source(linked, pages)
        return match[1] + posixpath.relpath(page.relative_to(ROOT), name.parent)

    text = (ROOT / name).read_text(encoding="utf-8")
    text = outside_code(text, lambda part: LINK.sub(target, part))
    # The words after the language tell our tests what the block is.
    text = re.sub(r"^( *```\w+) .*$", r"\1", text, flags=re.M)
    (pages / name).parent.mkdir(parents=True, exist_ok=True)
    (pages / name).write_text(text, encoding="utf-8")


def man_html(source: Path) -> str:
    """The text of a man page, with links to other pages and its headings below that of a page."""
    html = run("mandoc", "-Thtml", "-O", "fragment,man=%N.%S.html", source)
    html = re.search(r'<div class="manual-text">.*</div>', html, re.S)[0]
    # Pages of the system are not in the site.
    html = re.sub(r'<a class="Xr" href="(?!ixla)[^>]*>(.*?)</a>', r"\1", html, flags=re.S)
    html = re.sub(r"<b>(ixla[\w-]*)</b>\((\d)\)", r'<a href="\1.\2.html">\1(\2)</a>', html)
    html = re.sub(r"<(/?)h2", r"<\1h3", html)
    return re.sub(r"<(/?)h1", r"<\1h2", html)


def stage_man(pages: Path) -> None:
    """A page for each man page, and one that lists them."""
    listed = "# Man pages\n\n| page | content |\n|---|---|\n"
    (pages / "man").mkdir()
    found = [*ROOT.glob("tools/man/*.1"), *ROOT.glob("docs/man/*.[1-9]")]
    for source in sorted(found, key=lambda page: (page.suffix, page.name)):
        title = f"{source.stem}({source.suffix[1:]})"
        html = man_html(source)
        (pages / f"man/{source.name}.md").write_text(f"# {title}\n\n{html}\n", encoding="utf-8")
        name = " ".join(re.sub("<[^>]*>", "", re.search(r"<p.*?</p>", html, re.S)[0]).split())
        meaning = re.split(" - | &#x2014; ", name)[1]
        listed += f"| [{title}](man/{source.name}.md) | {meaning} |\n"
    (pages / "man.md").write_text(listed, encoding="utf-8")


class Text(HTMLParser):
    """The text of a page of the reference, without its navigation."""

    def __init__(self, page: Path) -> None:
        super().__init__()
        self.words: list[str] = []
        self.feed(page.read_text(encoding="utf-8").partition('<div class="contents">')[2])

    def handle_data(self, data: str) -> None:
        self.words += data.split()


def reference_entries(tags: Path, api: Path) -> list[dict[str, str]]:
    """What the search finds in the reference: classes and headers with their text, functions."""
    entries = []
    for compound in ElementTree.parse(tags).iter("compound"):
        name, file = compound.findtext("name"), compound.findtext("filename", "")
        if compound.get("kind") not in ("class", "struct", "file"):
            continue
        page = file if file.endswith(".html") else f"{file}.html"
        if not (api / page).exists():
            continue
        entries.append({"title": name, "text": " ".join(Text(api / page).words),
                        "location": f"api/{page}"})
        for member in compound.iter("member"):
            if member.get("kind") == "function":
                title = member.findtext("name")
                title = title if compound.get("kind") == "file" else f"{name}::{title}"
                place = f"api/{member.findtext('anchorfile')}#{member.findtext('anchor')}"
                entries.append({"title": title, "text": member.findtext("arglist"),
                                "location": place})
    return entries


def repair_reference(api: Path) -> None:
    """Removes links of Doxygen to lists that a page lacks, because their classes are private."""
    for page in api.glob("*.html"):
        text = page.read_text(encoding="utf-8")
        if 'name="nested-classes"' not in text and "#nested-classes" in text:
            text = re.sub(r'<a href="#nested-classes">.*?</a>( &#124;)?', "", text)
            page.write_text(text, encoding="utf-8")


def link_packages(site: Path, place: str) -> None:
    """Replaces files of other packages by links."""
    for theme in THEMES:
        for link in theme.rglob("*"):
            copy = site / link.relative_to(theme)
            if link.is_symlink() and copy.exists():
                copy.unlink()
                above = posixpath.join(place, str(copy.parent.relative_to(site)))
                copy.symlink_to(posixpath.relpath(link.resolve(), above))


def build(out: Path, place: str, work: Path) -> None:
    pages = work / "pages"
    pages.mkdir()
    names = [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), ROOT / "examples/README.md"]
    for page in names:
        stage_page(page.relative_to(ROOT), pages)
    stage_man(pages)
    for name in ("reference.md", "site.css", "site_search.js"):
        shutil.copyfile(SITE / name, pages / name)
    settings = (f"@INCLUDE = docs/Doxyfile\nOUTPUT_DIRECTORY = \"{pages}\"\nHTML_OUTPUT = api\n"
                f"GENERATE_TAGFILE = \"{work}/tags\"\nHTML_EXTRA_STYLESHEET = docs/site/api.css\n"
                "LAYOUT_FILE = docs/site/api.xml\nHTML_DYNAMIC_MENUS = NO\n")
    run("doxygen", "-", input=settings, cwd=ROOT)
    environment = {**os.environ, "IXLAL_SITE": str(work / "site"), "IXLAL_SITE_PAGES": str(pages)}
    run(MKDOCS, "build", "--quiet", "--config-file", SITE / "mkdocs.yml", env=environment)

    site = work / "site"
    repair_reference(site / "api")
    # They need a server.
    for name in ("404.html", "sitemap.xml", "sitemap.xml.gz"):
        (site / name).unlink()
    index = site / "search/search_index.json"
    found = json.loads(index.read_text(encoding="utf-8"))
    found["docs"] += reference_entries(work / "tags", site / "api")
    text = json.dumps(found, sort_keys=True, separators=(",", ":"))
    index.write_text(text, encoding="utf-8")
    index.with_suffix(".js").write_text(f"const siteSearch = {text};\n", encoding="utf-8")
    if place:
        link_packages(site, place)
    shutil.rmtree(out, ignore_errors=True)
    out.parent.mkdir(parents=True, exist_ok=True)
    shutil.move(site, out)


def main() -> int:
    out = Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build/site").absolute()
    place = sys.argv[2] if len(sys.argv) > 2 else ""
    for program in (MKDOCS, "doxygen", "mandoc"):
        if not shutil.which(program):
            sys.exit(f"docs_site.py: {program} is missing; see scripts/install-deps.sh")
    with tempfile.TemporaryDirectory() as work:
        build(out, place, Path(work))
    print(f"{out}/index.html")
    return 0


if __name__ == "__main__":
    sys.exit(main())
