# SPDX-License-Identifier: MIT
"""Formats times, amounts and texts, and measures how wide they are."""

import re

CONTROLS = re.compile(r"[\x00-\x1f\x7f-\x9f\ud800-\udfff\ufffe\uffff]")

# Widths in the font DejaVu Sans, in hundredths of its size. The other fonts of the pages are not
# wider.
WIDTHS = {character: width for width, characters in (
    (28, "'ijl"), (32, "IJ ,."), (34, "/:;\\|"), (36, "f-"), (40, "()[]t!"), (41, "r"),
    (50, '"*_`'), (53, "sz?"), (56, "cL"), (60, "Fkvxy"), (61, "PTYao"), (64, "eESbdghnpqu$"),
    (64, "0123456789{}"), (70, "KAVBRXZC"), (75, "UHN"), (79, "DG&OQ"), (84, "w#+<=>^~"),
    (86, "M"), (100, "%mW@…")) for character in characters}
BOLD = 1.12  # width of bold letters


def plain(text: str) -> str:
    """The text without control characters."""
    return CONTROLS.sub("\N{REPLACEMENT CHARACTER}", text)


def width_of(text: str, size: float) -> float:
    """The width of a text in a font of the size."""
    return sum(_width(character) for character in text) * size / 100


def _width(character: str) -> int:
    return WIDTHS.get(character) or (70 if ord(character) < 0x530 else 110)


def shorten(text: str, width: float, size: float) -> str:
    """The text, with its middle removed if it is wider than the width."""
    text = plain(text)
    if width_of(text, size) <= width:
        return text
    half = (width - width_of("…", size)) / 2
    return _front(text, half, size) + "…" + _front(text[::-1], half, size)[::-1]


def cut(text: str, width: float, size: float) -> str:
    """The text, with its end removed if it is wider than the width."""
    text = plain(text)
    if width_of(text, size) <= width:
        return text
    return _front(text, width - width_of("…", size), size).rstrip() + "…"


def _front(text: str, width: float, size: float) -> str:
    """The longest prefix that fits."""
    used = 0.0
    for i, character in enumerate(text):
        used += _width(character) * size / 100
        if used > width:
            return text[:i]
    return text


def time_text(milliseconds: int) -> str:
    """A duration with its unit."""
    if milliseconds < 1000:
        return f"{milliseconds} ms"
    if milliseconds < 60_000:
        return f"{milliseconds / 1000:.3f}".rstrip("0").rstrip(".") + " s"
    minutes, rest = divmod(milliseconds, 60_000)
    if minutes < 60:
        return f"{minutes} min" + (f" {rest // 1000} s" if rest >= 1000 else "")
    return f"{minutes // 60} h" + (f" {minutes % 60} min" if minutes % 60 else "")


def span_text(milliseconds: int) -> str:
    """The same for a bar: what the log shows as 0 ms took less than 1 ms."""
    return time_text(milliseconds) if milliseconds else "<1 ms"


def memory_text(size: int) -> str:
    """An amount of memory with its sign and unit."""
    sign = "-" if size < 0 else "+" if size > 0 else ""
    amount = abs(size)
    for unit, shift in (("GB", 30), ("MB", 20), ("KB", 10)):
        if amount >= 1 << shift:
            return f"{sign}{amount / (1 << shift):.1f} {unit}"
    return f"{sign}{amount} B"


CODES = {-501: "out of memory", -1007: "another plugin offers the interface ID already",
         -1008: "the library has no factory ixlaGetPlugin",
         -1009: "the factory returned no plugin",
         -2001: "no plugin offers the interface ID", -2003: "the plugin failed to initialise",
         -2004: "the plugin asked for itself while initialising"}


def code_text(code: int) -> str:
    """A result code with its meaning, for codes that plugins return."""
    return f"{code} ({CODES[code]})" if code in CODES else str(code)
