# SPDX-License-Identifier: MIT
"""Draws a start as an SVG timeline."""

from datetime import datetime, timezone
from html import escape

import start_style
from start_arrows import BAR, ROW, Arrows
from start_bars import FAILED, LABEL, Bar, Bars, Labels, failure, failure_code
from start_model import Start
from start_path import Step, critical_path, shares
from start_rows import Row, memory, own_time, requested_by, rows, wait_time
from start_scale import Scale
from start_text import BOLD, cut, memory_text, plain, shorten, span_text, time_text, width_of

WIDTH = 1200
NAMES = 200  # width of the names
LEFT = NAMES + 10  # of the bars
COLUMNS = ("load", "own", "waited", "memory", "result")  # after the bars
COLUMN = 68
RIGHT = WIDTH - COLUMN * len(COLUMNS) - 24
MARGIN = 16
NOTES = WIDTH - 2 * MARGIN
LINE = 16  # height of a line of text

LEGEND = (("load", "loading"), ("own", "own work"), ("nested", "initialising others inside"),
          ("wait", "waiting for another thread"), ("circle", "waiting in a deadlock"),
          ("failed", "failed"), ("open", "not ended in the log"), ("request", "requests"),
          ("waits", "waits for"), ("path", "critical path"))


class Chart:
    """The picture of one start."""

    def __init__(self, start: Start, sort: str, with_head: bool = True, least: int = 0) -> None:
        """The head has title, summary, critical path and deadlocks. The axis is at least as long as
        a start of the given length."""
        self.start = start
        self.rows = rows(start, sort)
        self.bars = [Bars(start, row) for row in self.rows]
        spans = [(start.begin, max(start.begin + least, start.end_of(start.started)))]
        spans += [(bar.begin, bar.end) for bars in self.bars for bar in bars.painted]
        self.scale = Scale(spans, LEFT, RIGHT - LEFT)
        self.path = critical_path(start)
        self.head = self._head() if with_head else []
        self.top = 40 + (LINE + 2) * len(self.head)
        self.bottom = self.top + ROW * max(1, len(self.rows))
        places = {id(row.plugin) if row.plugin else -row.waits[0].thread: i
                  for i, row in enumerate(self.rows)}
        self.arrows = Arrows(start, self.scale, self.top, places)

    def svg(self) -> str:
        """The picture as an SVG document."""
        lines = [*self.arrows.requests(), *self.arrows.waits()]
        path = list(self.arrows.path(self.path))
        legend, legend_height = self._legend("".join([*lines, *path]))
        height = self.bottom + 26 + legend_height
        parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
                 f'viewBox="0 0 {WIDTH} {height}" role="img">',
                 f"<style>\n{start_style.style(start_style.RULES)}</style>",
                 start_style.DEFINITIONS,
                 f'<rect width="{WIDTH}" height="{height}" class="paper"/>', *self.head]
        parts += [f'<rect x="0" y="{self.top + ROW * i}" width="{WIDTH}" height="{ROW}" '
                  'class="odd"/>' for i in range(0, len(self.rows), 2)]
        parts += [*self._axis(), *lines]
        for i, bars in enumerate(self.bars):
            parts += [self._bar(bar, self.top + ROW * i) for bar in bars.painted]
        parts += path
        for i, (row, bars) in enumerate(zip(self.rows, self.bars)):
            parts += self._row(row, bars, self.top + ROW * i)
        return "\n".join([*parts, *legend, "</svg>", ""])

    def _head(self) -> list[str]:
        start = self.start
        began = datetime.fromtimestamp(start.begin / 1_000_000, timezone.utc)
        title = (f"Start of {began:%Y-%m-%d %H:%M:%S}.{began.microsecond // 1000:03d}: "
                 f"process {start.process}")
        path = cut(f"Critical path: {path_text(self.path)}", NOTES / BOLD, LABEL)
        lines = [(title + (f", core {plain(start.version)}" if start.version else ""), "title"),
                 (summary(start), "faint"), (path, "path-text"),
                 *((note, "warn") for note in _notes(start))]
        return [_text(MARGIN, 26 + (LINE + 2) * i, text, kind)
                for i, (text, kind) in enumerate(lines)]

    def _axis(self) -> list[str]:
        parts = []
        for place, label in self.scale.ticks():
            parts.append(f'<path d="M{place:.1f} {self.top}V{self.bottom}" class="grid"/>')
            parts += [_text(place, y, label, "faint middle")
                      for y in (self.top - 6, self.bottom + 14)]
        for place, length in self.scale.gaps():
            idle = f"idle {time_text(length)}"
            parts.append(f'<rect x="{place - 8:.1f}" y="{self.top}" width="16" '
                         f'height="{self.bottom - self.top}" class="gap">'
                         f"<title>{idle}</title></rect>")
            parts.append(_text(place, self.top - 18, idle, "faint middle"))
        if self.start.started is not None:
            place = self.scale.at(self.start.started)
            parts.append(f'<path d="M{place:.1f} {self.top}V{self.bottom}" class="done">'
                         "<title>end of the start</title></path>")
        parts += [_text(_column(i), self.top - 6, name, f"end {_column_kind(name)}")
                  for i, name in enumerate(COLUMNS)]
        return parts

    def _row(self, row: Row, bars: Bars, y: int) -> list[str]:
        code = failure_code(row)
        kind = "name warn" if code else "name"
        name = shorten(row.name, (NAMES - 16) / (BOLD if code else 1), 12)
        parts = [f"<g><title>{escape(plain(row.title))}</title>"
                 f"{_text(NAMES, y + 16, name, kind)}</g>"]
        parts += self._labels(row, bars, y)
        parts += [_text(_column(i), y + 16, text, "faint end")
                  for i, text in enumerate(self._sums(row)) if text]
        if code:
            parts.append(_text(_column(4), y + 16, code, "warn end"))
        return parts

    def _place(self, bar: Bar) -> tuple[float, float]:
        left = self.scale.at(bar.begin)
        least = 1.0 if bar.kind in ("nested", "wait", "circle") else 2.0
        return left, max(self.scale.at(bar.end), left + least)

    def _bar(self, bar: Bar, y: int) -> str:
        left, right = self._place(bar)
        kind = bar.kind + (" open" if bar.open else "")
        return (f'<rect x="{left:.1f}" y="{y + (ROW - BAR) // 2}" width="{right - left:.1f}" '
                f'height="{BAR}" class="{kind}"><title>{escape(plain(bar.title))}</title></rect>')

    def _labels(self, row: Row, bars: Bars, y: int) -> list[str]:
        """The failure is placed first, and the longer bars before the shorter ones."""
        gaps = [(place - 10, place + 10) for place, _ in self.scale.gaps()]
        labels = Labels(LEFT - 6, RIGHT, gaps)
        for bar in bars.painted:
            labels.take(*self._place(bar))
        failed = failure(row)
        ends = [place for bar in bars.painted for place in self._place(bar)]
        parts = sorted(bars.parts, key=lambda part: part.begin - part.end)
        if failed and not labels.beside_all(failed, f"label {FAILED}", min(ends), max(ends)):
            bar = next((part for part in parts if part.kind == "failed"), parts[0])
            bar.note = f", {failed}{bar.note}"
        for bar in parts:
            left, right = self._place(bar)
            if not labels.inside(bar, left, right):
                labels.beside(bar, left, right)
        for init in row.inits:
            if self.arrows.is_far(init):
                labels.beside_all(f"from {requested_by(init)}", "label faint", min(ends), max(ends))
        return [_text(label.x, y + 16, label.text, label.kind) for label in labels.placed]

    def _sums(self, row: Row) -> list[str]:
        """The texts of the columns."""
        start, plugin = self.start, row.plugin
        if not plugin:
            return ["", "", span_text(sum(start.length(wait) for wait in row.waits)), "", ""]
        grown = memory(plugin)
        waits = any(init.waits for init in plugin.inits)
        return ["" if plugin.load_time is None else span_text(plugin.load_time),
                span_text(own_time(start, plugin)) if plugin.inits else "",
                span_text(wait_time(start, plugin)) if waits else "",
                "" if grown is None else memory_text(grown), ""]

    def _legend(self, lines: str) -> tuple[list[str], int]:
        """The kinds that the picture has, and the height of their lines."""
        painted = [bar for bars in self.bars for bar in bars.painted]
        kinds = {bar.kind for bar in painted} | {"open" for bar in painted if bar.open}
        kinds |= {kind for kind in ("request", "waits", "path") if f'class="{kind}"' in lines}
        parts = []
        x, y = float(MARGIN), self.bottom + 26
        for kind, text in LEGEND:
            if kind not in kinds:
                continue
            width = 46 + width_of(text, LABEL)
            if x + width > WIDTH - MARGIN:
                x, y = float(MARGIN), y + LINE + 4
            parts += [_sample(kind, x, y), _text(x + 24, y + 10, text, "faint")]
            x += width
        return parts, y + 30 - self.bottom - 26


def summary(start: Start) -> str:
    """A summary of the start in one sentence."""
    loaded = [plugin for plugin in start.plugins if plugin.path and not plugin.problem]
    inits = [init for plugin in start.plugins for init in plugin.inits]
    done = [init for init in inits if init.result == 0]
    plugins = "plugin" if len(loaded) == 1 else "plugins"
    text = f"{len(loaded)} {plugins} loaded, {len(done)} initialised"
    others = len(inits) - len(done)
    text += f", {others} failed or not ended" if others else ""
    if start.started is not None:
        return text + f", start over after {time_text((start.started - start.begin) // 1000)}"
    return text + (", start failed" if start.failed else ", start not over in the log")


def path_text(steps: list[Step], most: int = 5) -> str:
    """What a critical path consists of, the longest parts first."""
    parts = shares(steps)
    texts = [f"{what} {span_text(time)}" for what, time in parts[:most]]
    rest = parts[most:]
    if rest:
        texts.append(f"{len(rest)} more {span_text(sum(time for _, time in rest))}")
    return plain(", ".join(texts) or "below 1 ms")


def _notes(start: Start) -> list[str]:
    """The deadlocks, in lines that fit."""
    notes = []
    for circle in start.circles()[:5]:
        line = ""
        for word in plain(circle).split(" "):
            longer = f"{line} {word}".strip()
            if line and width_of(longer, LABEL) * BOLD > NOTES:
                notes.append(cut(line, NOTES / BOLD, LABEL))
                longer = word
            line = longer
        notes.append(cut(line, NOTES / BOLD, LABEL))
    return notes


def _column(number: int) -> float:
    """The right end of a column."""
    return RIGHT + 10 + COLUMN * (number + 1)


def _column_kind(name: str) -> str:
    return {"load": "load-text", "own": "own-text", "waited": "wait-text"}.get(name, "faint")


def _sample(kind: str, x: float, y: int) -> str:
    """The picture of a kind in the legend."""
    if kind in ("request", "waits"):
        return (f'<path d="M{x:.1f} {y + 6}h18" class="{kind}" marker-end="url(#{kind})"/>')
    if kind == "path":
        return f'<path d="M{x:.1f} {y + 6}h18" class="path"/>'
    return (f'<rect x="{x:.1f}" y="{y}" width="18" height="11" '
            f'class="{"paper open" if kind == "open" else kind}"/>')


def _text(x: float, y: float, text: str, kind: str) -> str:
    return f'<text x="{x:.1f}" y="{y}" class="{kind}">{escape(text)}</text>'
