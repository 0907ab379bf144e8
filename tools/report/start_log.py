# SPDX-License-Identifier: MIT
"""Reads the starts from the log of a core."""

import re
from collections.abc import Iterable
from dataclasses import dataclass, field
from datetime import datetime
from functools import lru_cache

HEADER = re.compile(r"(\d{4}-\d\d-\d\d) (\d\d):(\d\d):(\d\d)\.(\d{3}) (\d+):(\d+) "
                    r"([DIE]) (\S+) (.*)")
PLUGIN_LINE = re.compile(r"\[(initPlugin|intiPlugin|processPlugin)\]\[pg:(\S+)\] (.*)")
FRAME = "*" * 50  # around the request
FIRST_TEXT = "[startFlow] Logger initialized."


@dataclass
class Plugin:
    """A plugin library, or a built-in plugin."""
    name: str
    path: str = ""
    load_begin: int | None = None  # times are milliseconds since the epoch, in local time
    load_end: int | None = None
    memory: int | None = None  # growth by loading, in bytes
    interfaces: list[str] = field(default_factory=list)
    problem: str = ""  # the reason why it was not loaded
    inits: list["Init"] = field(default_factory=list)

    @property
    def load_time(self) -> int | None:
        if self.load_begin is None or self.load_end is None:
            return None
        return self.load_end - self.load_begin


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


@dataclass
class Init:
    """One initialisation of a plugin."""
    plugin: Plugin
    thread: int
    begin: int
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

    def length(self, span: Init | Wait) -> int:
        return max(0, self.end_of(span.end) - span.begin)

    def own_time(self, init: Init) -> int:
        """The own work of an initialisation."""
        others = sum(self.length(span) for span in [*init.nested, *init.waits])
        return max(0, self.length(init) - others)

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


@lru_cache(maxsize=64)
def _day(text: str) -> int:
    """Milliseconds at which a day begins; raises ValueError for an invalid day."""
    return int((datetime.fromisoformat(text) - datetime(1970, 1, 1)).total_seconds()) * 1000


def _code(text: str) -> int:
    """The result code at the end of a text; -1 for an invalid one."""
    code = re.search(r" (-\d{1,9})$", text)
    return int(code[1]) if code else -1


class _Reader:
    """Interprets the lines of one process."""

    def __init__(self, start: Start) -> None:
        self.start = start
        self.previous = start.begin  # time of the previous line
        self.by_address: dict[str, Plugin] = {}
        self.stacks: dict[int, list[Init]] = {}  # by thread, the outermost first
        self.waits: dict[tuple[int, str], Wait] = {}
        self.ended: dict[int, Init] = {}  # by thread, the last one
        self.loading: Plugin | None = None
        self.built_in = ""
        self.current: Plugin | None = None  # the plugin of the following interfaces

    def read(self, time: int, thread: int, kind: str, text: str, place: str) -> None:
        if text == FRAME:
            return
        if time < self.previous:
            self._doubt("the clock was set back", place)
        self.previous = time
        self.start.last = max(self.start.last, time)
        if kind == "E":
            self.start.problems.append(Problem(place, time, text))
        about = PLUGIN_LINE.match(text)
        if about:
            self._read_plugin(time, thread, about, place)
            return
        name, _, rest = text.partition("] ")
        method = self.METHODS.get(name)
        if method:
            method(self, time, thread, rest)

    def _doubt(self, text: str, place: str) -> None:
        if len(self.start.doubts) < 20:
            self.start.doubts.append(f"{place}: {text}")

    # The start

    def _read_start(self, time: int, thread: int, text: str) -> None:
        if text.startswith("Core v"):
            self.start.version = text[len("Core v"):]
        elif text == "Done.":
            self.start.started = time
        elif text.startswith("Library is not a plugin ignore it: ") and self.loading:
            self._end_load(time, "not a plugin")
        elif text.startswith("Failed to "):
            self.start.failed = True
            if self.loading:
                self._end_load(time, self.loading.problem or text)

    def _read_stop(self, time: int, thread: int, text: str) -> None:
        if text == "Stopping core...":
            self.start.stopping = time

    def _read_built_in(self, time: int, thread: int, text: str) -> None:
        if text.startswith("Loading internal plugin "):
            self.built_in = text[len("Loading internal plugin "):].rstrip(".")

    # Loading, on one thread

    def _read_load(self, time: int, thread: int, text: str) -> None:
        if text.startswith("in library: "):
            path = text[len("in library: "):]
            self.loading = Plugin(path.rpartition("/")[2] or path, path, load_begin=time)
            self.start.plugins.append(self.loading)
        elif not self.loading:
            return
        elif text.startswith("Cannot load library: "):
            self.loading.problem = text.partition(" reason: ")[2] or text
        elif text.startswith("Memory usage of plugin "):
            # The core logs the figure as unsigned.
            amount = text.rpartition(": ")[2]
            if amount.isdecimal():
                value = int(amount)
                self.loading.memory = value - 2**64 if value >= 2**63 else value
            self._end_load(time, "")
        elif text.startswith("processPlugin(...) res: 0"):
            # Last line of the loading if memory figures are missing.
            self.loading.load_end = time

    def _end_load(self, time: int, problem: str) -> None:
        if self.loading:
            self.loading.load_end = time
            self.loading.problem = problem
        self.loading = None

    def _read_interface(self, time: int, thread: int, text: str) -> None:
        if text.startswith("Add interface ID: ") and self.current:
            self.current.interfaces.append(text[len("Add interface ID: "):])

    # Initialising

    def _read_plugin(self, time: int, thread: int, about: re.Match[str], place: str) -> None:
        what, address, text = about.groups()
        if what == "processPlugin":
            self._read_process(address, text)
        elif what == "initPlugin":
            self._read_init(time, thread, address, text, place)
        else:
            self._read_wait(time, thread, address, text, place)

    def _read_process(self, address: str, text: str) -> None:
        if text == "Internal plugin":
            self.current = Plugin(self.built_in or address)
            self.start.plugins.append(self.current)
        elif text.startswith("library: "):
            path = text[len("library: "):]
            self.current = self.loading or Plugin(path.rpartition("/")[2], path)
            if not self.loading:
                self.start.plugins.append(self.current)
        else:
            return
        self.by_address[address] = self.current

    def _plugin(self, address: str, place: str) -> Plugin:
        plugin = self.by_address.get(address)
        if plugin is None:
            plugin = Plugin(f"plugin {address}")
            self.by_address[address] = plugin
            self.start.plugins.append(plugin)
            self._doubt(f"nothing is known of the plugin at {address}", place)
        return plugin

    def _read_init(self, time: int, thread: int, address: str, text: str, place: str) -> None:
        stack = self.stacks.setdefault(thread, [])
        if text.startswith("Init plugin in thread ID: "):
            init = Init(self._plugin(address, place), thread, time)
            if stack:
                stack[-1].nested.append(init)
            init.plugin.inits.append(init)
            stack.append(init)
            return
        if text == "Init plugin done.":
            result = 0
        elif text.startswith("Failed to init plugin err: "):
            result = _code(text)
        else:
            return
        plugin = self._plugin(address, place)
        if not stack or stack[-1].plugin is not plugin:
            self._doubt(f"the end of an initialisation of {plugin.name} that never started", place)
            return
        init = stack.pop()
        init.end, init.result = time, result
        self.ended[thread] = init

    def _read_memory(self, time: int, thread: int, text: str) -> None:
        found = re.fullmatch(r"Proc mem (before|after) plugin: \[(\d+)\]", text)
        if not found:
            return
        stack = self.stacks.get(thread)
        if found[1] == "before" and stack:
            stack[-1].memory_before = int(found[2])
        elif found[1] == "after" and thread in self.ended:
            self.ended[thread].memory_after = int(found[2])

    def _read_wait(self, time: int, thread: int, address: str, text: str, place: str) -> None:
        if text.startswith("Waiting other thread"):
            self._begin_wait(time, thread, address, place)
            return
        if text.startswith("Init loop: "):
            self.start.loops.append(text[len("Init loop: "):])
            return
        wait = self.waits.get((thread, address))
        if not wait:
            self._doubt("a wait that never started", place)
        elif text.startswith("Still waiting: "):
            wait.chain = text[len("Still waiting: "):]
        elif text.startswith("Waiting finished"):
            wait.end = time
            del self.waits[thread, address]
        elif text.startswith("Detect plugin init loop"):
            # The thread gets an error at once; it does not wait.
            del self.waits[thread, address]
            self.start.waits.remove(wait)
            if wait.inside:
                wait.inside.waits.remove(wait)

    def _begin_wait(self, time: int, thread: int, address: str, place: str) -> None:
        stack = self.stacks.get(thread)
        wait = Wait(self._plugin(address, place), thread, time, stack[-1] if stack else None)
        if wait.inside:
            wait.inside.waits.append(wait)
        self.start.waits.append(wait)
        self.waits[thread, address] = wait

    METHODS = {"[startFlow": _read_start, "[stopFlow": _read_stop,
               "[loadInternalPlugins": _read_built_in, "[loadPluginLib": _read_load,
               "[processPlugin": _read_interface, "[initPlugin": _read_memory}


class _Collector:
    """Distributes the lines to the processes that wrote them."""

    def __init__(self) -> None:
        self.log = Log()
        self.readers: dict[int, _Reader] = {}

    def add(self, text: str, place: str) -> None:
        self.log.lines += 1
        found = HEADER.match(text)
        if not found:
            self._strange(place)
            return
        date, hour, minute, second, milli, process, thread, kind, tag, said = found.groups()
        if tag != "Core":
            self.log.foreign_count += 1
            return
        try:
            time = _day(date)
        except ValueError:
            self._strange(place)
            return
        time += ((int(hour) * 60 + int(minute)) * 60 + int(second)) * 1000 + int(milli)
        reader = self._reader(int(process), time, said, place)
        if reader:
            reader.read(time, int(thread), kind, said, place)

    def _strange(self, place: str) -> None:
        self.log.strange_count += 1
        if len(self.log.strange) < 5:
            self.log.strange.append(place)

    def _reader(self, process: int, time: int, text: str, place: str) -> _Reader | None:
        reader = self.readers.get(process)
        begins = text == FIRST_TEXT
        if reader and not begins:
            return reader
        if text == FRAME:
            return None  # before a start
        start = Start(process, time, place, begins, last=time)
        self.log.starts.append(start)
        self.readers[process] = _Reader(start)
        return self.readers[process]


def _first_time(lines: list[str]) -> str:
    """The time of the first line of a file, as a sortable text."""
    return next((line[:23] for line in lines if HEADER.match(line)), "9")


def read_log(files: Iterable[tuple[str, bytes]]) -> Log:
    """Reads files, given as name and content, in the order of their first lines."""
    parts = [(name, content.decode("utf-8", "backslashreplace").split("\n"))
             for name, content in files]
    parts.sort(key=lambda part: _first_time(part[1]))
    collector = _Collector()
    for name, lines in parts:
        for number, line in enumerate(lines, 1):
            if line.strip("\r\0 "):
                collector.add(line.rstrip("\r"), f"{name}:{number}")
    return collector.log
