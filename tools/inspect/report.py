# SPDX-License-Identifier: MIT
"""Prints libraries as a table, as JSON, or what they say about themselves."""

import json
import os
import shutil
import sys

from library import FACTORY, Library
from plugin_info import TEXTS, PluginInfo

HEADINGS = ("LIBRARY", "VERDICT", "KIND", "LOAD", "MEMORY", "INTERFACES")
COLOURS = {"ok": "32", "problem": "31", "skipped": "33"}
PIPED_WIDTH = 160
LONGEST_NAME = 48
SHOWN_INTERFACES = 8
GAP = "  "


def as_json(libraries: list[Library], product: str) -> str:
    return json.dumps({"product": product, "libraries": [_facts(each) for each in libraries]},
                      indent=2)


def _facts(library: Library) -> dict:
    image, outcome = library.image, library.outcome
    return {
        "path": os.fspath(library.path),
        "verdict": library.verdict,
        "problems": library.problems,
        "hints": library.hints,
        "info": library.info and _info_facts(library.info),
        "elf": image and {"bits": image.bits, "machine": image.machine, "type": image.type,
                          "soname": image.soname},
        "factory": {"symbol": FACTORY, "exported": library.has_factory},
        "needed": [{"name": each.name, "needed_by": each.needed_by,
                    "path": each.path and os.path.realpath(each.path)} for each in library.needed],
        "undefined": library.undefined,
        "exported": library.extra_exports,
        "loaded": outcome and {"failure": outcome.failure, "result": outcome.result,
                               "interfaces": outcome.interfaces, "load_ms": outcome.load_ms,
                               "memory_bytes": outcome.memory},
    }


def _info_facts(info: PluginInfo) -> dict:
    return {**{name: info.texts.get(name, "") for name in TEXTS},
            "offers": [{"id": interface, "text": text} for interface, text in info.offers],
            "requires": info.required, "optional": info.optional}


def problem_lines(libraries: list[Library]) -> list[str]:
    return [_printable(f"{name}: {problem}") for library, name in zip(libraries,
                                                                     _short_names(libraries))
            for problem in library.problems]


def as_info(libraries: list[Library]) -> str:
    """A paragraph for each library."""
    paragraphs = []
    for library, name in zip(libraries, _short_names(libraries)):
        lines = _info_lines(library.info) if library.info else ["no plugin information"]
        lines += _details(library, verbose=False)
        paragraphs.append("\n".join([f"{name}:"] + [f"  {_printable(line)}" for line in lines]))
    return "\n\n".join(paragraphs) + "\n" if paragraphs else ""


def _info_lines(info: PluginInfo) -> list[str]:
    rows = [(name, info.texts[name]) for name in TEXTS if info.texts.get(name)]
    rows += [("offers", ": ".join(filter(None, each))) for each in info.offers]
    rows += [("requires", each) for each in info.required]
    rows += [("optional", each) for each in info.optional]
    return [f"{name:<{len('description')}}  {text}" for name, text in rows]


def as_text(libraries: list[Library], verbose: bool) -> str:
    if not libraries:
        return ""
    names = _short_names(libraries)
    lines = _table(libraries, names, verbose)
    for library, name in zip(libraries, names):
        details = _details(library, verbose)
        if details:
            lines += ["", f"{name}:"] + [f"  {_printable(line)}" for line in details]
    bad = sum(library.verdict == "problem" for library in libraries)
    lines += ["", f"{_count(len(libraries), 'library', 'libraries')}, "
                  f"{'none' if bad == 0 else bad} with problems"]
    return "\n".join(lines) + "\n"


def _short_names(libraries: list[Library]) -> list[str]:
    """File names if all files are in one directory, otherwise paths."""
    together = len({library.path.parent for library in libraries}) == 1
    return [_printable(library.path.name if together else os.fspath(library.path))
            for library in libraries]


def _table(libraries: list[Library], names: list[str], verbose: bool) -> list[str]:
    rows = [HEADINGS]
    for library, name in zip(libraries, names):
        interfaces = _interface_cells(library, verbose)
        rows.append((_cut(name, LONGEST_NAME, keep_end=True), library.verdict,
                     library.image.kind if library.image else "-", _load_time(library),
                     _memory(library), interfaces[0]))
        rows += [("", "", "", "", "", cell) for cell in interfaces[1:]]
    widths = [max(len(row[column]) for row in rows) for column in range(len(HEADINGS) - 1)]
    rest = max(20, _width() - sum(widths) - len(GAP) * len(widths))
    return [_line(row, widths, rest) for row in rows]


def _line(row: tuple[str, ...], widths: list[int], rest: int) -> str:
    cells = [cell.rjust(width) if heading in ("LOAD", "MEMORY") else cell.ljust(width)
             for cell, width, heading in zip(row, widths, HEADINGS)]
    if _colourful() and row[1] in COLOURS:
        cells[1] = f"\033[{COLOURS[row[1]]}m{cells[1]}\033[0m"
    return GAP.join(cells + [_cut(row[-1], rest)]).rstrip()


def _interface_cells(library: Library, verbose: bool) -> list[str]:
    cells = [_printable(each) or '""' for each in library.interfaces]
    if len(cells) > SHOWN_INTERFACES and not verbose:
        hidden = len(cells) - SHOWN_INTERFACES + 1
        cells[-hidden:] = [f"and {hidden} more"]
    return cells or ["-"]


def _load_time(library: Library) -> str:
    known = library.outcome and library.outcome.load_ms is not None
    return f"{library.outcome.load_ms:.1f} ms" if known else "-"


def _memory(library: Library) -> str:
    known = library.outcome and library.outcome.memory is not None
    return f"{library.outcome.memory // 1024} KiB" if known else "-"


def _details(library: Library, verbose: bool) -> list[str]:
    lines = [f"problem: {each}" for each in library.problems]
    lines += [f"hint: {each}" for each in library.hints]
    if verbose:
        lines += [f"needs {each.name}: {os.path.realpath(each.path) if each.path else 'nowhere'}"
                  for each in library.needed]
        lines += [f"exports {name}" for name in library.extra_exports]
    return lines


def _count(number: int, one: str, more: str) -> str:
    return f"{number} {one if number == 1 else more}"


def _printable(text: str) -> str:
    """Escapes control characters: names are untrusted and must not control the terminal."""
    return "".join(each if each.isprintable() else each.encode("unicode_escape").decode()
                   for each in text)


def _cut(text: str, width: int, keep_end: bool = False) -> str:
    if len(text) <= width:
        return text
    return "..." + text[3 - width:] if keep_end else text[:width - 3] + "..."


def _width() -> int:
    return shutil.get_terminal_size((80, 24)).columns if sys.stdout.isatty() else PIPED_WIDTH


def _colourful() -> bool:
    return (sys.stdout.isatty() and not os.environ.get("NO_COLOR")
            and os.environ.get("TERM") != "dumb")
