# SPDX-License-Identifier: MIT
"""Selects and sorts what a start has done, by plugin."""

from collections.abc import Callable
from dataclasses import dataclass
from typing import Any

from start_model import Init, Plugin, Start, Wait
from start_text import code_text

SORT_KEYS = ("init", "time", "own", "wait", "memory", "name", "begin")


@dataclass
class Row:
    """A plugin, or a thread that waits outside of all plugins."""
    name: str
    title: str
    plugin: Plugin | None
    inits: list[Init]
    waits: list[Wait]  # of a thread


def wait_time(start: Start, plugin: Plugin) -> int:
    return sum(start.length(wait) for init in plugin.inits for wait in init.waits)


def own_time(start: Start, plugin: Plugin) -> int:
    return sum(start.own_time(init) for init in plugin.inits)


def init_time(start: Start, plugin: Plugin) -> int:
    return sum(start.length(init) for init in plugin.inits)


def memory(plugin: Plugin) -> int | None:
    """What the process grew by; None if the log does not have it."""
    amounts = [plugin.memory, *(init.memory for init in plugin.inits)]
    known = [amount for amount in amounts if amount is not None]
    return sum(known) if known else None


def shown_plugins(start: Start) -> list[Plugin]:
    return [plugin for plugin in start.plugins if plugin.path or plugin.inits]


def sorted_plugins(start: Start, key: str) -> list[Plugin]:
    """The plugins in the order of the key, one of SORT_KEYS; times and memory are descending."""
    return sorted(shown_plugins(start), key=_orders(start)[key])


def _orders(start: Start) -> dict[str, Callable[[Plugin], Any]]:
    return {
        "init": lambda plugin: _init_order(start, plugin),
        "time": lambda plugin: -(plugin.load_time or 0) - init_time(start, plugin),
        "own": lambda plugin: -own_time(start, plugin),
        "wait": lambda plugin: -wait_time(start, plugin),
        "memory": lambda plugin: -(memory(plugin) or 0),
        "name": lambda plugin: plugin.name,
        "begin": lambda plugin: min([_load_begin(start, plugin),
                                     *(init.begin for init in plugin.inits)])}


def _load_begin(start: Start, plugin: Plugin) -> int:
    return start.last if plugin.load_begin is None else plugin.load_begin


def _init_order(start: Start, plugin: Plugin) -> tuple[bool, int]:
    """Plugins that were not initialised come last, in the order of their loading."""
    if plugin.inits:
        return False, min(init.begin for init in plugin.inits)
    return True, _load_begin(start, plugin)


def rows(start: Start, key: str) -> list[Row]:
    """The rows of a picture. Waiting threads stand between the plugins only in the order of
    initialisation, because a thread has none of the other properties."""
    plugins = [Row(plugin.name, plugin.path or plugin.name, plugin, plugin.inits, [])
               for plugin in sorted_plugins(start, key)]
    outside: dict[int, list[Wait]] = {}
    for wait in start.waits:
        if not wait.inside:
            outside.setdefault(wait.thread, []).append(wait)
    threads = [Row(f"thread {thread}", f"thread {thread}, outside any plugin", None, [], waits)
               for thread, waits in outside.items()]
    if key != "init":
        return plugins + threads
    return sorted(plugins + threads, key=lambda row: _row_order(start, row))


def _row_order(start: Start, row: Row) -> tuple[bool, int]:
    if row.plugin:
        return _init_order(start, row.plugin)
    return False, row.waits[0].begin


def outcome(init: Init) -> str:
    """The result of an initialisation."""
    if init.end is None:
        return "not ended"
    return "initialised" if init.result == 0 else f"failed with {code_text(init.result or 0)}"


def result(plugin: Plugin) -> str:
    """The result of loading and initialising a plugin."""
    if plugin.problem:
        return plugin.problem
    if plugin.inits:
        return outcome(plugin.inits[-1])
    return "loaded" if plugin.load_end is not None else "loading not ended"


def requested_by(init: Init) -> str:
    """What is known of the request for an initialisation."""
    if init.inside:
        return init.inside.plugin.name
    return "core.autostart.list" if init.autostart else f"thread {init.thread}"
