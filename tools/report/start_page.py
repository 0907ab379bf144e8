# SPDX-License-Identifier: MIT
"""Formats a start as a table, a page and JSON."""

from html import escape
from typing import Any

from start_chart import Chart, outcome, summary
from start_log import Log, Plugin, Start
from start_text import memory_text, plain, time_text

COLUMNS = ("PLUGIN", "LOAD", "INIT", "OWN", "WAITED", "MEMORY", "RESULT")
NUMBERS = range(1, 6)  # the right-aligned columns
SORT_KEYS = ("time", "own", "wait", "memory", "name", "begin")

PAGE = """<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>{title}</title>
<style>
body {{ margin: 24px; background: #ffffff; color: #1f2933;
  font: 14px "DejaVu Sans", "Segoe UI", Helvetica, Arial, sans-serif }}
svg {{ max-width: 100%; height: auto; border: 1px solid #d9e2ec }}
table {{ border-collapse: collapse; margin: 16px 0 }}
th, td {{ padding: 4px 12px; border-bottom: 1px solid #d9e2ec; text-align: left;
  vertical-align: top; overflow-wrap: anywhere }}
th {{ background: #f5f7fa }}
td.number, th.number {{ text-align: right; white-space: nowrap }}
.warn {{ color: #a61b1b; font-weight: bold }}
</style></head><body>
{body}
</body></html>
"""


def _wait_time(start: Start, plugin: Plugin) -> int:
    return sum(start.length(wait) for init in plugin.inits for wait in init.waits)


def _own_time(start: Start, plugin: Plugin) -> int:
    return sum(start.own_time(init) for init in plugin.inits)


def _init_time(start: Start, plugin: Plugin) -> int:
    return sum(start.length(init) for init in plugin.inits)


def _memory(plugin: Plugin) -> int | None:
    amounts = [plugin.memory, *(init.memory for init in plugin.inits)]
    known = [amount for amount in amounts if amount is not None]
    return sum(known) if known else None


def sorted_plugins(start: Start, key: str) -> list[Plugin]:
    """The plugins of the table, the most expensive first."""
    shown = [plugin for plugin in start.plugins if plugin.path or plugin.inits]
    order = {
        "time": lambda plugin: -(plugin.load_time or 0) - _init_time(start, plugin),
        "own": lambda plugin: -_own_time(start, plugin),
        "wait": lambda plugin: -_wait_time(start, plugin),
        "memory": lambda plugin: -(_memory(plugin) or 0),
        "name": lambda plugin: plugin.name,
        "begin": lambda plugin: min([plugin.load_begin or start.last,
                                     *(init.begin for init in plugin.inits)]),
    }[key]
    return sorted(shown, key=order)


def _result(plugin: Plugin) -> str:
    if plugin.problem:
        return plugin.problem
    if plugin.inits:
        return outcome(plugin.inits[-1])
    return "loaded" if plugin.load_end is not None else "loading not ended"


def _cells(start: Start, plugin: Plugin) -> list[str]:
    waits = [wait for init in plugin.inits for wait in init.waits]
    names = list(dict.fromkeys(wait.plugin.name for wait in waits))
    memory = _memory(plugin)
    more = f" and {len(names) - 3} more" if len(names) > 3 else ""
    waited = (f"{time_text(_wait_time(start, plugin))} for {', '.join(names[:3])}{more}" if waits
              else "")
    inits = plugin.inits
    return [plain(cell) for cell in (
        plugin.name,
        "" if plugin.load_time is None else time_text(plugin.load_time),
        time_text(_init_time(start, plugin)) if inits else "",
        time_text(_own_time(start, plugin)) if inits else "",
        waited,
        "" if memory is None else memory_text(memory),
        _result(plugin))]


def _remarks(log: Log, start: Start, name: str) -> list[str]:
    """Limits of the figures."""
    remarks = []
    if not start.complete:
        remarks.append(f"{start.place}: the log begins in the middle; give its older parts, such "
                       f"as {name}.1, too")
    remarks += start.doubts
    if log.strange_count:
        remarks.append(f"{log.strange_count} lines are not log lines: "
                       + ", ".join(log.strange) + (", ..." if log.strange_count > 5 else ""))
    if log.foreign_count:
        remarks.append(f"{log.foreign_count} lines are not those of a core")
    return [plain(remark) for remark in remarks]


def _waiters(start: Start) -> list[str]:
    """The waits that the core has logged, and those outside of all plugins."""
    texts = []
    for wait in start.waits:
        length = time_text(start.length(wait)) + ("" if wait.end is not None else " and on")
        if wait.chain and not wait.circle:
            texts.append(f"{length}: {wait.chain}")
        elif not wait.inside and not wait.circle:
            texts.append(f"{length}: thread {wait.thread} waited for {wait.plugin.name}")
    return [plain(text) for text in texts]


def _problems(start: Start) -> list[str]:
    """The errors, without the deadlocks, which have a list of their own."""
    return [plain(f"{problem.place}: {problem.text}") for problem in start.problems
            if not problem.text.endswith("(circle)")]


def _sections(log: Log, start: Start, name: str) -> list[tuple[str, list[str]]]:
    return [("Deadlocks: the threads of these circles wait for ever",
             [plain(circle) for circle in start.circles()]),
            ("Waits", _waiters(start)),
            ("Errors in the log", _problems(start)),
            ("Not understood", _remarks(log, start, name))]


def _heading(log: Log, start: Start, name: str) -> str:
    number = log.starts.index(start) + 1
    which = f", start {number} of {len(log.starts)}" if len(log.starts) > 1 else ""
    core = f", core {start.version}" if start.version else ""
    return plain(f"{name}{which}: process {start.process}{core}")


def text(log: Log, start: Start, name: str, sort: str) -> str:
    """The report for a terminal."""
    rows = [list(COLUMNS), *(_cells(start, plugin) for plugin in sorted_plugins(start, sort))]
    widths = [max(len(row[i]) for row in rows) for i in range(len(COLUMNS))]
    lines = [_heading(log, start, name), summary(start), ""]
    for row in rows:
        cells = [cell.rjust(width) if i in NUMBERS else cell.ljust(width)
                 for i, (cell, width) in enumerate(zip(row, widths))]
        lines.append("  ".join(cells).rstrip())
    for title, entries in _sections(log, start, name):
        if entries:
            lines += ["", f"{title}:"]
            lines += [f"  {entry}" for entry in _first(entries)]
    return "\n".join(lines) + "\n"


def _first(entries: list[str]) -> list[str]:
    most = 20
    if len(entries) <= most:
        return entries
    return [*entries[:most], f"... and {len(entries) - most} more"]


def html(log: Log, start: Start, name: str, sort: str) -> str:
    """The picture and the table on one page."""
    heading = escape(_heading(log, start, name))
    parts = [f"<h1>{heading}</h1>", f"<p>{escape(summary(start))}</p>"]
    sections = _sections(log, start, name)
    parts += _list(*sections[0], "warn")
    parts += [Chart(start, with_notes=False).svg(), "<table>",
              _row([column.capitalize() for column in COLUMNS], "th")]
    parts += [_row(_cells(start, plugin), "td") for plugin in sorted_plugins(start, sort)]
    parts.append("</table>")
    for title, entries in sections[1:]:
        parts += _list(title, _first(entries), "")
    return PAGE.format(title=heading, body="\n".join(parts))


def _row(cells: list[str], tag: str) -> str:
    return "<tr>" + "".join(
        f"<{tag}{' class=number' if i in NUMBERS else ''}>{escape(cell)}</{tag}>"
        for i, cell in enumerate(cells)) + "</tr>"


def _list(title: str, entries: list[str], kind: str) -> list[str]:
    if not entries:
        return []
    items = "".join(f"<li>{escape(entry)}</li>" for entry in entries)
    return [f'<h2 class="{kind}">{escape(title)}</h2>', f'<ul class="{kind}">{items}</ul>']


def data(log: Log, start: Start, name: str, sort: str) -> dict[str, Any]:
    """The report for programs; times are milliseconds since the start, memory is in bytes."""
    def since(moment: int | None) -> int | None:
        return None if moment is None else moment - start.begin

    plugins = [{
        "name": plain(plugin.name), "path": plain(plugin.path),
        "interfaces": [plain(interface) for interface in plugin.interfaces],
        "loadBegin": since(plugin.load_begin), "loadEnd": since(plugin.load_end),
        "memory": plugin.memory, "problem": plain(plugin.problem),
        "inits": [{
            "thread": init.thread, "begin": since(init.begin), "end": since(init.end),
            "result": init.result, "own": start.own_time(init), "memory": init.memory,
            "inside": [plain(inner.plugin.name) for inner in init.nested]}
            for init in plugin.inits]}
        for plugin in sorted_plugins(start, sort)]
    waits = [{
        "thread": wait.thread, "for": plain(wait.plugin.name), "begin": since(wait.begin),
        "end": since(wait.end), "inside": plain(wait.inside.plugin.name) if wait.inside else None,
        "chain": plain(wait.chain), "circle": wait.circle} for wait in start.waits]
    return {"start": log.starts.index(start) + 1, "starts": len(log.starts),
            "process": start.process, "version": plain(start.version), "complete": start.complete,
            "started": since(start.started), "failed": start.failed, "plugins": plugins,
            "waits": waits, "circles": [plain(circle) for circle in start.circles()],
            "errors": _problems(start), "notUnderstood": _remarks(log, start, name)}
