# SPDX-License-Identifier: MIT
"""Draws a start as an SVG timeline."""

from bisect import bisect_right
from collections.abc import Iterator
from dataclasses import dataclass
from datetime import datetime, timezone
from html import escape

from start_log import Init, Plugin, Start, Wait
from start_text import code_text, memory_text, plain, time_text

WIDTH = 1200
LABELS = 230  # width of the names
MEMORY = 170  # width of the column after the bars
PLOT = WIDTH - LABELS - MEMORY - 70  # leaves room for a time after the last bar
ROW = 24
BAR = 14
BREAK = 26  # width of a removed idle time
MOST_PARTS = 8  # between removed idle times
LABEL_COLUMNS = 28
COLUMN = 7  # width of a letter of the small texts, rounded up
WIDE = frozenset("WMmw@%&")
BROAD = frozenset("ABCDEFGHIJKLNOPQRSTUVXYZ<>+=~#")
NOTE_CHARACTERS = 165

STYLE = """
svg text { font: 12px "DejaVu Sans", "Segoe UI", Helvetica, Arial, sans-serif; fill: #1f2933 }
svg .title { font-size: 16px; font-weight: bold }
svg .small { font-size: 11px; fill: #52606d }
svg .halo { font-size: 11px; paint-order: stroke; stroke: #ffffff; stroke-width: 4px;
  stroke-linejoin: round }
svg .warn { fill: #a61b1b; font-weight: bold }
svg .grid { stroke: #d9e2ec; stroke-width: 1 }
svg .done { stroke: #52606d; stroke-width: 1; stroke-dasharray: 3 3 }
svg .odd { fill: #f5f7fa }
svg .load { fill: #4a90d9 }
svg .init { fill: #3a9d5d }
svg .nested { fill: #b5dfc3 }
svg .failed { fill: #d64545 }
svg .open { stroke: #1f2933; stroke-width: 1; stroke-dasharray: 4 2 }
svg .memory { fill: #9fb3c8 }
"""

HATCHES = """
<pattern id="wait" width="6" height="6" patternUnits="userSpaceOnUse" patternTransform="rotate(45)">
<rect width="6" height="6" fill="#ffe8b5"/><rect width="3" height="6" fill="#e8a317"/></pattern>
<pattern id="circle" width="6" height="6" patternUnits="userSpaceOnUse"
 patternTransform="rotate(45)"><rect width="6" height="6" fill="#ffd6d6"/>
<rect width="3" height="6" fill="#c81e1e"/></pattern>
"""

LEGEND = (("load", "loading"), ("init", "initialising"), ("nested", "initialising others inside"),
          ("wait", "waiting for another thread"), ("circle", "waiting in a deadlock"),
          ("failed", "failed"), ("open", "not ended in the log"))


@dataclass
class Row:
    """A row of the chart: a plugin, or a thread that waits outside of all plugins."""
    name: str
    title: str
    loads: list[Plugin]
    inits: list[Init]
    waits: list[Wait]


def shorten(text: str, columns: int) -> str:
    """The text, with its middle removed if it is wider than the columns."""
    text = plain(text)
    if _columns(text) <= columns:
        return text
    half = (columns - 1) // 2
    return _front(text, columns - 1 - half) + "…" + _front(text[::-1], half)[::-1]


def _front(text: str, columns: int) -> str:
    """The longest prefix that fits."""
    fits = ""
    for character in text:
        if _columns(fits + character) > columns:
            break
        fits += character
    return fits


def _columns(text: str) -> float:
    """The width of a text; a small letter counts as 1."""
    return sum(_column(character) for character in text)


def _column(character: str) -> float:
    if character in WIDE:
        return 1.6
    if character in BROAD:
        return 1.35
    return 2 if ord(character) > 0x2E7F else 1


class Scale:
    """Maps times to x coordinates, with idle times removed."""

    def __init__(self, moments: list[tuple[int, int]], begin: int, end: int) -> None:
        """Takes the busy time spans."""
        busy = _merge([(begin, begin), (end, end), *moments])
        longest_idle = max(1000, sum(last - first for first, last in busy))
        self.parts = _limit(_merge(busy, longest_idle), MOST_PARTS)
        self.breaks = len(self.parts) - 1
        self.total = max(1, sum(last - first for first, last in self.parts))
        self.per_ms = (PLOT - self.breaks * BREAK) / self.total
        self.offsets = []
        place = float(LABELS)
        for first, last in self.parts:
            self.offsets.append(place)
            place += (last - first) * self.per_ms + BREAK
        self.firsts = [first for first, _ in self.parts]

    def at(self, moment: int) -> float:
        """The x coordinate of a time."""
        part = max(0, bisect_right(self.firsts, moment) - 1)
        first, last = self.parts[part]
        return self.offsets[part] + (min(max(moment, first), last) - first) * self.per_ms

    def ticks(self) -> Iterator[tuple[float, str]]:
        """The x coordinates of the marks, and their times since the start or the last idle time."""
        step = _nice_step(75 / self.per_ms)
        last_place = -1000.0
        for first, last in self.parts:
            for moment in range(first, last + 1, step):
                place = self.at(moment)
                if place - last_place >= 55:
                    yield place, self._label(moment, first)
                    last_place = place

    def _label(self, moment: int, first: int) -> str:
        begin = self.firsts[0]
        if first in (begin, moment):
            return time_text(moment - begin)
        return "+" + time_text(moment - first)

    def gaps(self) -> Iterator[tuple[float, int]]:
        """The x coordinates of removed idle times, and their lengths."""
        for (_, before), (after, _), offset in zip(self.parts, self.parts[1:], self.offsets[1:]):
            yield offset - BREAK / 2, after - before


def _merge(spans: list[tuple[int, int]], gap: int = 0) -> list[tuple[int, int]]:
    """Joins spans that overlap or have at most a gap between them."""
    merged: list[tuple[int, int]] = []
    for first, last in sorted(spans):
        if merged and first - merged[-1][1] <= gap:
            merged[-1] = (merged[-1][0], max(last, merged[-1][1]))
        else:
            merged.append((first, last))
    return merged


def _limit(spans: list[tuple[int, int]], most: int) -> list[tuple[int, int]]:
    """Joins spans over the shortest gaps until at most that many are left."""
    while len(spans) > most:
        shortest = min(range(len(spans) - 1), key=lambda i: spans[i + 1][0] - spans[i][1])
        spans[shortest:shortest + 2] = [(spans[shortest][0], spans[shortest + 1][1])]
    return spans


def _nice_step(least: float) -> int:
    """The smallest round step of milliseconds, seconds or minutes that is long enough."""
    steps = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10_000, 20_000, 30_000, 60_000,
             120_000, 300_000, 600_000, 1_200_000, 1_800_000, 3_600_000]
    hours = int(least) // 3_600_000 + 1
    return next((step for step in steps if step >= least), 3_600_000 * hours)


class Chart:
    """The picture of one start."""

    def __init__(self, start: Start, with_notes: bool = True) -> None:
        self.start = start
        self.rows = _rows(start)
        spans = [(start.begin, start.end_of(start.started))]
        for row in self.rows:
            spans += [(plugin.load_begin, start.end_of(plugin.load_end)) for plugin in row.loads
                      if plugin.load_begin is not None]
            spans += [(span.begin, max(span.begin, start.end_of(span.end)))
                      for span in [*row.inits, *row.waits]]
        end = max(last for _, last in spans)
        self.scale = Scale(spans, min(first for first, _ in spans), end)
        self.notes = _notes(start) if with_notes else []
        self.top = 84 + 16 * len(self.notes)
        self.bottom = self.top + ROW * max(1, len(self.rows))
        self.height = self.bottom + 58
        self.most_memory = max((abs(_memory(row)) for row in self.rows), default=0)

    def svg(self) -> str:
        """The picture as an SVG document."""
        parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{self.height}" '
                 f'viewBox="0 0 {WIDTH} {self.height}" role="img">',
                 f"<style>{STYLE}</style><defs>{HATCHES}</defs>",
                 f'<rect width="{WIDTH}" height="{self.height}" fill="#ffffff"/>']
        parts += self._head()
        parts += [_rect(0, self.top + ROW * i, WIDTH, ROW, "odd")
                  for i in range(0, len(self.rows), 2)]
        parts += self._axis()
        for i, row in enumerate(self.rows):
            parts += self._row(row, self.top + ROW * i)
        parts += self._legend()
        return "\n".join([*parts, "</svg>", ""])

    def _head(self) -> list[str]:
        start = self.start
        began = datetime.fromtimestamp(start.begin / 1000, timezone.utc)
        title = f"Start of {began:%Y-%m-%d %H:%M:%S}.{start.begin % 1000:03d}"
        about = f"process {start.process}" + (f", core {plain(start.version)}" if start.version
                                              else "")
        parts = [_text(16, 28, title, "title"),
                 _text(16, 48, f"{about}; {summary(start)}", "small")]
        parts += [_text(16, 68 + 16 * i, note, "warn") for i, note in enumerate(self.notes)]
        return parts

    def _axis(self) -> list[str]:
        parts = []
        for place, label in self.scale.ticks():
            parts.append(f'<line x1="{place:.1f}" x2="{place:.1f}" y1="{self.top}" '
                         f'y2="{self.bottom}" class="grid"/>')
            parts += [_text(place, y, label, "small", "middle")
                      for y in (self.top - 6, self.bottom + 14)]
        for place, length in self.scale.gaps():
            parts.append(f'<rect x="{place - 8:.1f}" y="{self.top}" width="16" '
                         f'height="{self.bottom - self.top}" fill="#e4e7eb">'
                         f"<title>idle for {time_text(length)}</title></rect>")
            idle = f"idle {time_text(length)}"
            parts.append(_text(place, self.top - 18, idle, "small", "middle"))
        if self.start.started is not None:
            place = self.scale.at(self.start.started)
            parts.append(f'<line x1="{place:.1f}" x2="{place:.1f}" y1="{self.top}" '
                         f'y2="{self.bottom}" class="done"><title>end of the start</title>'
                         "</line>")
        parts.append("<g><title>growth of the whole process, including other threads</title>"
                     + _text(WIDTH - MEMORY, self.top - 6, "memory", "small") + "</g>")
        return parts

    def _row(self, row: Row, y: int) -> list[str]:
        label = shorten(row.name, LABEL_COLUMNS)
        parts = [f"<g><title>{escape(plain(row.title))}</title>"
                 + _text(LABELS - 10, y + 16, label, "", "end") + "</g>"]
        end = 0.0
        for plugin in row.loads:
            end = max(end, self._load(plugin, y, parts))
        for init in row.inits:
            end = max(end, self._init(init, y, parts))
        for wait in row.waits:
            end = max(end, self._wait(wait, y, parts))
        self._time(row, end, y, parts)
        self._memory(row, y, parts)
        return parts

    def _bar(self, begin: int, end: int, y: int, kind: str, title: str, parts: list[str]) -> float:
        """Draws a bar; returns its right end."""
        left = self.scale.at(begin)
        width = max(2.0, self.scale.at(end) - left)
        fill = f'fill="url(#{kind})"' if kind in ("wait", "circle") else f'class="{kind}"'
        parts.append(f'<rect x="{left:.1f}" y="{y + (ROW - BAR) / 2}" width="{width:.1f}" '
                     f'height="{BAR}" {fill}><title>{escape(plain(title))}</title></rect>')
        return left + width

    def _load(self, plugin: Plugin, y: int, parts: list[str]) -> float:
        if plugin.load_begin is None:
            return 0.0
        end = self.start.end_of(plugin.load_end)
        kind = "failed" if plugin.problem and plugin.problem != "not a plugin" else "load"
        title = f"{plugin.name}: {plugin.problem or 'loaded'}, {time_text(end - plugin.load_begin)}"
        return self._bar(plugin.load_begin, end, y, kind, title, parts)

    def _init(self, init: Init, y: int, parts: list[str]) -> float:
        start = self.start
        kind = "init" if not init.result else "failed"
        title = (f"{init.plugin.name}: {outcome(init)} after {time_text(start.length(init))} on "
                 f"thread {init.thread}, {time_text(start.own_time(init))} of it its own work")
        end = self._bar(init.begin, init.begin + start.length(init), y,
                        kind + (" open" if init.end is None else ""), title, parts)
        for inner in init.nested:
            self._bar(inner.begin, inner.begin + start.length(inner), y, "nested",
                      f"{init.plugin.name} initialises {inner.plugin.name}", parts)
        for wait in init.waits:
            self._wait(wait, y, parts)
        return end

    def _wait(self, wait: Wait, y: int, parts: list[str]) -> float:
        length = self.start.length(wait)
        title = (f"thread {wait.thread} waits {time_text(length)} for {wait.plugin.name}"
                 + (f": {wait.chain}" if wait.chain else ""))
        end = self._bar(wait.begin, wait.begin + length, y, "circle" if wait.circle else "wait",
                        title, parts)
        left = self.scale.at(wait.begin)
        room = int((end - left - 12) / COLUMN)
        if room >= 8:
            label = shorten(f"for {wait.plugin.name}", min(room, 40))
            parts.append(_text(left + 6, y + 16, label, "halo"))
        return end

    def _time(self, row: Row, end: float, y: int, parts: list[str]) -> None:
        """The times of the row, after its bars."""
        length = sum(self.start.length(span) for span in [*row.inits, *row.waits])
        length += sum(plugin.load_time or 0 for plugin in row.loads)
        parts.append(_text(end + 5, y + 16, time_text(length), "halo"))

    def _memory(self, row: Row, y: int, parts: list[str]) -> None:
        if not self.most_memory or not _has_memory(row):
            return
        amount = _memory(row)
        left = WIDTH - MEMORY
        width = abs(amount) / self.most_memory * (MEMORY - 100)
        parts.append(_rect(left, y + 7, max(1.0, width), 10, "memory"))
        parts.append(_text(WIDTH - 16, y + 16, memory_text(amount), "small", "end"))

    def _legend(self) -> list[str]:
        parts = []
        x = 16.0
        y = self.height - 22
        for kind, text in LEGEND:
            fill = f'fill="url(#{kind})"' if kind in ("wait", "circle") else f'class="{kind}"'
            if kind == "open":
                fill += ' fill="#ffffff"'
            parts.append(f'<rect x="{x:.1f}" y="{y}" width="18" height="11" {fill}/>')
            parts.append(_text(x + 23, y + 10, text, "small"))
            x += 44 + len(text) * 6.1
        return parts


def outcome(init: Init) -> str:
    """The result of an initialisation."""
    if init.end is None:
        return "not ended"
    return "initialised" if init.result == 0 else f"failed with {code_text(init.result or 0)}"


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
        return text + f", start over after {time_text(start.started - start.begin)}"
    return text + (", start failed" if start.failed else ", start not over in the log")


def _notes(start: Start) -> list[str]:
    """The deadlocks, in lines that fit."""
    notes = []
    for circle in start.circles()[:5]:
        text = plain(circle)
        while text:
            cut = len(text) if len(text) <= NOTE_CHARACTERS else text.rfind(" ", 0, NOTE_CHARACTERS)
            cut = cut if cut > 0 else NOTE_CHARACTERS
            notes.append(text[:cut])
            text = text[cut:].strip()
    return notes


def _rows(start: Start) -> list[Row]:
    rows = [Row(plugin.name, plugin.path or plugin.name, [plugin] if plugin.path else [],
                plugin.inits, [])
            for plugin in start.plugins if plugin.path or plugin.inits]
    outside: dict[int, list[Wait]] = {}
    for wait in start.waits:
        if not wait.inside:
            outside.setdefault(wait.thread, []).append(wait)
    rows += [Row(f"thread {thread}", f"thread {thread}, outside any plugin", [], [], waits)
             for thread, waits in outside.items()]
    return rows


def _has_memory(row: Row) -> bool:
    return any(plugin.memory is not None for plugin in row.loads) or any(
        init.memory is not None for init in row.inits)


def _memory(row: Row) -> int:
    return (sum(plugin.memory or 0 for plugin in row.loads)
            + sum(init.memory or 0 for init in row.inits))


def _rect(x: float, y: float, width: float, height: float, kind: str) -> str:
    return (f'<rect x="{x:.1f}" y="{y}" width="{width:.1f}" height="{height}" class="{kind}"/>')


def _text(x: float, y: float, text: str, kind: str = "", anchor: str = "start") -> str:
    return (f'<text x="{x:.1f}" y="{y}" text-anchor="{anchor}"'
            + (f' class="{kind}"' if kind else "") + f">{escape(text)}</text>")
