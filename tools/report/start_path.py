# SPDX-License-Identifier: MIT
"""Finds the critical path of a start: the work that determined when it ended."""

from collections.abc import Iterator
from dataclasses import dataclass

from start_model import Init, Plugin, Span, Start, Wait, elapsed

Part = Init | Wait | Plugin


@dataclass
class Step:
    """A part of the critical path. The steps have no gaps between them."""
    begin: int
    end: int
    kind: str  # "load", "own" or "wait"; "core" between the plugins
    plugin: Plugin | None = None  # None between the plugins
    thread: int = 0  # of a wait outside of all plugins


class _Walk:
    """Follows the path backwards from the end of the start. Where a thread waited, the path is on
    the thread that it waited for. Where nothing is known of that one any more, the path is on the
    waiting thread again."""

    def __init__(self, start: Start) -> None:
        self.start = start
        self.parts: dict[int, list[Part]] = {}  # by thread, those outside of all others
        for plugin in start.plugins:
            if plugin.load_begin is not None:
                self._add(start.thread, plugin)
            for init in plugin.inits:
                if not init.inside:
                    self._add(init.thread, init)
        for wait in start.waits:
            if not wait.inside:
                self._add(wait.thread, wait)
        self.parts = {thread: self._sorted(parts) for thread, parts in self.parts.items()}
        self.inside: dict[int, list[Part]] = {}  # by the identity of an initialisation
        self.thread = start.thread
        self.moment = _end(start)
        self.waiters: list[int] = []  # the threads to return to
        self.seen: set[Span] = set()  # ends the walk around a deadlock

    def _add(self, thread: int, part: Part) -> None:
        self.parts.setdefault(thread, []).append(part)

    def _span(self, part: Part) -> Span:
        if isinstance(part, Plugin):
            begin = part.load_begin or 0
            return begin, max(begin, self.start.end_of(part.load_end))
        return self.start.span(part)

    def steps(self) -> Iterator[Step]:
        """The steps, the last one first."""
        while self.moment > self.start.begin:
            part, previous_end = self._innermost()
            if isinstance(part, Wait):
                yield from self._wait(part)
            elif isinstance(part, Init):
                yield self._step(max(part.begin, previous_end), "own", part.plugin)
            elif part:
                yield self._step(self._span(part)[0], "load", part)
            elif self.waiters and self.thread != self.start.thread:
                self.thread = self.waiters.pop()
            else:
                yield self._step(max(self.start.begin, previous_end), "core")

    def _innermost(self) -> tuple[Part | None, int]:
        """What the thread does before the moment, and when the part before that, inside of it,
        ended."""
        found: Part | None = None
        parts = self.parts.get(self.thread, [])
        while True:
            while parts and self._span(parts[-1])[0] >= self.moment:
                parts.pop()  # the moment never grows
            if not parts or self._span(parts[-1])[1] < self.moment:
                return found, self._span(parts[-1])[1] if parts else self.start.begin
            found = parts[-1]
            parts = self._inside(found)

    def _inside(self, part: Part) -> list[Part]:
        if not isinstance(part, Init):
            return []
        if id(part) not in self.inside:
            self.inside[id(part)] = self._sorted([*part.nested, *part.waits])
        return self.inside[id(part)]

    def _sorted(self, parts: list[Part]) -> list[Part]:
        return sorted(parts, key=self._span)

    def _step(self, begin: int, kind: str, plugin: Plugin | None = None) -> Step:
        end, self.moment = self.moment, begin
        return Step(begin, end, kind, plugin, self.thread)

    def _wait(self, wait: Wait) -> Iterator[Step]:
        plugin = wait.inside.plugin if wait.inside else None
        target = wait.target
        end = min(self.moment, self.start.span(target)[1]) if target else 0
        if not target or end <= wait.begin or (target.thread, end) in self.seen:
            yield self._step(wait.begin, "wait", plugin)
            return
        if end < self.moment:
            yield self._step(end, "wait", plugin)
        self.seen.add((target.thread, end))
        self.waiters.append(self.thread)
        self.thread = target.thread


def _end(start: Start) -> int:
    if start.started is not None:
        return start.started
    return start.last if start.stopping is None else start.stopping


def critical_path(start: Start) -> list[Step]:
    """The steps from the begin to the end of the start."""
    joined: list[Step] = []
    for step in reversed(list(_Walk(start).steps())):
        last = joined[-1] if joined else None
        if last and (last.kind, last.plugin, last.thread) == (step.kind, step.plugin, step.thread):
            last.end = step.end
        else:
            joined.append(step)
    return joined


def _what(step: Step) -> str:
    if step.plugin is None:
        return f"thread {step.thread} waiting" if step.kind == "wait" else "the core"
    return {"load": "loading", "own": "own work of", "wait": "waiting in"}[step.kind] + (
        f" {step.plugin.name}")


def shares(steps: list[Step]) -> list[tuple[str, int]]:
    """What the path consists of and the milliseconds of each, the longest first, without those below
    a millisecond."""
    times: dict[str, int] = {}
    for step in steps:
        what = _what(step)
        times[what] = times.get(what, 0) + elapsed(step.begin, step.end)
    return sorted(((what, time) for what, time in times.items() if time),
                  key=lambda share: -share[1])
