# SPDX-License-Identifier: MIT
"""Shows replies and notices as text."""

from collections.abc import Iterable


def safe(text: str) -> str:
    """A text for one line of a terminal."""
    return "".join(c if c.isprintable() else repr(c)[1:-1] for c in text)


def _size(count: int | None) -> str:
    """Bytes for people."""
    if count is None:
        return "-"
    amount, unit = float(count), "B"
    for larger in ("KiB", "MiB", "GiB"):
        if amount < 1024:
            break
        amount, unit = amount / 1024, larger
    return f"{count} B" if unit == "B" else f"{amount:.1f} {unit}"


def _duration(milliseconds: int) -> str:
    minutes, seconds = divmod(milliseconds // 1000, 60)
    hours, minutes = divmod(minutes, 60)
    days, hours = divmod(hours, 24)
    return f"{days} days " * (days > 0) + f"{hours:02}:{minutes:02}:{seconds:02}"


def _table(rows: Iterable[tuple[str, ...]]) -> list[str]:
    rows = [tuple(safe(cell) for cell in row) for row in rows]
    if not rows:
        return ["  (none)"]
    widths = [max(map(len, column)) for column in zip(*rows)]
    return ["  " + "  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip()
            for row in rows]


def _state(library: dict) -> str:
    interfaces = ", ".join(library.get("interfaces", []))
    state = library.get("state", "")
    return f"{state}: {interfaces}" if interfaces else state


def status(result: dict) -> list[str]:
    memory = result["memory"]
    lines = [f"ixlal {result['version']}, process {result['process']}, "
             f"up {_duration(result['uptime'])}",
             f"memory: {_size(memory['resident'])} resident, {_size(memory['private'])} private, "
             f"{_size(memory['peak'])} at most", "", "libraries:"]
    lines += _table((library["path"], _size(library["size"]), library["buildId"][:12] or "-",
                     _state(library)) for library in result["libraries"])
    lines += ["", "interfaces:"]
    lines += _table((entry["id"], entry["state"]) for entry in result["interfaces"])
    if not result["startKnown"]:
        lines.append("  The core log does not show the start, so some states are unknown.")
    lines += ["", "threads:"]
    lines += _table((str(thread["id"]), thread["state"], thread["name"])
                    for thread in result["threads"])
    lines += ["", "logs:"]
    lines += _table((log["path"], _size(log["size"]),
                     "? lines" if log["lines"] is None else f"{log['lines']} lines",
                     f"{log['lost']} lost" if log["lost"] else "") for log in result["logs"])
    return lines + ["", "limits:"] + _table((name, str(value))
                                            for name, value in result["limits"].items())


def check(result: dict) -> list[str]:
    if result["healthy"]:
        return ["Nothing is wrong."]
    lines = []
    for finding in result["findings"]:
        lines += [safe(finding["what"]), f"  where: {safe(finding['where'])}",
                  f"  do:    {safe(finding['remedy'])}"]
    return lines


SOURCES = {"file": "a file", "store": "the store", "run-time": "set at run time",
           "default": "the default of the plugin"}


def explain(result: dict) -> list[str]:
    lines = [safe(f"{result['id']} {result['key']} = {result['value']}")]
    pinned = ", pinned by const" if result["pinned"] else ""
    lines.append(f"source: {SOURCES[result['source']]}{pinned}")
    if result["lines"]:
        lines += _table((f"{line['file']}:{line['line']}", line["text"].strip())
                        for line in result["lines"])
    if "refused" in result:
        lines.append(safe(f"refused: {result['refused']}; the plugin uses the default"))
    if "declaration" in result:
        key = result["declaration"]
        lines.append(safe(f"declared: {key['summary']}: {key['description']}"))
    return lines


def describe(result: dict) -> list[str]:
    lines = []
    for config in result["ids"]:
        lines += [""] * bool(lines)
        lines += [safe(f"{config['id']}, declared by {', '.join(config['libraries'])}"), ""]
        for key in config["keys"]:
            lines += [safe(f"{key['key']}: {key['description']}"), f"    {safe(key['summary'])}"]
    return lines


def names(result: dict, of_keys: bool) -> list[str]:
    """The names of the keys of the only ID, or of all IDs."""
    found = result["ids"]
    return [safe(key["key"]) for key in found[0]["keys"]] if of_keys else \
        [safe(config["id"]) for config in found]


def get(result: dict) -> list[str]:
    return [safe(result["value"])]


def set_value(result: dict) -> list[str]:
    if result["effective"]:
        return [f"set: {safe(result['value'])}"]
    return [f"set, but the value is still: {safe(result['value'])}; \"explain\" shows why"]


def unset(result: dict) -> list[str]:
    value = result["value"]
    return ["unset; there is no value now" if value is None else f"unset; now: {safe(value)}"]


def log_level(result: dict) -> list[str]:
    return [f"{safe(result['log'])}: level {result['level']}"]


def log_tail(result: dict) -> list[str]:
    return [safe(line) for line in result["lines"]]


def event_send(result: dict) -> list[str]:
    return ["sent" if result["listeners"] else "sent; the topic has no listener"]


def nothing(_: dict) -> list[str]:
    return []


def notice(line: dict) -> str:
    if line["notice"] == "config":
        key = line["key"] + (f":{line['attribute']}" if "attribute" in line else "")
        value = line["value"]
        return safe(f"{line['id']} {key}" + (" has no value" if value is None else f" = {value}"))
    if line["notice"] == "event":
        return safe(f"{line['topic']} {line['number']}") + (" with an object"
                                                            if line["object"] else "")
    return safe(line["text"])
