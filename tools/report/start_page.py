# SPDX-License-Identifier: MIT
"""Formats a start as a table, a page and JSON."""

from collections.abc import Callable
from html import escape
from typing import Any

import start_style
from start_chart import Chart, summary
from start_model import Log, Plugin, Start
from start_path import critical_path, shares
from start_rows import init_time, memory, own_time, requested_by, result, sorted_plugins, wait_time
from start_text import memory_text, plain, span_text, time_text

COLUMNS = ("PLUGIN", "LOAD", "INIT", "OWN", "WAITED", "MEMORY", "RESULT")
MOST_SHARES = 6  # of the critical path

PAGE = """<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark"><title>{title}</title>
<style>
{style}{narrow}</style></head><body>
{body}
</body></html>
"""

RULES = """
body {{ margin: 24px; background: {paper}; color: {ink}; font: 14px/1.4 {fonts} }}
h1 {{ font-size: 20px; overflow-wrap: anywhere }}
h2 {{ font-size: 16px }}
li {{ overflow-wrap: anywhere }}
.picture {{ overflow-x: auto; border: 1px solid {grid} }}
.picture svg {{ display: block; width: 100%; min-width: 1000px; height: auto }}
table {{ border-collapse: collapse; margin: 16px 0 }}
th, td {{ padding: 4px 12px; border-bottom: 1px solid {grid}; text-align: left }}
th, td {{ vertical-align: top; overflow-wrap: anywhere }}
th {{ background: {odd} }}
td.number, th.number {{ text-align: right; white-space: nowrap }}
td.failed, .warn {{ color: {failed-text}; font-weight: bold }}
"""

# A table with more columns than fit becomes a list with one block for each row.
NARROW = """@media (max-width: 720px) {
body { margin: 12px }
table, tbody, tr, td { display: block }
tr.head { display: none }
tr { padding: 8px 0; border-bottom: 1px solid gray }
td, td.number { display: flex; gap: 12px; padding: 1px 0; border: 0; text-align: left;
  white-space: normal }
td:empty { display: none }
td:first-child { font-weight: bold }
td + td::before { content: attr(data-label); flex: 0 0 72px; font-weight: normal; opacity: 0.7 }
}
"""


def _cells(start: Start, plugin: Plugin, shown: Callable[[int], str]) -> list[str]:
    """The row of a plugin in the table, with its times as shown."""
    waits = [wait for init in plugin.inits for wait in init.waits]
    names = list(dict.fromkeys(wait.plugin.name for wait in waits))
    grown = memory(plugin)
    more = f" and {len(names) - 3} more" if len(names) > 3 else ""
    waited = (f"{shown(wait_time(start, plugin))} for {', '.join(names[:3])}{more}" if waits
              else "")
    inits = plugin.inits
    return [plain(cell) for cell in (
        plugin.name,
        "" if plugin.load_time is None else shown(plugin.load_time),
        shown(init_time(start, plugin)) if inits else "",
        shown(own_time(start, plugin)) if inits else "",
        waited,
        "" if grown is None else memory_text(grown),
        result(plugin))]


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


def _path(start: Start) -> list[str]:
    """What the critical path consists of."""
    parts = shares(critical_path(start))
    shown = [f"{time_text(time)}: {what}" for what, time in parts[:MOST_SHARES]]
    rest = [time for _, time in parts[MOST_SHARES:]]
    more = [f"{time_text(sum(rest))}: {len(rest)} more"] if rest else []
    return [plain(text) for text in shown + more]


def _sections(log: Log, start: Start, name: str) -> list[tuple[str, list[str]]]:
    return [("Deadlocks: the threads of these circles wait for ever",
             [plain(circle) for circle in start.circles()]),
            ("Critical path", _path(start)),
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
    rows = [_cells(start, plugin, time_text) for plugin in sorted_plugins(start, sort)]
    lines = [_heading(log, start, name), summary(start), "", *columns_of(COLUMNS, rows)]
    for title, entries in _sections(log, start, name):
        if entries:
            lines += ["", f"{title}:"]
            lines += [f"  {entry}" for entry in _first(entries)]
    return "\n".join(lines) + "\n"


def columns_of(names: tuple[str, ...], rows: list[list[str]]) -> list[str]:
    """The lines of a table; the columns between the first and the last are right-aligned."""
    whole = [list(names), *rows]
    widths = [max(len(row[i]) for row in whole) for i in range(len(names))]
    return ["  ".join(cell.rjust(width) if 0 < i < len(names) - 1 else cell.ljust(width)
                      for i, (cell, width) in enumerate(zip(row, widths))).rstrip()
            for row in whole]


def _first(entries: list[str]) -> list[str]:
    most = 20
    if len(entries) <= most:
        return entries
    return [*entries[:most], f"... and {len(entries) - most} more"]


def html(log: Log, start: Start, name: str, sort: str) -> str:
    """The picture and the table on one page."""
    heading = _heading(log, start, name)
    parts = [f"<p>{escape(summary(start))}</p>"]
    sections = _sections(log, start, name)
    parts += list_lines(*sections[0], "warn")
    parts.append(picture(Chart(start, sort, with_head=False)))
    parts += table(COLUMNS, [_cells(start, plugin, span_text)
                             for plugin in sorted_plugins(start, sort)])
    for title, entries in sections[1:]:
        parts += list_lines(title, _first(entries), "")
    return page(heading, parts)


def page(heading: str, parts: list[str]) -> str:
    """A whole page with the parts below the heading."""
    shown = escape(heading)
    return PAGE.format(title=shown, body="\n".join([f"<h1>{shown}</h1>", *parts]),
                       style=start_style.style(RULES), narrow=NARROW)


def picture(chart: Chart) -> str:
    return f'<div class="picture">\n{chart.svg()}</div>'


def table(columns: tuple[str, ...], rows: list[list[str]]) -> list[str]:
    """A table whose first and last columns have texts and whose others have numbers."""
    names = [column.capitalize() for column in columns]
    head = "".join(f"<th{_number(i, names)}>{escape(name)}</th>" for i, name in enumerate(names))
    return ["<table>", f'<tr class="head">{head}</tr>',
            *("<tr>" + "".join(_cell(i, cell, names) for i, cell in enumerate(row)) + "</tr>"
              for row in rows), "</table>"]


def _number(column: int, names: list[str]) -> str:
    return ' class="number"' if 0 < column < len(names) - 1 else ""


def _cell(column: int, text: str, names: list[str]) -> str:
    kind = ' class="failed"' if text.startswith("failed") else _number(column, names)
    label = f' data-label="{escape(names[column])}"' if column else ""
    return f"<td{kind}{label}>{escape(text)}</td>"


def list_lines(title: str, entries: list[str], kind: str) -> list[str]:
    if not entries:
        return []
    items = "".join(f"<li>{escape(entry)}</li>" for entry in entries)
    return [f'<h2 class="{kind}">{escape(title)}</h2>', f'<ul class="{kind}">{items}</ul>']


def data(log: Log, start: Start, name: str, sort: str) -> dict[str, Any]:
    """The report for programs; times are milliseconds since the start, memory is in bytes."""
    def since(moment: int | None) -> int | None:
        return None if moment is None else moment // 1000 - start.begin // 1000

    plugins = [{
        "name": plain(plugin.name), "path": plain(plugin.path),
        "interfaces": [plain(interface) for interface in plugin.interfaces],
        "loadBegin": since(plugin.load_begin), "loadEnd": since(plugin.load_end),
        "memory": plugin.memory, "problem": plain(plugin.problem),
        "inits": [{
            "thread": init.thread, "begin": since(init.begin), "end": since(init.end),
            "result": init.result, "own": start.own_time(init), "memory": init.memory,
            "requestedBy": plain(requested_by(init)),
            "inside": [plain(inner.plugin.name) for inner in init.nested]}
            for init in plugin.inits]}
        for plugin in sorted_plugins(start, sort)]
    waits = [{
        "thread": wait.thread, "for": plain(wait.plugin.name), "begin": since(wait.begin),
        "end": since(wait.end), "inside": plain(wait.inside.plugin.name) if wait.inside else None,
        "chain": plain(wait.chain), "circle": wait.circle} for wait in start.waits]
    path = [{
        "begin": since(step.begin), "end": since(step.end), "kind": step.kind,
        "plugin": plain(step.plugin.name) if step.plugin else None,
        "thread": step.thread} for step in critical_path(start)]
    return {"start": log.starts.index(start) + 1, "starts": len(log.starts),
            "process": start.process, "version": plain(start.version), "complete": start.complete,
            "started": since(start.started), "failed": start.failed, "plugins": plugins,
            "waits": waits, "criticalPath": path, "circles": [plain(circle) for circle in start.circles()],
            "errors": _problems(start), "notUnderstood": _remarks(log, start, name)}
