# SPDX-License-Identifier: MIT
"""The commands. Each prints text, and ends with one line about what cannot be read."""

from collections.abc import Callable, Iterator

import gdb

from ixlagdb import config, events, status
from ixlagdb.core import Core, Record, require_library, static
from ixlagdb.locks import Counters, Lock, Locks, find_gate
from ixlagdb.memory import FAULTS, attempt, careful, plain, reason, shown
from ixlagdb.threads import Thread, Threads
from ixlagdb.times import Begins
from ixlagdb.waits import FOREIGN, Waits

GAP = "  "


class Prefix(gdb.Command):
    """Show the core of ixlal in this process or core dump. No code of the process is run."""

    def __init__(self) -> None:
        super().__init__("ixla", gdb.COMMAND_STATUS, prefix=True)


class Command(gdb.Command):
    """A subcommand, which prints the lines of a function."""

    def __init__(self, name: str) -> None:
        self.__doc__ = COMMANDS[name].__doc__
        self.name = name
        super().__init__(f"ixla {name}", gdb.COMMAND_STATUS)

    def invoke(self, argument: str, from_tty: bool) -> None:
        """Never passes on an exception with a traceback."""
        text, problem = run(f"{self.name} {argument}")
        print(text, end="")
        if problem:
            raise gdb.GdbError(problem)


def run(command: str) -> tuple[str, str]:
    """The output of a command with its argument, and why it ended early; empty at its end."""
    name, _, argument = command.strip().partition(" ")
    if argument and name not in WITH_ARGUMENT:
        return "", f"ixla {name}: takes no argument; see \"help ixla\""
    lines = COMMANDS[name]
    found, problem = careful(lines(argument.strip()) if name in WITH_ARGUMENT else lines())
    return "".join(f"{line}\n" for line in found), f"ixla {name}: {problem}" if problem else ""


def table(headings: tuple[str, ...], rows: list[tuple[str, ...]]) -> Iterator[str]:
    """Aligned columns."""
    everything = [headings, *rows]
    widths = [max(len(row[column]) for row in everything) for column in range(len(headings))]
    for row in everything:
        yield GAP.join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip()


def _damaged(what: str, problem: str) -> Iterator[str]:
    if problem:
        yield f"{what}: cannot be read further: {problem}"


def show_status() -> Iterator[str]:
    """Show the state of the core, its plugins, waits, log and libraries: ixla status"""
    for title, said in status.lines():
        yield f"{title:<12}{said}"


def show_plugins() -> Iterator[str]:
    """List the plugins in the order of loading, then the unloaded ones: ixla plugins
    ORDER is the number of the initialisation. THREAD runs or has run it."""
    core, threads = Core.require(), Threads()
    records, problem = careful(core.records())
    unloaded, further = careful(core.unloaded())
    begins = Begins(core)
    rows = [_plugin_row(record, threads, begins) for record in records + unloaded]
    yield from table(("NO", "STATE", "ORDER", "THREAD", "PLUGIN", "LIBRARY", "INTERFACES"), rows)
    yield from _damaged("the list of plugins", problem)
    yield from _damaged("the list of unloaded plugins", further)


def _plugin_row(record: Record, threads: Threads, begins: Begins) -> tuple[str, ...]:
    return (shown(lambda: int(record.value["fNumber"])),
            shown(lambda: _state(record, begins)),
            shown(lambda: record.order or "-"),
            shown(lambda: _short_name(record.thread, threads)),
            shown(lambda: f"{record.plugin:#x}"),
            shown(lambda: record.library or ("-" if record.unloaded else "built in")),
            shown(lambda: " ".join(record.interfaces()) or "-"))


def _state(record: Record, begins: Begins) -> str:
    return record.state_text + (begins.of(record.plugin) if record.initialising else "")


def _short_name(handle: int, threads: Threads) -> str:
    if not handle:
        return "-"
    found = threads.find(handle)
    return str(found.number) if found else "ended"


def show_interfaces() -> Iterator[str]:
    """List the interface IDs with the plugins that offer them: ixla interfaces"""
    core = Core.require()
    found, problem = careful(core.interfaces())
    rows = []
    for name, record in sorted(found, key=lambda entry: entry[0]):
        rows.append((name, record.shown_name if record else "-",
                     shown(lambda record=record: record.state_text) if record
                     else "withdrawn: its plugin was unloaded"))
    yield from table(("INTERFACE", "PLUGIN", "STATE"), rows)
    yield from _damaged("the table of interfaces", problem)


def show_waits() -> Iterator[str]:
    """Show which thread initialises a plugin, which waits for which other thread, since when, and
    the deadlocks: ixla waits
    The begin of an initialisation is taken from the core's log, if that can be read."""
    require_library()
    core, threads = Core.find(), Threads()
    waits = _find_waits(core, threads)
    busy = list(_initialising(core)) if core else []
    begins = Begins(core) if core else None
    said = False
    for thread in threads.all:
        lines = [f"  initialises {record.shown_name}{begins.of(record.plugin)}"
                 for record in busy if threads.find(record.thread) is thread]
        wait = waits.of(thread)
        lines += [f"  {wait}"] if wait else []
        if lines:
            said = True
            yield from _with_place(thread, lines)
    yield from _lost(busy, threads)
    if not said:
        yield "no thread initialises a plugin or waits for another one"
    yield from _circles(waits)
    yield from (f"cannot be read: {problem}" for problem in waits.problems)


def _find_waits(core: Core | None, threads: Threads) -> Waits:
    return Waits(core, Locks(core, find_gate(static("PCoreLifetime::fGate"))), threads)


def _initialising(core: Core) -> list[Record]:
    """The plugins that are being initialised, in the order of their begin."""
    found = [record for record in careful(core.records())[0] + careful(core.unloaded())[0]
             if attempt(lambda record=record: record.initialising, False)]
    return sorted(found, key=lambda record: record.order)


def _with_place(thread: Thread, lines: list[str]) -> Iterator[str]:
    yield str(thread)
    yield from lines
    if thread.place:
        yield f"  in {thread.place}"


def _lost(busy: list[Record], threads: Threads) -> Iterator[str]:
    for record in busy:
        if threads.find(record.thread) is None:
            yield f"{record.shown_name} is initialised by {threads.name(record.thread)}"


def _circles(waits: Waits) -> Iterator[str]:
    for circle in waits.circles():
        yield "deadlock:"
        for wait in circle:
            yield f"  {wait.thread} {wait}"


def show_locks() -> Iterator[str]:
    """Show the locks of the core and its services, who holds them and who waits, the counters of
    calls and readers, and other mutexes that threads wait for: ixla locks"""
    require_library()
    core, threads = Core.find(), Threads()
    gate = find_gate(static("PCoreLifetime::fGate"))
    waits = Waits(core, Locks(core, gate), threads)
    rows = [_lock_row(lock, waits) for lock in waits.locks.mutexes]
    yield from table(("LOCK", "STATE", "WAITING"), rows + list(_foreign_rows(waits)))
    yield ""
    yield from table(("COUNTER", "STATE", "INSIDE"),
                     [_counter_row(each, threads) for each in waits.locks.counters])
    yield from (f"cannot be read: {problem}" for problem in waits.problems)


def _lock_row(lock: Lock, waits: Waits) -> tuple[str, ...]:
    return (lock.name, shown(lambda: _lock_state(lock, waits.threads)),
            _names(waits.waiters(lock)))


def _lock_state(lock: Lock, threads: Threads) -> str:
    if not lock.is_open:
        return "not open"
    if not lock.is_held:
        return "free"
    holder = threads.of_process(lock.holder)
    depth = int(lock.wrapper["fDepth"]) if lock.wrapper is not None else 1
    times = f", {depth} times" if depth > 1 else ""
    return f"held by {holder or f'LWP {lock.holder}, which does not exist any more'}{times}"


def _names(threads: list[Thread]) -> str:
    return ", ".join(str(each) for each in threads) or "-"


def _foreign_rows(waits: Waits) -> Iterator[tuple[str, ...]]:
    """Mutexes that are not the core's."""
    known: set[int] = set()
    for wait in waits.waits:
        address = wait.thread.futex
        if wait.what.startswith(FOREIGN) and address not in known:
            known.add(address)
            yield (wait.what.removeprefix("a "), f"held by {_names(wait.holders)}",
                   _names(waits.waiters(address=address)))


def _counter_row(counters: Counters, threads: Threads) -> tuple[str, ...]:
    inside = shown(lambda: "; ".join(f"{count} by {_names(found)} (counter {index})"
                                     for index, count, found in counters.inside(threads)) or "-")
    return counters.name, shown(lambda: "closed" if counters.closed else "open"), inside


def show_listeners() -> Iterator[str]:
    """List the listeners of each topic in the order of subscription, the deliveries in progress, and
    the topics that hear of changes of configurations: ixla listeners"""
    core, threads = Core.require(), Threads()
    topics, problem = careful(events.topics(core, threads.libraries))
    for topic in topics:
        yield topic.name
        yield from (f"  {listener}" for listener in topic.listeners)
        yield from _damaged(f"the listeners of {topic.name}", topic.problem)
    if not topics and not problem:
        yield "no topic has a listener"
    yield from _damaged("the topics", problem)
    yield from _deliveries(core, threads, {topic.address: topic.name for topic in topics})
    changes, problem = careful(config.listeners(core))
    yield from (f"changes of {name} are sent to {', '.join(found)}" for name, found in changes)
    yield from _damaged("the listeners of configurations", problem)


def _deliveries(core: Core, threads: Threads, names: dict[int, str]) -> Iterator[str]:
    found, problem = careful(events.deliveries(core, threads))
    for address, users in found:
        name = names.get(address, f"a topic whose list {address:#x} was replaced")
        yield f"delivery of {name} by {_names(users)}"
    yield from _damaged("the deliveries", problem)


def show_config(name: str) -> Iterator[str]:
    """Show the values in memory of a configuration: ixla config ID, or ixla config --core
    These are the run-time values, the values of the store as it was read, and the list of files; the
    values of files are in memory only where a plugin holds them. --core shows the core's own
    configuration. Without an ID: the IDs."""
    core = Core.require()
    if name == "--core":
        yield from _values("the core's own configuration", lambda: config.own(core))
    elif name:
        yield from _config_of(core, plain(name))
    else:
        yield from _config_ids(core)


def _values(title: str, find: Callable[[], gdb.Value], prefix: str = "") -> Iterator[str]:
    yield f"{title}:"
    try:
        found, problem = careful(config.records(find()))
    except FAULTS as fault:
        found, problem = [], reason(fault)
    mine = sorted((key[len(prefix):], config.value_text(value)) for key, value in found
                  if key.startswith(prefix))
    yield from (f"  {key} = {value}" for key, value in mine)
    if not mine and not problem:
        yield "  none"
    yield from _damaged("  the values", problem)


def _config_of(core: Core, name: str) -> Iterator[str]:
    tables, problem = careful(config.run_time_tables(core))
    found = dict(tables)
    if name in found:
        yield from _values("run-time values", lambda: found[name])
    else:
        yield "run-time values:"
        yield "  none"
    yield from _damaged("the run-time values", problem)
    yield from _stored_values(core, name + config.SEPARATOR)
    files = {key: value for key, value in careful(config.records(config.listed(core)))[0]}
    yield f"files: {config.value_text(files[name]) if name in files else 'none'}"
    topics = dict(careful(config.listeners(core))[0]).get(name, [])
    yield f"topics: {', '.join(topics) or 'none'}"


def _stored_values(core: Core, prefix: str) -> Iterator[str]:
    title = f"stored values (store: {config.store_text(core)})"
    values = config.stored(core)
    if values is None:
        yield f"{title}: none"
    else:
        yield from _values(title, lambda: values, prefix)


def _config_ids(core: Core) -> Iterator[str]:
    rows: dict[str, list[str]] = {}
    tables, problem = careful(config.run_time_tables(core))
    for name, values in tables:
        rows.setdefault(name, []).append(
            shown(lambda values=values: f"{int(values['fCount'])} run-time values"))
    for name, count in _stored_counts(core).items():
        rows.setdefault(name, []).append(f"{count} stored values")
    listed, further = careful(_listed(core))
    for name, files in listed:
        rows.setdefault(name, []).append(f"files {files}")
    yield from table(("ID", "IN MEMORY"),
                     [(name, ", ".join(rows[name])) for name in sorted(rows)])
    yield from _damaged("the run-time values", problem)
    yield from _damaged("the manager's configuration", further)


def _stored_counts(core: Core) -> dict[str, int]:
    values = config.stored(core)
    counts: dict[str, int] = {}
    for key, _ in careful(config.records(values))[0] if values is not None else []:
        name = key.split(config.SEPARATOR, 1)[0]
        counts[name] = counts.get(name, 0) + 1
    return counts


def _listed(core: Core) -> Iterator[tuple[str, str]]:
    for key, value in config.records(config.listed(core)):
        yield key, config.value_text(value)


COMMANDS = {"status": show_status, "plugins": show_plugins, "waits": show_waits,
            "interfaces": show_interfaces, "listeners": show_listeners, "locks": show_locks,
            "config": show_config}
WITH_ARGUMENT = ("config",)


def register() -> None:
    Prefix()
    for name in COMMANDS:
        Command(name)
