# SPDX-License-Identifier: MIT
"""A start, as its log describes it.

Times are microseconds since the epoch, in local time. A log has milliseconds: lines of the same
millisecond are spread evenly over it, in their order. Durations are milliseconds, as in the log."""

from dataclasses import dataclass, field


Span = tuple[int, int]


def elapsed(begin: int, end: int) -> int:
    """The milliseconds between two times."""
    return max(0, end // 1000 - begin // 1000)


@dataclass
class Plugin:
    """A plugin library, or a built-in plugin."""
    name: str
    path: str = ""
    load_begin: int | None = None
    load_end: int | None = None
    memory: int | None = None  # growth by loading, in bytes
    interfaces: list[str] = field(default_factory=list)
    problem: str = ""  # the reason why it was not loaded
    code: int | None = None  # the result code of a load that failed
    inits: list["Init"] = field(default_factory=list)

    @property
    def load_time(self) -> int | None:
        if self.load_begin is None or self.load_end is None:
            return None
        return elapsed(self.load_begin, self.load_end)


@dataclass
class Wait:
    """A thread that waits for another one to initialise a plugin."""
    plugin: Plugin
    thread: int
    begin: int
    inside: "Init | None"  # the initialisation on the waiting thread
    end: int | None = None
    chain: str = ""  # the last logged chain of waits

    @property
    def circle(self) -> bool:
        return self.chain.endswith("(circle)")

    @property
    def target(self) -> "Init | None":
        """The initialisation that it waits for."""
        begun = [init for init in self.plugin.inits if init.thread != self.thread
                 and (self.end is None or init.begin < self.end)]
        return begun[-1] if begun else None


@dataclass
class Init:
    """One initialisation of a plugin."""
    plugin: Plugin
    thread: int
    begin: int
    inside: "Init | None" = None  # the initialisation that requested the plugin, if known
    autostart: bool = False  # requested by core.autostart.list
    end: int | None = None
    result: int | None = None
    memory_before: int | None = None
    memory_after: int | None = None
    nested: list["Init"] = field(default_factory=list)  # other initialisations inside it
    waits: list[Wait] = field(default_factory=list)

    @property
    def memory(self) -> int | None:
        """Growth of the process in bytes, without the nested initialisations."""
        growth = self.growth
        if growth is None:
            return None
        return growth - sum(init.growth or 0 for init in self.nested)

    @property
    def growth(self) -> int | None:
        """Growth of the process in bytes, with the nested initialisations."""
        if not self.memory_before or not self.memory_after:
            return None
        return self.memory_after - self.memory_before


@dataclass
class Problem:
    """A line of kind E."""
    place: str
    time: int
    text: str


@dataclass
class Start:
    """A core from its start on."""
    process: int
    begin: int
    place: str  # of its first line
    complete: bool  # whether the first line is that of the start
    thread: int = 0  # the thread that starts the core
    version: str = ""
    last: int = 0  # time of the last line
    started: int | None = None  # the end of the start
    failed: bool = False
    stopping: int | None = None
    plugins: list[Plugin] = field(default_factory=list)
    waits: list[Wait] = field(default_factory=list)
    loops: list[str] = field(default_factory=list)
    problems: list[Problem] = field(default_factory=list)
    doubts: list[str] = field(default_factory=list)  # contradictions

    def end_of(self, moment: int | None) -> int:
        """A time, or that of the last line of the log for None."""
        return self.last if moment is None else moment

    def span(self, part: Init | Wait) -> Span:
        """Begin and end; the end of the log for a part that has not ended."""
        return part.begin, max(part.begin, self.end_of(part.end))

    def length(self, part: Init | Wait) -> int:
        return elapsed(*self.span(part))

    def own_time(self, init: Init) -> int:
        """The own work of an initialisation."""
        others = sum(self.length(part) for part in [*init.nested, *init.waits])
        return max(0, self.length(init) - others)

    def own_spans(self, init: Init) -> list[Span]:
        """When an initialisation did its own work."""
        moment, end = self.span(init)
        spans = []
        for first, last in sorted(self.span(part) for part in [*init.nested, *init.waits]):
            if first > moment:
                spans.append((moment, min(first, end)))
            moment = max(moment, last)
        return [*spans, (moment, end)] if end > moment or not spans else spans

    def circles(self) -> list[str]:
        """The deadlocks that the core has logged, each once."""
        named = [wait.chain for wait in self.waits if wait.circle]
        return list(dict.fromkeys([*named, *self.loops]))


@dataclass
class Log:
    """The content of the log files."""
    starts: list[Start] = field(default_factory=list)
    lines: int = 0
    strange: list[str] = field(default_factory=list)  # the first places without a log line
    strange_count: int = 0
    foreign_count: int = 0  # lines of other logs
