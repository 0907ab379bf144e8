# SPDX-License-Identifier: MIT
"""The core of the process and its plugins."""

import functools
import os
from collections.abc import Iterator

import gdb

from ixlagdb.libraries import Libraries
from ixlagdb.memory import (FAULTS, Problem, base_name, cast, chain, class_of, expect_class, number,
                            scalar, shown, target, text, vector)

LIBRARY = "libixlal.core.so"
OWN_LIBRARIES = "libixlal."
STATES = ("not initialised", "initialising", "initialised", "failed")
INITIALISING = 1
MOST_INTERFACES = 1000  # of a plugin


def require_process() -> None:
    if not gdb.selected_inferior().threads():
        raise Problem("there is no process and no core dump; use \"attach PID\" or "
                      "\"core-file FILE\"")


def require_library() -> None:
    """There is a process, and the library with debug information."""
    require_process()
    if not any(base_name(each.filename or "").startswith(LIBRARY) for each in gdb.objfiles()):
        raise Problem(_why_missing(Libraries().path_of(LIBRARY)))
    if gdb.lookup_global_symbol("PCoreLifetime::fCore") is None:
        raise Problem(f"{LIBRARY} has no debug information; install libixlal-dbgsym of the same "
                      "version")


def _why_missing(path: str) -> str:
    """Why gdb has no symbols of the library, which the process has mapped from path."""
    if not path:
        return f"the process has not loaded {LIBRARY}, or the core dump is cut short"
    if not os.path.exists(path):
        return (f"the process has loaded {path}, which is not on this machine; install libixlal and "
                "libixlal-dbgsym of the same version, or use \"set sysroot\"")
    return (f"the process has loaded {path}, but the memory that says so is missing: the core dump "
            "is cut short")


def static(name: str) -> gdb.Value:
    """A static variable of the core."""
    try:
        return gdb.parse_and_eval(f"'{name}'" if name.startswith("(") else name)
    except gdb.error as error:
        raise Problem(f"there is no debug information about {name}") from error


def is_changing() -> bool:
    """Whether a thread starts or stops the core."""
    return number(static("(anonymous namespace)::sChanging")) != 0


def is_parents() -> bool:
    """Whether this is a forked child of a process with a core."""
    return number(static("(anonymous namespace)::sIsParents")) != 0


class Record:
    """The core's record of a plugin. Each property raises a fault of its own."""

    def __init__(self, value: gdb.Value) -> None:
        self.value = value
        self.address = int(value.address)

    @property
    def library(self) -> str:
        """The path as given to the loader; empty for a built-in plugin."""
        holder = self.value["fLibrary"]
        return text(holder["fPtr"]["fName"]) if int(holder["fPtr"]) else ""

    @property
    def name(self) -> str:
        """The file name of the library, or the interface of a built-in plugin."""
        return base_name(self.library) or next(self.interfaces(), "a built-in plugin")

    @property
    def shown_name(self) -> str:
        return shown(lambda: self.name)

    def interfaces(self) -> Iterator[str]:
        count, first = int(self.value["fInterfaceCount"]), self.value["fInterfaceIDs"]["fPtr"]
        if count and not int(first):
            raise Problem(f"{count} interface IDs at address 0")
        for index in range(min(count, MOST_INTERFACES)):
            yield text((first + index).dereference())
        if count > MOST_INTERFACES:
            raise Problem(f"{count} interfaces: the record is damaged")

    @property
    def state(self) -> int:
        return int(self.value["fInitState"])

    @property
    def state_text(self) -> str:
        unloaded = ", unloaded" if self.unloaded else ""
        known = 0 <= self.state < len(STATES)
        return (STATES[self.state] if known else f"<damaged: {self.state}>") + unloaded

    @property
    def unloaded(self) -> bool:
        return int(self.value["fUnloaded"]) != 0

    @property
    def initialising(self) -> bool:
        return self.state == INITIALISING

    @property
    def thread(self) -> int:
        """The number of the thread that runs or has run init; 0 for none."""
        return int(self.value["fInitThreadId"])

    @property
    def order(self) -> int:
        return int(self.value["fInitOrder"])

    @property
    def plugin(self) -> int:
        """The address of the plugin, as in the core's log."""
        return int(self.value["fPlugin"]["fPtr"])


class InitWait:
    """An entry of the core's list of threads that wait for an initialisation."""

    def __init__(self, value: gdb.Value) -> None:
        self.thread = int(value["fThreadId"])
        self.record = Record(value["fRecord"].referenced_value())


class Core:
    """One core; value is a PCore."""

    def __init__(self, value: gdb.Value) -> None:
        self.value = value
        self.address = int(value.address)
        self.parts = value["fParts"]

    @staticmethod
    def find() -> "Core | None":
        require_library()
        pointer = scalar(static("PCoreLifetime::fCore"))
        return Core(pointer.dereference()) if int(pointer) else None

    @staticmethod
    def require() -> "Core":
        core = Core.find()
        if core is None:
            raise Problem(f"there is no core: {absence()}")
        return core

    @property
    def started(self) -> bool:
        return number(self.parts["fRegistry"]["fStarted"]) != 0

    def records(self) -> Iterator[Record]:
        """The records of the plugins, then those that are unloaded."""
        for pointer in vector(self.parts["fRegistry"]["fCorePlugins"]):
            yield Record(target(pointer, "the record of a plugin"))

    def unloaded(self) -> Iterator[Record]:
        for value in chain(self.parts["fRegistry"]["fUnloaded"], "fNextUnloaded"):
            yield Record(value)

    def init_waits(self) -> Iterator[InitWait]:
        for value in chain(self.parts["fInit"]["fFirstWait"], "fNext"):
            yield InitWait(value)

    def interfaces(self) -> Iterator[tuple[str, Record | None]]:
        """The entries of the interface table; None for an interface of an unloaded plugin."""
        table = self.parts["fRegistry"]["fTable"]
        capacity = int(table["fCapacity"])
        entries = scalar(table["fEntries"])
        if capacity > 1_000_000 or (capacity and not int(entries)):
            raise Problem(f"the table of interfaces has {capacity} entries: it is damaged")
        for index in range(capacity):
            entry = (entries + index).dereference()
            if int(entry["id"]):
                record = scalar(entry["record"])
                yield (shown(lambda: text(entry["id"].dereference())),
                       Record(record.dereference()) if int(record) else None)

    def logger(self) -> gdb.Value:
        """The core's PLogger."""
        return target(self.parts["fLog"]["fLogger"], "the core's log")

    @functools.cached_property
    def manager(self) -> gdb.Value:
        """The PConfigManager."""
        return self._service("fConfigManager", "PConfigManager", "PConfigPlugin", "fManager",
                             "the configuration manager")

    @functools.cached_property
    def dispatcher(self) -> gdb.Value:
        """The PEventDispatcher."""
        return self._service("fEventDispatcher", "PEventDispatcher", "PEventDispatcherPlugin",
                             "fInstance", "the event dispatcher")

    def _service(self, member: str, kind: str, plugin: str, instance: str, what: str) -> gdb.Value:
        """The object behind a service: the core's own, or that of the built-in plugin while the
        core starts or stops."""
        pointer = self.parts["fServices"][member]["fPtr"]
        if not int(pointer):
            holder = self.plugin_of_class(plugin)
            pointer = holder[instance]["fPtr"] if holder is not None else pointer
        if not int(pointer):
            raise Problem(f"{what} does not exist: it is not created yet, or released already")
        return expect_class(pointer.dereference(), kind)

    def plugin_of_class(self, name: str) -> gdb.Value | None:
        """The built-in plugin of this class."""
        for record in self.records():
            if record.plugin and class_of(record.plugin) == name:
                return cast(record.value["fPlugin"]["fPtr"].dereference(), name)
        return None


def kept_cores() -> Iterator[Core]:
    """The cores that were stopped but never destroyed, because calls did not leave them."""
    pointer = static("PCallDrain::fKeptCores")
    known: set[int] = set()
    while int(pointer) != 0 and int(pointer) not in known:
        known.add(int(pointer))
        core = Core(pointer.dereference())
        yield core
        pointer = core.parts["fDrain"]["fNextKept"]


def absence() -> str:
    """Why there is no core."""
    try:
        if is_parents():
            return "this process was forked from one with a core, which belongs to its parent"
        if is_changing():
            return "a thread starts or stops it at this moment"
        if int(static("PCallDrain::fKeptCores")):
            return "it was stopped, but calls did not leave it; \"ixla status\" shows it"
        return ("it was stopped" if number(static("PCoreLifetime::fGate"))
                else "it was never started")
    except FAULTS:
        return "it was never started, or it was stopped"
