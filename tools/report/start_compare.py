# SPDX-License-Identifier: MIT
"""Compares two starts of the same plugins."""

from collections.abc import Callable
from dataclasses import dataclass
from html import escape
from typing import Any

from start_chart import Chart, summary
from start_model import Plugin, Start, elapsed
from start_page import columns_of, list_lines, page, picture, table
from start_rows import own_time, result, shown_plugins, wait_time
from start_text import plain, time_text

COLUMNS = ("PLUGIN", "WHAT", "OLD", "NEW", "CHANGE")
NOISE = 1  # ms; a log has whole milliseconds
MOST = 40  # changes of each direction in the text

Time = Callable[[Start, Plugin], int | None]

TIMES: tuple[tuple[str, Time], ...] = (
    ("load", lambda start, plugin: plugin.load_time),
    ("own", lambda start, plugin: own_time(start, plugin) if plugin.inits else None),
    ("wait", lambda start, plugin: wait_time(start, plugin) if plugin.inits else None))


@dataclass
class Change:
    """A time of a plugin in both starts, in milliseconds."""
    plugin: str
    what: str  # "load", "own" or "wait"
    old: int
    new: int

    @property
    def amount(self) -> int:
        return self.new - self.old

    def cells(self) -> list[str]:
        sign = "+" if self.amount > 0 else "-"
        return [self.plugin, self.what, time_text(self.old), time_text(self.new),
                sign + time_text(abs(self.amount))]


class Comparison:
    """What is different in the new start."""

    def __init__(self, old: Start, new: Start, names: tuple[str, str]) -> None:
        self.old, self.new, self.names = old, new, names
        before, after = _by_name(old), _by_name(new)
        common = [name for name in after if name in before]
        changes = [change for name in common
                   for change in self._changes(name, before[name], after[name])]
        self.slower = sorted((change for change in changes if change.amount > NOISE),
                             key=lambda change: -change.amount)
        self.faster = sorted((change for change in changes if change.amount < -NOISE),
                             key=lambda change: change.amount)
        self.results = [(name, result(before[name]), result(after[name])) for name in common
                        if result(before[name]) != result(after[name])]
        self.added = [name for name in after if name not in before]
        self.removed = [name for name in before if name not in after]

    def _changes(self, name: str, before: Plugin, after: Plugin) -> list[Change]:
        """Only of what the plugin did in both starts."""
        changes = []
        for what, time in TIMES:
            old, new = time(self.old, before), time(self.new, after)
            if old is not None and new is not None:
                changes.append(Change(name, what, old, new))
        return changes

    def headline(self) -> str:
        """What happened to the whole start."""
        if self.old.started is None or self.new.started is None:
            return f"old: {summary(self.old)}; new: {summary(self.new)}"
        old, new = _length(self.old), _length(self.new)
        change = (f"{time_text(abs(new - old))} {'slower' if new > old else 'faster'}"
                  if abs(new - old) > NOISE else "no slower and no faster")
        return f"start over after {time_text(new)} instead of {time_text(old)}: {change}"

    def lists(self) -> list[tuple[str, list[str]]]:
        results = [f"{name}: {new}, before {old}" for name, old, new in self.results]
        return [("Other results", [plain(text) for text in results]),
                ("Only in the new start", [plain(name) for name in self.added]),
                ("Only in the old start", [plain(name) for name in self.removed])]


def _by_name(start: Start) -> dict[str, Plugin]:
    return {plugin.name: plugin for plugin in shown_plugins(start)}


def _length(start: Start) -> int:
    return elapsed(start.begin, start.end_of(start.started))


def _cells(changes: list[Change]) -> list[list[str]]:
    return [[plain(cell) for cell in change.cells()] for change in changes]


def text(comparison: Comparison) -> str:
    """The comparison for a terminal."""
    old, new = comparison.names
    lines = [plain(f"{new}, compared with {old}"), comparison.headline()]
    for title, changes in (("Slower", comparison.slower), ("Faster", comparison.faster)):
        if changes:
            lines += ["", f"{title}:", *columns_of(COLUMNS, _cells(changes[:MOST]))]
            if len(changes) > MOST:
                lines.append(f"... and {len(changes) - MOST} more")
    for title, entries in comparison.lists():
        if entries:
            lines += ["", f"{title}:", *(f"  {entry}" for entry in entries)]
    return "\n".join(lines) + "\n"


def html(comparison: Comparison, sort: str) -> str:
    """The comparison with pictures of both starts, in the same scale, on one page."""
    old, new = comparison.names
    parts = [f"<p>{escape(comparison.headline())}</p>"]
    for title, changes in (("Slower", comparison.slower), ("Faster", comparison.faster)):
        if changes:
            parts += [f"<h2>{title}</h2>", *table(COLUMNS, _cells(changes))]
    for title, entries in comparison.lists():
        parts += list_lines(title, entries, "")
    length = max(start.end_of(start.started) - start.begin
                 for start in (comparison.old, comparison.new))
    for name, start in ((new, comparison.new), (old, comparison.old)):
        parts += [f"<h2>{escape(plain(name))}</h2>", picture(Chart(start, sort, least=length))]
    return page(plain(f"{new}, compared with {old}"), parts)


def data(comparison: Comparison) -> dict[str, Any]:
    """The comparison for programs; times are milliseconds."""
    def about(name: str, start: Start) -> dict[str, Any]:
        return {"log": plain(name), "process": start.process, "failed": start.failed,
                "length": None if start.started is None else _length(start)}

    def listed(changes: list[Change]) -> list[dict[str, Any]]:
        return [{"plugin": plain(change.plugin), "what": change.what, "old": change.old,
                 "new": change.new, "change": change.amount} for change in changes]

    return {"old": about(comparison.names[0], comparison.old),
            "new": about(comparison.names[1], comparison.new),
            "slower": listed(comparison.slower), "faster": listed(comparison.faster),
            "results": [{"plugin": plain(name), "old": plain(old), "new": plain(new)}
                        for name, old, new in comparison.results],
            "added": [plain(name) for name in comparison.added],
            "removed": [plain(name) for name in comparison.removed]}
