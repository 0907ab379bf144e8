#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that the targets of links in documents exist: check_links.py DOCUMENT...

A link may name a file relative to the document, a heading (#heading) in it or in the document, or a
URL, which is not checked.
"""

import pathlib
import re
import sys

LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")
FENCE = re.compile(r"^```.*?^```", re.MULTILINE | re.DOTALL)
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)


def text_of(document):
    return FENCE.sub("", document.read_text(encoding="utf-8"))


def anchors(document):
    """The anchors of the headings of a document."""
    names = set()
    for heading in HEADING.findall(text_of(document)):
        plain = re.sub(r"[^\w\- ]", "", heading.lower())
        names.add(plain.strip().replace(" ", "-"))
    return names


def is_broken(document, link):
    if link.startswith(("http://", "https://")):
        return False
    name, _, anchor = link.partition("#")
    target = document.parent / name if name else document
    return not target.exists() or bool(anchor) and anchor not in anchors(target)


def main():
    found = 0
    broken = 0
    for document in map(pathlib.Path, sys.argv[1:]):
        for link in LINK.findall(text_of(document)):
            found += 1
            if is_broken(document, link):
                broken += 1
                print(f"{document}: broken link: {link}", file=sys.stderr)
    print(f"{found} links, {broken} of them broken")
    return 1 if broken or not found else 0


if __name__ == "__main__":
    sys.exit(main())
