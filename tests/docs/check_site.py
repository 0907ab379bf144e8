#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks a site of documents: check_site.py SITE [ROOT]
Every link, picture, style and script is a file of the site, every fragment is an anchor there, every
page can be reached from index.html, and so does everything that the search finds. With ROOT, the site
has a page for each document, man page and public header of the tree."""

import json
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

# Attributes that name another file.
ATTRIBUTES = {"a": "href", "area": "href", "link": "href", "img": "src", "script": "src",
              "iframe": "src", "object": "data"}


class Page(HTMLParser):
    """The links and the anchors of a page."""

    def __init__(self, path: Path) -> None:
        super().__init__()
        self.links: list[str] = []
        self.anchors: set[str] = set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        values = dict(attrs)
        self.anchors |= {values.get("id") or "", values.get("name") or ""}
        link = values.get(ATTRIBUTES.get(tag, ""))
        if link:
            self.links.append(link)


def read_pages(site: Path) -> dict[Path, Page]:
    return {path: Page(path) for path in site.rglob("*.html")}


def link_problem(site: Path, pages: dict[Path, Page], base: Path, link: str) -> str:
    """What is wrong with a link of the file base. Empty for a good one."""
    parts = urlsplit(link)
    target = (base.parent / unquote(parts.path)).resolve() if parts.path else base
    if parts.scheme in ("http", "https", "mailto", "javascript"):
        return ""
    if parts.scheme or parts.netloc or parts.path.startswith("/"):
        return "is not relative"
    if site not in target.parents:
        return "leads out of the site"
    if not target.is_file():
        return "no such file"
    fragment = unquote(parts.fragment)
    if fragment and target in pages and fragment not in pages[target].anchors:
        return "no such anchor"
    return ""


def loaded_problems(path: Path, page: Page) -> list[str]:
    """The site needs no network."""
    text = path.read_text(encoding="utf-8")
    return [f"loads {link}" for link in page.links
            if link.startswith(("http:", "https:", "//")) and f'src="{link}"' in text]


def reachable(site: Path, pages: dict[Path, Page]) -> set[Path]:
    found: set[Path] = set()
    waiting = [site / "index.html"]
    while waiting:
        path = waiting.pop()
        if path in found or path not in pages:
            continue
        found.add(path)
        waiting += [(path.parent / unquote(urlsplit(link).path)).resolve()
                    for link in pages[path].links if not urlsplit(link).scheme]
    return found


def missing(site: Path, root: Path) -> list[str]:
    """What the tree has and the site lacks."""
    wanted = {f"docs/{page.stem}" for page in root.glob("docs/*.md")} - {"docs/README"}
    wanted |= {page.stem for page in root.glob("*.md")} - {"README"}
    wanted |= {"index", "docs/index", "examples/index"}
    wanted |= {f"man/{page.name}" for place in ("docs", "tools")
               for page in root.glob(f"{place}/man/*")}
    wanted |= {f"api/class{header.stem}" for header in root.glob("include/[IP]*.h")
               if f"\nclass {header.stem}" in header.read_text(encoding="utf-8")}
    wanted.add("api/Ixla_8h")
    return sorted(f"no page {page}.html" for page in wanted if not (site / f"{page}.html").exists())


def main() -> int:
    site = Path(sys.argv[1]).resolve()
    pages = read_pages(site)
    problems = []
    for path, page in pages.items():
        found = [f"{link}: {problem}" for link in page.links
                 if (problem := link_problem(site, pages, path, link))]
        problems += [f"{path.relative_to(site)}: {problem}"
                     for problem in found + loaded_problems(path, page)]
    # The search of the reference loads its pages by a script.
    lost = {path for path in pages.keys() - reachable(site, pages)
            if path.parent != site / "api/search"}
    problems += [f"cannot be reached: {path.relative_to(site)}" for path in sorted(lost)]
    index = site / "search/search_index.json"
    entries = json.loads(index.read_text(encoding="utf-8"))["docs"] if index.exists() else []
    problems += [f"search: {entry['location']}: {problem}" for entry in entries
                 if (problem := link_problem(site, pages, site / "index.html", entry["location"]))]
    if len(sys.argv) > 2:
        problems += missing(site, Path(sys.argv[2]))
    print("\n".join(problems))
    links = sum(len(page.links) for page in pages.values())
    print(f"{len(pages)} pages, {links} links, {len(entries)} entries of the search, "
          f"{len(problems)} problems")
    return 1 if problems or not pages else 0


if __name__ == "__main__":
    sys.exit(main())
