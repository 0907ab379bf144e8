# SPDX-License-Identifier: MIT
"""Formats times, amounts and texts."""

import re

CONTROLS = re.compile(r"[\x00-\x1f\x7f-\x9f\ud800-\udfff\ufffe\uffff]")


def plain(text: str) -> str:
    """The text without control characters."""
    return CONTROLS.sub("\N{REPLACEMENT CHARACTER}", text)


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
