#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the man pages of the library with the tree: check_man.py ROOT [DIRECTORY]
Each exported function has a page with its declaration and the codes of its contract. The pages of
DIRECTORY, docs/man if it is not given, name only pages that exist, the keys of the core with their
defaults, and the fields of notes. mandoc has nothing to say about them."""

import re
import subprocess
import sys
from pathlib import Path

REFERENCE = re.compile(r"([\w-]+) ?\((\d)\)")
CODE = re.compile(r"-\d{3,4}\b")


def run(*command: object, text: str = "") -> str:
    return subprocess.run(list(map(str, command)), check=True, capture_output=True, text=True,
                          input=text).stdout


def plain(text: str) -> str:
    """A text of a source without its formatting."""
    text = re.sub(r'^\.[BI][RI]? ', "", text, flags=re.M)
    return re.sub(r"\\f[A-Z]", "", text).replace("\\-", "-").replace('"', "").strip()


def section(page: Path, title: str) -> str:
    text = page.read_text(encoding="utf-8")
    found = re.search(rf'^\.SH "?{title}"?\n(.*?)(?=^\.SH|\Z)', text, re.M | re.S)
    return found[1] if found else ""


def items(page: Path, title: str) -> dict[str, str]:
    """The tags of a section with their descriptions."""
    found = (part.partition("\n") for part in section(page, title).split(".TP\n")[1:])
    return {plain(tag): plain(body) for tag, _, body in found}


def declarations(root: Path) -> dict[str, tuple[str, set[str]]]:
    """Of each exported function the declaration in the header, and the codes of its contract."""
    header = (root / "include/Ixla.h").read_text(encoding="utf-8")
    exports = run("c++filt", text=(root / "abi/libixlal.core.exports").read_text(encoding="utf-8"))
    found = {}
    for name in re.findall(r"^(\w+)\(", exports, re.M):
        contract, declaration = re.search(
            rf"((?:///.*\n)+)IXLA_EXPORT (\w+ {name}\([^;]*;)", header).groups()
        codes = set(CODE.findall(contract))
        # "-1013 to -1015" names a range.
        for first, last in re.findall(r"-(\d+) to -(\d+)", contract):
            codes |= {f"-{code}" for code in range(int(first), int(last) + 1)}
        found[name] = " ".join(declaration.split()), codes
    return found


def function_problems(root: Path, pages: dict[str, Path]) -> list[str]:
    problems = []
    functions = declarations(root)
    for name, (declaration, codes) in functions.items():
        page = pages.get(f"{name}.3")
        if not page:
            problems.append(f"no page {name}.3")
            continue
        if declaration not in plain(section(page, "SYNOPSIS")):
            problems.append(f"{page.name}: no declaration: {declaration}")
        given = set(CODE.findall(plain(section(page, "RETURN VALUE"))))
        problems += [f"{page.name}: no code {code}" for code in sorted(codes - given)]
    return problems + [f"{name}: no such function" for name in pages
                       if name.endswith(".3") and name.removesuffix(".3") not in functions]


def key_problems(root: Path, page: Path) -> list[str]:
    """The table of the document is compared with the tools by another check."""
    rows = re.findall(r"^\| `((?:core|custom)\.[\w.]+)` \| [^|]*\| ([^|]*) \| ([^|]*) \|",
                      (root / "docs/configuration.md").read_text(encoding="utf-8"), re.M)
    known = {key + "*" * (place == "argument"): default for key, place, default in rows}
    described = {}
    for tag, body in items(page, "KEYS OF THE CORE").items():
        default = re.search(r"(?:Default: |(?=Required, else))(.*)\.$", body, re.M)
        described[tag.replace(" ", "")] = default[1] if default else ""
    names = sorted(known.keys() | described.keys())
    return [f"{page.name}: {name}: default {described.get(name)!r}, not {known.get(name)!r}"
            for name in names
            if described.get(name, "?").lower() != known.get(name, "").lower()]


def field_problems(root: Path, page: Path) -> list[str]:
    info = (root / "sdk/helpers/PluginInfo.h").read_text(encoding="utf-8")
    keys = (root / "sdk/helpers/PKeyedConfig.h").read_text(encoding="utf-8")
    names = re.findall(r'^#define IXLA_INFO_\w+\(.*?\) "(\w+)\\t', info, re.M)
    written = {"PLUGIN INFORMATION": names,
               "DECLARED KEYS": re.findall(r'(?:"|\\n)([a-z]+)\\t"', keys)}
    problems = []
    for title, fields in written.items():
        described = set(items(page, title))
        problems += [f"{page.name}: {title}: {field} is only there or only in the sources"
                     for field in sorted(described ^ set(fields))]
    return problems


def escape_problems(root: Path, page: Path) -> list[str]:
    document = (root / "docs/logging.md").read_text(encoding="utf-8")
    known = {" ".join(re.findall(r"`([^`]*)`", row)) for row in
             re.findall(r"^\| (`\\.*?) \| ", document, re.M)}
    text = page.read_text(encoding="utf-8")
    tags = re.findall(r"^\.TP\n(\\e.*)$", text, re.M)
    described = {" ".join(re.findall(r"\\\w+", tag.replace("\\e", "\\"))) for tag in tags}
    version = re.search(r"project\(ixlal VERSION ([\d.]+)",
                        (root / "CMakeLists.txt").read_text(encoding="utf-8"))[1]
    problems = [f"{page.name}: escapes: {row}" for row in sorted(known ^ described)]
    return problems + [f"{page.name}: another version"] * (f"Core v{version}" not in text)


def page_problems(page: Path, known: set[str]) -> list[str]:
    lint = subprocess.run(["mandoc", "-Tlint", "-W", "warning", page], check=False,
                          capture_output=True, text=True)
    problems = (lint.stdout + lint.stderr).splitlines()
    text = page.read_text(encoding="utf-8")
    title = text.split(maxsplit=3)[:3]
    if title != [".TH", page.stem.upper(), page.suffix[1:]]:
        problems.append(f"{page.name}: another title: {' '.join(title)}")
    named = {f"{name}.{number}" for name, number in REFERENCE.findall(plain(text))}
    return problems + [f"{page.name}: no page {name}" for name in sorted(named - known)]


def main() -> int:
    root = Path(sys.argv[1])
    directory = Path(sys.argv[2]) if len(sys.argv) > 2 else root / "docs/man"
    pages = {page.name: page for page in sorted(directory.glob("*.[1-9]"))}
    known = {page.name for page in [*pages.values(), *root.glob("tools/man/*.1")]}
    problems = function_problems(root, pages)
    for page in pages.values():
        problems += page_problems(page, known)
    for name, check in {"ixlal-properties.5": key_problems, "ixlal-note.5": field_problems,
                        "ixlal-log.5": escape_problems}.items():
        problems += check(root, pages[name]) if name in pages else [f"no page {name}"]
    # From the overview, a reader finds all pages.
    overview = pages.get("ixlal.7")
    listed = {f"{name}.{number}" for name, number in
              REFERENCE.findall(plain(section(overview, "SEE ALSO")))} if overview else set()
    problems += [f"ixlal.7: does not name {name}" for name in sorted(known - listed - {"ixlal.7"})]
    print("\n".join(problems) or f"{len(pages)} pages")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
