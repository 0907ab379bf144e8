# SPDX-License-Identifier: MIT
"""A summary of the core."""

import signal
from collections import Counter
from collections.abc import Iterator

import gdb

from ixlagdb.core import (LIBRARY, OWN_LIBRARIES, Core, absence, is_changing, is_parents, kept_cores,
                          static)
from ixlagdb.locks import Locks, find_gate
from ixlagdb.memory import attempt, base_name, careful, number, plain, shown
from ixlagdb.threads import Threads
from ixlagdb.times import log_path
from ixlagdb.waits import Waits, exit_notice, step

FATAL = ("SIGABRT", "SIGBUS", "SIGFPE", "SIGILL", "SIGQUIT", "SIGSEGV", "SIGSYS", "SIGTRAP",
         "SIGXCPU", "SIGXFSZ")


def lines() -> Iterator[tuple[str, str]]:
    """Titles and texts."""
    core, threads = Core.find(), Threads()
    yield "core", shown(lambda: _state(core, threads))
    for kept in careful(kept_cores())[0]:
        yield "", f"at {kept.address:#x}: was stopped, but calls did not leave it"
    for thread in threads.all:
        doing = step(thread)
        if doing:
            yield "", f"{thread}: {doing}"
    fatal = attempt(_fatal_signal, "")
    if fatal:
        yield "signal", f"{fatal} in {shown(lambda: _signalled(threads))}"
    if core is not None:
        yield from _parts(core, threads)
    yield "threads", str(len(threads.all))
    yield from _libraries()


def _parts(core: Core, threads: Threads) -> Iterator[tuple[str, str]]:
    yield "plugins", shown(lambda: _plugins(core))
    gate = find_gate(static("PCoreLifetime::fGate"))
    locks = Locks(core, gate)
    yield "call gate", shown(lambda: _gate(locks, gate))
    notice = shown(lambda: exit_notice(core))
    if notice:
        yield "exit event", notice
    yield "waits", shown(lambda: _waits(Waits(core, locks, threads)))
    yield "core log", shown(lambda: _log(core))


def _fatal_signal() -> str:
    """The signal that the process died of; empty for none."""
    number = int(gdb.parse_and_eval("$_siginfo.si_signo"))
    name = signal.Signals(number).name
    return name if name in FATAL else ""


def _signalled(threads: Threads) -> str:
    current = gdb.selected_thread()
    thread = next(each for each in threads.all if each.number == current.num)
    return f"{thread}, {thread.place}" if thread.place else str(thread)


def _state(core: Core | None, threads: Threads) -> str:
    if core is None:
        return f"none: {absence()}"
    state = "started" if core.started else "not started"
    if is_parents():
        state = "belongs to the parent of this process, which was forked from it"
    elif any(each.executes("PCoreLifetime::ixlaStop") for each in threads.all):
        state = "stopping"
    elif any(each.executes("PCoreLifetime::ixlaStart") for each in threads.all):
        state = "starting"
    elif is_changing():
        state += ", and being started or stopped"
    return f"{state}, at {core.address:#x}"


def _plugins(core: Core) -> str:
    records, problem = careful(core.records())
    counts = Counter(shown(lambda record=record: record.state_text) for record in records)
    states = ", ".join(f"{count} {state}" for state, count in sorted(counts.items()))
    fault = f"; the list is damaged: {problem}" if problem else ""
    return f"{len(records)}" + (f": {states}" if states else "") + fault


def _gate(locks: Locks, gate: gdb.Value | None) -> str:
    if gate is None:
        return "none"
    counters = next(each for each in locks.counters if each.member == "calls")
    inside = sum(count for _, count in counters.stripes())
    return f"{'closed' if counters.closed else 'open'}, {inside} calls inside"


def _waits(waits: Waits) -> str:
    count, circles = len(waits.waits), len(waits.circles())
    fault = "; not all can be read" if waits.problems else ""
    if circles:
        return f"{count} threads, deadlock; see \"ixla waits\"{fault}"
    return (f"{count} threads; see \"ixla waits\"" if count else "none") + fault


def _log(core: Core) -> str:
    pointer = core.parts["fLog"]["fLogger"]
    if not number(pointer):
        return "none"
    if not int(core.logger()["fFile"]):
        return "disabled"
    level = int(core.logger()["fLevel"])
    return f"{plain(log_path(core))}, level {level}"


def _libraries() -> Iterator[tuple[str, str]]:
    title = "libraries"
    for objfile in gdb.objfiles():
        name = base_name(objfile.filename or "")
        if name.startswith(OWN_LIBRARIES) and objfile.owner is None:
            build = objfile.build_id or "none"
            yield title, f"{plain(objfile.filename)}, build ID {build}"
            title = ""
    if title:
        yield title, f"{LIBRARY} is not loaded"
