# SPDX-License-Identifier: MIT
"""Which thread waits for which other one, and why."""

from collections.abc import Iterator
from dataclasses import dataclass, field

from ixlagdb.core import Core, Record
from ixlagdb.locks import Counters, Lock, Locks, foreign_holder, symbol_at
from ixlagdb.memory import attempt, careful, number, plain, shown
from ixlagdb.threads import Thread, Threads
from ixlagdb.times import since_ticks

AWAIT_INIT = "PPluginInit::nl_awaitInit"
AWAIT_NOTIFIER = "PExitNotifier::nl_awaitNotifier"
NOTIFIER = "PExitNotifier::thNotifyCoreExit"
AWAIT_CALLS = "PCallGate::awaitCalls"
FOREIGN = "a mutex at "

# What a thread does in these functions of the core; the first one on its stack counts.
STEPS = {
    AWAIT_NOTIFIER: "the stop waits until the listeners of event.core.exit have returned",
    "PStopFlow::graceSleep": "the stop gives other threads time to end",
    AWAIT_CALLS: "the stop waits until the calls inside have left the core",
    "PConfigManager::tryCleanup": "the stop waits for the lock of the configuration",
    "PCorePlugin::releasePlugin": "releases a plugin",
    "PPluginRegistry::release": "the stop destroys the plugins and closes their libraries",
    NOTIFIER: "delivers event.core.exit",
    "PPluginLoader::loadPluginLib": "the start loads a library",
    "PStartFlow::initAutoStartList": "the start initialises the plugins of core.autostart.list",
    "PStopFlow::stopFlow": "stops the core",
    "PCoreLifetime::ixlaStop": "stops the core",
    "PStartFlow::startFlow": "starts the core",
    "PCoreLifetime::ixlaStart": "starts the core",
    "PEventDispatcher::deliver": "delivers an event",
}


@dataclass
class Wait:
    """thread waits for what; holders are the threads that can end the wait. relation is the text
    before their names, since that after them."""
    thread: Thread
    what: str
    relation: str = ""
    holders: list[Thread] = field(default_factory=list)
    since: str = ""

    def __str__(self) -> str:
        names = ", ".join(str(each) for each in self.holders) if self.relation else ""
        by = f" {self.relation} {names}" if names else ""
        return f"waits for {self.what}{by}{self.since}"


class Waits:
    """All waits of a process; problems has what cannot be read."""

    def __init__(self, core: Core | None, locks: Locks, threads: Threads) -> None:
        self.threads = threads
        self.locks = locks
        self.waits: list[Wait] = []
        self.problems: list[str] = list(locks.problems)
        if core is not None:
            self._add(self._init_waits(core), "the list of waits for initialisations")
        self._add(self._other_waits(), "the locks that threads wait for")

    def _add(self, found: Iterator[Wait], what: str) -> None:
        waits, problem = careful(found)
        self.waits += waits
        if problem:
            self.problems.append(f"{what}: {problem}")

    def of(self, thread: Thread) -> Wait | None:
        return next((wait for wait in self.waits if wait.thread is thread), None)

    def waiters(self, lock: Lock | None = None, address: int = 0) -> list[Thread]:
        """The threads that wait for a mutex."""
        wanted = lock.address if lock else address
        return [each for each in self.threads.all if each.futex == wanted]

    def circles(self) -> list[list[Wait]]:
        """The deadlocks: waits of which each is for the thread of the next one."""
        found: list[list[Wait]] = []
        for first in self.waits:
            path = self._follow(first)
            if path and not any(path[0] in circle for circle in found):
                found.append(path)
        return found

    def _follow(self, first: Wait) -> list[Wait]:
        """The circle that first is part of; empty for none."""
        path = [first]
        while len(path) <= len(self.waits):
            holders = path[-1].holders
            following = self.of(holders[0]) if len(holders) == 1 else None
            if following is None:
                return []
            if following is first:
                return path
            path.append(following)
        return []

    def _init_waits(self, core: Core) -> Iterator[Wait]:
        for entry in core.init_waits():
            thread = self.threads.find(entry.thread)
            if thread is None:
                self.problems.append(f"thread {entry.thread:#x} waits for "
                                     f"{entry.record.shown_name}, but does not exist any more")
                continue
            yield self._init_wait(thread, entry.record)

    def _init_wait(self, thread: Thread, record: Record) -> Wait:
        since = since_ticks(thread.local(AWAIT_INIT, "start"))
        holder = attempt(
            lambda: self.threads.find(record.thread) if record.initialising else None, None)
        what = f"the initialisation of {record.shown_name}"
        return Wait(thread, what, "by", [holder] if holder else [], since)

    def _other_waits(self) -> Iterator[Wait]:
        for thread in self.threads.all:
            if self.of(thread) is None and thread.futex:
                found = (self._stop_wait(thread) or self._mutex_wait(thread)
                         or self._other_wait(thread))
                if found:
                    yield found

    def _stop_wait(self, thread: Thread) -> Wait | None:
        if thread.executes(AWAIT_NOTIFIER):
            notifiers = [each for each in self.threads.all if each.executes(NOTIFIER)]
            return Wait(thread, "the listeners of event.core.exit", "on", notifiers)
        if thread.executes(AWAIT_CALLS):
            gate = next((each for each in self.locks.counters if each.member == "calls"), None)
            inside = self._inside(gate, thread) if gate else []
            return Wait(thread, "the calls inside the core", "of", inside)
        return None

    def _inside(self, counters: Counters, closer: Thread) -> list[Thread]:
        found = []
        for _, _, threads in counters.inside(self.threads):
            found += [each for each in threads if each is not closer]
        return found

    def _mutex_wait(self, thread: Thread) -> Wait | None:
        lock = self.locks.mutex_at(thread.futex)
        if lock:
            holder = self.threads.of_process(lock.holder)
            return Wait(thread, f"the lock \"{lock.name}\"", "held by",
                        [holder] if holder else [])
        holder = foreign_holder(thread.futex, self.threads)
        if holder is None:
            return None
        symbol = plain(symbol_at(thread.futex))
        name = f" ({symbol})" if symbol else ""
        return Wait(thread, f"{FOREIGN}{thread.futex:#x}{name}", "held by", [holder])

    def _other_wait(self, thread: Thread) -> Wait | None:
        ending = self.threads.ending_at(thread.futex)
        if ending:
            return Wait(thread, f"the end of {ending}", "", [ending])
        condition = self.locks.condition_at(thread.futex)
        if condition:
            return Wait(thread, f"a notification of \"{condition.name}\"")
        if not thread.executes("pthread_cond_wait", "__pthread_cond_wait",
                               "pthread_cond_timedwait", "__pthread_cond_timedwait64"):
            return None
        symbol = plain(symbol_at(thread.futex))
        return Wait(thread, "a condition variable" + (f" ({symbol})" if symbol else ""))


def step(thread: Thread) -> str:
    """What a thread does for the core; empty for nothing."""
    names = {frame.name for frame in thread.frames}
    return next((doing for name, doing in STEPS.items() if name in names), "")


def exit_notice(core: Core) -> str:
    """How far the notification of the stop is; empty before the stop."""
    states = ("starting", "listeners run", "reporting", "done", "abandoned")
    pointer = core.parts["fNotifier"]["fExitNotice"]["_M_ptr"]
    if not int(pointer):
        return ""
    state = number(pointer["fState"])
    return states[state] if 0 <= state < len(states) else shown(lambda: f"<damaged: {state}>")
