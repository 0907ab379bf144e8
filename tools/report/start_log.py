# SPDX-License-Identifier: MIT
"""Reads the starts from the log of a core."""

import re
from collections.abc import Iterable
from datetime import datetime
from functools import lru_cache

from start_model import Init, Log, Plugin, Problem, Start, Wait

HEADER = re.compile(r"(\d{4}-\d\d-\d\d) (\d\d):(\d\d):(\d\d)\.(\d{3}) (\d+):(\d+) "
                    r"([DIE]) (\S+) (.*)")
PLUGIN_LINE = re.compile(r"\[(initPlugin|intiPlugin|processPlugin)\]\[pg:(\S+)\] (.*)")
FRAME = "*" * 50  # around the request
FIRST_TEXT = "[startFlow] Logger initialized."
# Every stop without this key has the line.
HEALTHY_ERROR = re.compile(r"\[stopFlow\] Failed to get core\.notify\.exit\.timeout from config "
                           r"use default: \d+ err: -504")


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
        self.milli = 0  # of the pending lines
        self.pending: list[tuple[int, str, str, str]] = []  # the lines of the last millisecond
        self.by_address: dict[str, Plugin] = {}
        self.stacks: dict[int, list[Init]] = {}  # by thread, the outermost first
        self.waits: dict[tuple[int, str], Wait] = {}
        self.ended: dict[int, Init] = {}  # by thread, the last one
        self.loading: Plugin | None = None
        self.built_in = ""
        self.current: Plugin | None = None  # the plugin of the following interfaces
        self.autostarts: set[int] = set()  # threads whose next initialisation is an autostart

    def add(self, milli: int, thread: int, kind: str, text: str, place: str) -> None:
        """Takes the next line, with its time in milliseconds."""
        if text == FRAME:
            return
        if milli != self.milli:
            self.flush()
        self.milli = milli
        self.pending.append((thread, kind, text, place))

    def flush(self) -> None:
        """Interprets the pending lines."""
        count = len(self.pending)
        for i, line in enumerate(self.pending):
            self._read(self.milli * 1000 + i * 1000 // count, *line)
        self.pending.clear()

    def _read(self, time: int, thread: int, kind: str, text: str, place: str) -> None:
        if time < self.previous:
            self._doubt("the clock was set back", place)
        self.previous = time
        self.start.last = max(self.start.last, time)
        if kind == "E" and not HEALTHY_ERROR.fullmatch(text):
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
        self.autostarts.discard(thread)
        if text.startswith("Core v"):
            self.start.version = text[len("Core v"):]
        elif text == "Done.":
            self.start.started = time
        elif text.startswith("Library is not a plugin ignore it: ") and self.loading:
            self._end_load(time, "not a plugin")
        elif text == "Failed to get plugin function from lib":
            pass  # the line above follows
        elif text == "Plugin function return NULL for IPlugin":
            self._fail(time, text, -1009)
        elif text.startswith("Failed to "):
            self._fail(time, text, _code(text))

    def _fail(self, time: int, text: str, code: int) -> None:
        self.start.failed = True
        if self.loading:
            self.loading.code = code
            self._end_load(time, self.loading.problem or text)

    def _read_stop(self, time: int, thread: int, text: str) -> None:
        if text == "Stopping core...":
            self.start.stopping = time

    def _read_autostart(self, time: int, thread: int, text: str) -> None:
        if text.startswith("Call initPlugin() for "):
            self.autostarts.add(thread)

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
            init = Init(self._plugin(address, place), thread, time,
                        stack[-1] if stack else None, thread in self.autostarts)
            self.autostarts.discard(thread)
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
               "[loadInternalPlugins": _read_built_in,
               "[initAutoStartPlugin": _read_autostart, "[loadPluginLib": _read_load,
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
        reader = self._reader(int(process), int(thread), time, said, place)
        if reader:
            reader.add(time, int(thread), kind, said, place)

    def _strange(self, place: str) -> None:
        self.log.strange_count += 1
        if len(self.log.strange) < 5:
            self.log.strange.append(place)

    def finish(self) -> Log:
        for reader in self.readers.values():
            reader.flush()
        return self.log

    def _reader(self, process: int, thread: int, milli: int, text: str,
                place: str) -> _Reader | None:
        reader = self.readers.get(process)
        begins = text == FIRST_TEXT
        if reader and not begins:
            return reader
        if text == FRAME:
            return None  # before a start
        if reader:
            reader.flush()
        time = milli * 1000
        start = Start(process, time, place, begins, thread, last=time)
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
    return collector.finish()
