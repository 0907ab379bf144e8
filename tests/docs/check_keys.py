#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the keys of the configuration: check_keys.py ROOT [DOCUMENT]
The tables of docs/configuration.md (DOCUMENT) have the keys that the sources read, and no others.
Every other page, example and tool names only keys of these tables."""

import re
import sys
from pathlib import Path

SOURCES = ("core", "config", "events", "logging")
LITERAL = re.compile(r'L"((?:core|custom|ixlap)\.[a-z.]+)"')
# Names of files, not of keys.
FILES = (".prs", ".in")
# A mention in a text; "core.prs" alone is a file.
MENTION = re.compile(r"\b(?:core\.(?:prs|log|plugins|load|autostart|free|notify)|"
                     r"ixlap\.configmanager)\.[a-z.]*[a-z]")
PLACES = ("README.md", "SECURITY.md", "docs/*.md", "docs/man/*", "tools/man/*.1", "tools/*/*.cpp",
          "tools/*/*.py", "tools/new-plugin/template/*", "examples/config/*", "examples/README.md", "include/*.h",
          "sdk/*/*.h")


def read_keys(root: Path) -> set[str]:
    """The keys that the sources read; "custom.config." is the beginning of one."""
    found = {key for directory in SOURCES for path in (root / directory).glob("*.cpp")
             for key in LITERAL.findall(path.read_text(encoding="utf-8"))}
    return {key for key in found if not key.endswith(FILES)}


def table_keys(document: Path) -> set[str]:
    """The keys in first columns. ".parts" continues the key before it: the last part differs."""
    keys: set[str] = set()
    for line in document.read_text(encoding="utf-8").splitlines():
        if not line.startswith("| `"):
            continue
        last = ""
        for name in re.findall(r"`([^`]+)`", line.split(" | ")[0]):
            last = last.rpartition(".")[0] + name if name.startswith(".") else name
            if MENTION.fullmatch(last) or last.startswith("custom."):
                keys.add(last.removesuffix("NAME"))
    return keys


def mentions(root: Path) -> dict[str, set[str]]:
    """The files that mention each key."""
    found: dict[str, set[str]] = {}
    for place in PLACES:
        for path in root.glob(place):
            if path.is_file():
                for key in MENTION.findall(path.read_text(encoding="utf-8")):
                    found.setdefault(key, set()).add(str(path.relative_to(root)))
    return found


def main() -> int:
    root = Path(sys.argv[1])
    document = Path(sys.argv[2]) if len(sys.argv) > 2 else root / "docs/configuration.md"
    known, listed = read_keys(root), table_keys(document)
    problems = [f"{document.name}: no table has {key}" for key in sorted(known - listed)]
    problems += [f"{document.name}: no source reads {key}" for key in sorted(listed - known)]
    for key, files in sorted(mentions(root).items()):
        # A prefix such as core.plugins.log stands for its group.
        if not key.endswith(FILES) and not any(
                name == key or name.startswith(f"{key}.") for name in known):
            problems.append(f"{', '.join(sorted(files))}: no such key: {key}")
    print("\n".join(problems) or f"{len(known)} keys")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
