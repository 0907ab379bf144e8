# SPDX-License-Identifier: MIT
"""Maps the times of a start to places of its timeline."""

from bisect import bisect_right
from collections.abc import Iterator

from start_model import Span
from start_text import time_text

BREAK = 26  # width of a removed idle time
MOST_PARTS = 8  # between removed idle times
LEAST_IDLE = 1_000_000
MILLISECOND = 1000
LEAST_STEP = 75  # between two marks


class Scale:
    """Maps times to x coordinates, with idle times removed."""

    def __init__(self, busy: list[Span], left: float, width: float) -> None:
        """Takes the busy time spans; the first one is the whole start."""
        merged = _merge(busy)
        longest_idle = max(LEAST_IDLE, sum(last - first for first, last in merged))
        self.parts = _limit(_merge(merged, longest_idle), MOST_PARTS)
        breaks = len(self.parts) - 1
        total = max(MILLISECOND, sum(last - first for first, last in self.parts))
        self.unit = (width - breaks * BREAK) / total
        self.offsets = []
        place = left
        for first, last in self.parts:
            self.offsets.append(place)
            place += (last - first) * self.unit + BREAK
        self.firsts = [first for first, _ in self.parts]

    def at(self, moment: int) -> float:
        """The x coordinate of a time."""
        part = max(0, bisect_right(self.firsts, moment) - 1)
        first, last = self.parts[part]
        return self.offsets[part] + (min(max(moment, first), last) - first) * self.unit

    def ticks(self) -> Iterator[tuple[float, str]]:
        """The x coordinates of the marks, and their times since the start or the last idle time."""
        step = _nice_step(LEAST_STEP / self.unit)
        last_place = -1000.0
        for first, last in self.parts:
            for moment in range(first, last + 1, step):
                place = self.at(moment)
                if place - last_place >= LEAST_STEP - 20:
                    yield place, self._label(moment, first)
                    last_place = place

    def _label(self, moment: int, first: int) -> str:
        begin = self.firsts[0]
        if first in (begin, moment):
            return time_text((moment - begin) // MILLISECOND)
        return "+" + time_text((moment - first) // MILLISECOND)

    def gaps(self) -> Iterator[tuple[float, int]]:
        """The x coordinates of removed idle times, and their lengths in milliseconds."""
        for (_, before), (after, _), offset in zip(self.parts, self.parts[1:], self.offsets[1:]):
            yield offset - BREAK / 2, (after - before) // MILLISECOND


def _merge(spans: list[Span], gap: int = 0) -> list[Span]:
    """Joins spans that overlap or have at most a gap between them."""
    merged: list[Span] = []
    for first, last in sorted(spans):
        if merged and first - merged[-1][1] <= gap:
            merged[-1] = (merged[-1][0], max(last, merged[-1][1]))
        else:
            merged.append((first, last))
    return merged


def _limit(spans: list[Span], most: int) -> list[Span]:
    """Joins spans over the shortest gaps until at most that many are left."""
    while len(spans) > most:
        shortest = min(range(len(spans) - 1), key=lambda i: spans[i + 1][0] - spans[i][1])
        spans[shortest:shortest + 2] = [(spans[shortest][0], spans[shortest + 1][1])]
    return spans


def _nice_step(least: float) -> int:
    """The smallest round step of milliseconds, seconds or minutes that is long enough."""
    steps = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10_000, 20_000, 30_000, 60_000,
             120_000, 300_000, 600_000, 1_200_000, 1_800_000, 3_600_000]
    hours = int(least / MILLISECOND) // 3_600_000 + 1
    found = next((step for step in steps if step * MILLISECOND >= least), 3_600_000 * hours)
    return found * MILLISECOND
