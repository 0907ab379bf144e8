# SPDX-License-Identifier: MIT
"""Divides a row into bars, and finds places for their labels."""

from dataclasses import dataclass

from start_model import Init, Plugin, Span, Start, Wait, elapsed
from start_rows import Row, outcome, requested_by
from start_text import BOLD, cut, plain, span_text, time_text, width_of

LABEL = 11  # font size
BESIDE = 4  # between a bar and its label
INSIDE = 4  # between the ends of a bar and its label
WIDEST_LABEL = 240
LEAST_LABEL = 50
FAILED = "failed-text"  # the kind of the bold labels


@dataclass
class Bar:
    """A bar, or a part of one that has a label of its own."""
    kind: str  # "load", "own", "nested", "wait", "circle" or "failed"
    begin: int
    end: int
    title: str
    note: str = ""  # after the duration in the label
    open: bool = False  # not ended in the log

    @property
    def text(self) -> str:
        return span_text(elapsed(self.begin, self.end)) + self.note


@dataclass
class Label:
    x: float
    text: str
    kind: str  # classes


class Bars:
    """The bars of one row: those to paint, the later ones over the earlier ones, and the parts to
    label."""

    def __init__(self, start: Start, row: Row) -> None:
        self.start = start
        self.painted: list[Bar] = []
        self.parts: list[Bar] = []
        if row.plugin:
            self._load(row.plugin)
        for init in row.inits:
            self._init(init)
        for wait in row.waits:
            self._wait(wait)

    def _both(self, bar: Bar) -> None:
        self.painted.append(bar)
        self.parts.append(bar)

    def _load(self, plugin: Plugin) -> None:
        if plugin.load_begin is None:
            return
        end = max(plugin.load_begin, self.start.end_of(plugin.load_end))
        kind = "failed" if plugin.problem and plugin.problem != "not a plugin" else "load"
        title = (f"{plugin.name}: {plugin.problem or 'loaded'}, "
                 f"{time_text(elapsed(plugin.load_begin, end))}")
        self._both(Bar(kind, plugin.load_begin, end, title, open=plugin.load_end is None))

    def _init(self, init: Init) -> None:
        start = self.start
        kind = "failed" if init.result else "own"
        title = (f"{init.plugin.name}: {outcome(init)} after {time_text(start.length(init))} on "
                 f"thread {init.thread}, {time_text(start.own_time(init))} of it its own work; "
                 f"requested by {requested_by(init)}")
        self.painted.append(Bar(kind, *start.span(init), title, open=init.end is None))
        self.parts += [Bar(kind, *span, "") for span in start.own_spans(init)]
        for inner in init.nested:
            self._both(Bar("nested", *start.span(inner),
                           f"{init.plugin.name} initialises {inner.plugin.name}"))
        for wait in init.waits:
            self._wait(wait)

    def _wait(self, wait: Wait) -> None:
        title = (f"thread {wait.thread} waits {time_text(self.start.length(wait))} for "
                 f"{wait.plugin.name}" + (f": {wait.chain}" if wait.chain else ""))
        self._both(Bar("circle" if wait.circle else "wait", *self.start.span(wait), title,
                       f" for {wait.plugin.name}"))


def failure(row: Row) -> str:
    """What a row failed with, in words; empty if it did not fail."""
    plugin = row.plugin
    if plugin and plugin.problem and plugin.problem != "not a plugin":
        return plugin.problem
    failed = [outcome(init) for init in row.inits if init.result]
    return failed[-1] if failed else ""


def failure_code(row: Row) -> str:
    """The same in short, for the column of results."""
    if failure(row) and row.plugin and row.plugin.problem:
        return "failed" if row.plugin.code is None else str(row.plugin.code)
    failed = [str(init.result) for init in row.inits if init.result]
    if failed:
        return failed[-1]
    return "not ended" if any(init.end is None for init in row.inits) else ""


class Labels:
    """Places the labels of a row so that none covers a bar or another label. A label stands in its
    bar, or after it, or before it. One that fits nowhere is left out: the columns have the sum."""

    def __init__(self, left: float, right: float, taken: list[Span]) -> None:
        self.left = left
        self.right = right
        self.taken: list[tuple[float, float]] = list(taken)
        self.placed: list[Label] = []

    def take(self, left: float, right: float) -> None:
        self.taken.append((left, right))

    def _is_free(self, left: float, right: float) -> bool:
        return self.left <= left and right <= self.right and not any(
            left < last and first < right for first, last in self.taken)

    def _place(self, x: float, text: str, kind: str) -> None:
        self.take(x - BESIDE, x + _width(text, kind) + BESIDE)
        self.placed.append(Label(x, text, kind))

    def inside(self, bar: Bar, left: float, right: float) -> bool:
        """Places the label of a bar in it, if the duration fits."""
        room = right - left - 2 * INSIDE
        if width_of(bar.text.removesuffix(bar.note), LABEL) > room:
            return False
        text = plain(bar.text)
        if width_of(text, LABEL) > room:
            text = cut(text, room, LABEL)
            if len(text) < len(bar.text) - len(bar.note) + len(" for abc…"):
                text = bar.text.removesuffix(bar.note)
        kind = {"wait": "label", "circle": "label", "nested": "on-nested"}.get(bar.kind, "on")
        self.placed.append(Label(left + INSIDE, text, kind))
        return True

    def beside(self, bar: Bar, left: float, right: float) -> None:
        """Places the label of a bar after or before it, without its note if that does not fit."""
        kind = f"label {bar.kind}-text"
        for text in (plain(bar.text), bar.text.removesuffix(bar.note)):
            width = _width(text, kind)
            for x in (right + BESIDE, left - BESIDE - width):
                if self._is_free(x - 1, x + width + 1):
                    self._place(x, text, kind)
                    return

    def beside_all(self, text: str, kind: str, left: float, right: float) -> bool:
        """Places a text after or before all bars and labels, where less of it is cut, if there is
        room for some words."""
        first, last = self._ends(left, right)
        after = self.right - last - BESIDE
        before = first - BESIDE - self.left
        weight = _width(text, kind) / width_of(text, LABEL)
        text = cut(text, min(WIDEST_LABEL, max(after, before)) / weight, LABEL)
        width = _width(text, kind)
        if width < LEAST_LABEL:
            return False
        self._place(last + BESIDE if width <= after else first - BESIDE - width, text, kind)
        return True

    def _ends(self, left: float, right: float) -> tuple[float, float]:
        """The ends of all bars and of the labels after and before them."""
        places = [(label.x, label.x + _width(label.text, label.kind)) for label in self.placed]
        return (min([left, *(first - BESIDE for first, _ in places)]),
                max([right, *(last + BESIDE for _, last in places)]))


def _width(text: str, kind: str) -> float:
    return width_of(text, LABEL) * (BOLD if FAILED in kind else 1)
