# SPDX-License-Identifier: MIT
"""The locks of the core and its services: who holds them and who waits."""

from collections.abc import Callable, Iterator
from dataclasses import dataclass

import gdb

from ixlagdb.core import Core
from ixlagdb.memory import (FAULTS, Problem, expect_class, number, read, reason, shown, target,
                            text, tree)
from ixlagdb.threads import Thread, Threads

CONTENDED = 2  # the state of a mutex with waiters, in the C library
OWNER_OFFSET = 8  # of the number of the holder in a pthread_mutex_t
STRIPE = "PThreadStripe::fIndex"


@dataclass
class Lock:
    """A mutex; value is its pthread_mutex_t."""
    name: str
    value: gdb.Value
    wrapper: gdb.Value | None = None  # the PMutex around it

    @property
    def address(self) -> int:
        return int(self.value.address)

    @property
    def is_open(self) -> bool:
        return self.wrapper is None or int(self.wrapper["fGeneration"]) != 0

    @property
    def is_held(self) -> bool:
        return int(self.value["__data"]["__lock"]) != 0

    @property
    def holder(self) -> int:
        """The number of the holding thread, as the system names it; 0 for none."""
        return int(self.value["__data"]["__owner"])


@dataclass
class Condition:
    """A condition variable; value is its pthread_cond_t."""
    name: str
    value: gdb.Value

    def has(self, address: int) -> bool:
        first = int(self.value.address)
        return first <= address < first + self.value.type.sizeof


@dataclass
class Counters:
    """Counters of threads inside: of the call gate, or of a lock for readers."""
    name: str
    value: gdb.Value
    member: str  # of a stripe

    @property
    def closed(self) -> bool:
        return number(self.value["fClosed"]) != 0

    def stripes(self) -> Iterator[tuple[int, int]]:
        """The numbers and counts of those that are not 0."""
        stripes = self.value["fStripes"]
        first, last = stripes.type.range()
        for index in range(first, last + 1):
            count = number(stripes[index][self.member])
            if count:
                yield index, count

    def inside(self, threads: Threads) -> list[tuple[int, int, list[Thread]]]:
        """The stripes that are not 0, each with the threads that count there."""
        size = self.value["fStripes"].type.range()[1] + 1
        return [(index, count, [each for each in threads.all if stripe_of(each, size) == index])
                for index, count in self.stripes()]


def stripe_of(thread: Thread, size: int) -> int | None:
    """The counter of a thread; None if it has none, or if its own memory cannot be read."""
    try:
        own = thread.variable(STRIPE)
    except FAULTS:
        return None
    return own % size if own else None


class Locks:
    """All that can be found; problems has what cannot."""

    def __init__(self, core: Core | None, gate: gdb.Value | None) -> None:
        self.mutexes: list[Lock] = []
        self.conditions: list[Condition] = []
        self.counters: list[Counters] = []
        self.problems: list[str] = []
        if core is not None:
            self._try("the core's lock", lambda: self._add_core(core))
        if gate is not None:
            self._try("the call gate", lambda: self._add_gate(gate))
        if core is not None:
            self._try("the configuration", lambda: self._add_manager(core))
            self._try("the events", lambda: self._add_dispatcher(core))
            self._try("the core's log", lambda: self._add_log("log of the core", core.logger()))
            self._try("the plugins' logs", lambda: self._add_logs(core))

    def _try(self, what: str, add: Callable[[], None]) -> None:
        try:
            add()
        except FAULTS as fault:
            self.problems.append(f"{what}: {reason(fault)}")

    def _add_mutex(self, name: str, mutex: gdb.Value) -> None:
        self.mutexes.append(Lock(name, mutex["fHandle"], mutex))

    def _add_condition(self, name: str, condition: gdb.Value) -> None:
        self.conditions.append(Condition(name, condition["fHandle"]))

    def _add_core(self, core: Core) -> None:
        lock = core.parts["fLock"]
        self._add_mutex("core", lock["fMutex"])
        self._add_condition("core", lock["fCondVar"])

    def _add_gate(self, gate: gdb.Value) -> None:
        self.counters.append(Counters("call gate", gate, "calls"))
        self._add_mutex("call gate", gate["fMutex"])
        self._add_condition("call gate", gate["fLeft"])

    def _add_readers(self, name: str, readers: gdb.Value) -> None:
        self.counters.append(Counters(name, readers, "readers"))
        self._add_mutex(name, readers["fMutex"])
        self._add_condition(name, readers["fLeft"])

    def _add_manager(self, core: Core) -> None:
        lock = core.manager["fLock"]
        self._add_mutex("configuration", lock["fMutex"])
        self._add_readers("configuration readers", lock["fReaders"])

    def _add_dispatcher(self, core: Core) -> None:
        self._add_mutex("events", core.dispatcher["fMutex"])
        self._add_readers("event readers", core.dispatcher["fReaders"])

    def _add_logs(self, core: Core) -> None:
        plugin = core.plugin_of_class("PLoggerPlugin")
        if plugin is None:
            return
        self._add_mutex("logs by name", plugin["fMutex"])
        if int(plugin["fDefaultLogger"]["fPtr"]):
            self._add_plugin_log("log of the plugins", plugin["fDefaultLogger"])
        for name, holder in tree(plugin["fLoggers"]):
            shown_name = shown(lambda name=name: text(name))
            self._add_plugin_log(f"log {shown_name}", holder)

    def _add_plugin_log(self, name: str, holder: gdb.Value) -> None:
        logger = expect_class(target(holder["fPtr"], "a logger"), "PLoggerImpl")
        if int(logger["fLogger"]):
            self._add_log(name, logger["fLogger"].dereference())

    def _add_log(self, name: str, logger: gdb.Value) -> None:
        if int(logger["fFile"]):
            mutex = target(logger["fFile"], "the file of the log")["fMutex"]["fMutex"]
            self.mutexes.append(Lock(name, mutex["_M_mutex"]))

    def mutex_at(self, address: int) -> Lock | None:
        return next((lock for lock in self.mutexes if lock.address == address), None)

    def condition_at(self, address: int) -> Condition | None:
        return next((each for each in self.conditions if each.has(address)), None)


def foreign_holder(address: int, threads: Threads) -> Thread | None:
    """The holder of a mutex that is not the core's, if there is a contended one at the address."""
    try:
        state = int.from_bytes(read(address, 4), "little")
        owner = int.from_bytes(read(address + OWNER_OFFSET, 4), "little")
    except FAULTS:
        return None
    return threads.of_process(owner) if state == CONTENDED else None


def symbol_at(address: int) -> str:
    """The variable at an address; empty for none."""
    try:
        said = gdb.execute(f"info symbol {address:#x}", to_string=True).strip()
    except FAULTS:
        return ""
    return "" if said.startswith("No symbol") else said


def find_gate(pointer: gdb.Value) -> gdb.Value | None:
    try:
        return target(pointer, "the call gate")
    except Problem:
        return None
