# SPDX-License-Identifier: MIT
"""Draws the lines between the rows: who requested and who waited for whom, and the critical path."""

from collections import Counter
from collections.abc import Iterator

from start_model import Init, Plugin, Start
from start_path import Step
from start_scale import Scale

ROW = 24
BAR = 14
PATH = 2.5  # from a bar to the middle of the path below it
LEAST_STEP = 2.0  # width of a step that the path returns for
MOST_ROWS = 8  # of an arrow; a longer one is only a stub, and a label has the name
STUB = 10


class Arrows:
    """The lines of a picture whose first row begins at the top."""

    def __init__(self, start: Start, scale: Scale, top: float, places: dict[int, int]) -> None:
        """Takes the numbers of the rows by the identity of the plugin, or by the negative number of
        the thread."""
        self.start = start
        self.scale = scale
        self.top = top
        self.places = places

    def _row(self, plugin: Plugin | None, thread: int = 0) -> int | None:
        return self.places.get(id(plugin) if plugin else -thread)

    def is_far(self, init: Init) -> bool:
        """Whether the plugin that requested an initialisation is too far for an arrow."""
        source = self._row(init.inside.plugin) if init.inside else None
        target = self._row(init.plugin)
        return source is not None and target is not None and abs(target - source) > MOST_ROWS

    def requests(self) -> Iterator[str]:
        """From the plugin whose init requested another one to that one."""
        for plugin in self.start.plugins:
            for init in plugin.inits:
                source = self._row(init.inside.plugin) if init.inside else None
                target = self._row(plugin)
                if source is None or target is None or source == target:
                    continue
                x = self.scale.at(init.begin) + 1
                if self.is_far(init):
                    yield _line(x, self._edge(target, source) + (STUB if source > target else -STUB),
                                self._edge(target, source), "request")
                else:
                    yield _line(x, self._edge(source, target), self._edge(target, source),
                                "request")

    def waits(self) -> Iterator[str]:
        """From the plugin or thread that waits to the plugin that it waits for. Of many long arrows
        only the beginnings are drawn."""
        places = [(wait.begin, self._row(wait.inside.plugin if wait.inside else None, wait.thread),
                   self._row(wait.plugin)) for wait in self.start.waits]
        arrows = [(begin, source, target) for begin, source, target in places
                  if source is not None and target is not None and source != target]
        far = [abs(target - source) > MOST_ROWS for _, source, target in arrows]
        for (begin, source, target), is_far in zip(arrows, far):
            first, last = self._edge(source, target), self._edge(target, source)
            if is_far and sum(far) > MOST_ROWS:
                last = first + (STUB if target > source else -STUB)
            yield _line(self.scale.at(begin) + 1, first, last, "waits")

    def _edge(self, row: int, other: int) -> float:
        """The edge of the bars of a row that is towards another row."""
        return self.top + ROW * row + (ROW + (BAR if other > row else -BAR)) / 2

    def path(self, steps: list[Step]) -> Iterator[str]:
        """The critical path, below the bars that it consists of."""
        previous: tuple[int, str] | None = None
        for step in self._wide(steps):
            row = self._row(step.plugin, step.thread)
            if row is None:
                previous = None
                continue
            y = self._below(row)
            left, right = self.scale.at(step.begin), self.scale.at(step.end)
            # Libraries are loaded one after the other: a turn shows nothing that the order does not.
            if previous and previous[0] != row and "load" not in (previous[1], step.kind):
                yield f'<path d="M{left:.1f} {self._below(previous[0]):g}V{y:g}" class="turn"/>'
            yield f'<path d="M{left:.1f} {y:g}H{max(right, left + 1):.1f}" class="path"/>'
            previous = row, step.kind

    def _wide(self, steps: list[Step]) -> Iterator[Step]:
        """The steps without the narrow ones of plugins that have several steps: a path that returns
        to a plugin between any two of those that it requests would hide the rest."""
        counts = Counter((id(step.plugin), step.kind) for step in steps)
        for step in steps:
            width = self.scale.at(step.end) - self.scale.at(step.begin)
            narrow = width < LEAST_STEP
            if step.kind == "wait" and narrow:
                continue
            if not narrow or not step.plugin or counts[id(step.plugin), step.kind] == 1:
                yield step

    def _below(self, row: int) -> float:
        return self.top + ROW * row + (ROW + BAR) / 2 + PATH


def _line(x: float, first: float, last: float, kind: str) -> str:
    return f'<path d="M{x:.1f} {first:g}V{last:g}" class="{kind}" marker-end="url(#{kind})"/>'
