#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that the license is the same everywhere: check_license.py ROOT
Every source under ROOT names it in its first line, or in the second one after a "#!" line. The
copyright file of the packages has the texts of the license files. What ixla-new-plugin writes
carries no license, so its templates name none."""

import os
import sys
from pathlib import Path

LINE = "SPDX-License-Identifier: MIT"
SLASHES = (".h", ".cpp")
HASHES = (".sh", ".py", ".cmake", ".yml")
# Directories of builds and of git.
SKIPPED = {"build", ".git", "__pycache__"}


def files(root: Path):
    for directory, directories, names in os.walk(root):
        directories[:] = [name for name in directories if name not in SKIPPED]
        yield from (Path(directory) / name for name in names)


def wanted_line(path: Path, first: str):
    """The line that the file needs, or None when it needs none."""
    if path.suffix in SLASHES:
        return f"// {LINE}"
    if path.suffix == ".in":
        return None
    if path.suffix in HASHES or path.name == "CMakeLists.txt" or first.startswith("#!"):
        return f"# {LINE}"
    return None


def unlicensed(path: Path) -> bool:
    with path.open(encoding="utf-8", errors="replace") as stream:
        first = stream.readline().rstrip("\n")
        wanted = wanted_line(path, first)
        line = stream.readline().rstrip("\n") if first.startswith("#!") else first
    return wanted is not None and line != wanted


def paragraph(license_file: Path) -> str:
    """The text below the title and the copyright, in the form of Debian's copyright file."""
    body = license_file.read_text(encoding="utf-8").split("\n\n", 2)[2]
    return "".join(f" {line or '.'}\n" for line in body.rstrip("\n").split("\n"))


def texts_differ(root: Path) -> list[str]:
    packaged = (root / "packaging/copyright").read_text(encoding="utf-8")
    return [f"packaging/copyright: does not have the text of {name} as {title}"
            for name, title in (("LICENSE", "Expat"), ("tools/new-plugin/template/LICENSE", "MIT-0"))
            if f"\nLicense: {title}\n{paragraph(root / name)}" not in packaged]


def main() -> int:
    root = Path(sys.argv[1])
    problems = [f"{path.relative_to(root)}: the line with the license is missing"
                for path in sorted(files(root)) if path.is_file() and unlicensed(path)]
    problems += texts_differ(root)
    print("\n".join(problems) or f"Every source names the license: {LINE}")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
