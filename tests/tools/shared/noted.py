# SPDX-License-Identifier: MIT
"""Makes libraries with plugin information, from that of NotedPlugin.cpp."""

from pathlib import Path

SIZE = 2048  # of the text of the note
BEGIN = b"1\nname\treplaced by noted.py\n"


def write_noted(plugin: Path, path: Path, *lines: str, version: str = "1") -> Path:
    """A copy of the plugin whose note has the lines "name" and "version", and then these."""
    return write_text(plugin, path, "\n".join((version, f"name\t{path.stem.removeprefix('lib')}",
                                               "version\t1.0", *lines, "")).encode())


def write_text(plugin: Path, path: Path, text: bytes) -> Path:
    """A copy of the plugin whose note has this text, and a field of no meaning after it."""
    data = Path(plugin).read_bytes()
    place = data.index(BEGIN)
    filler = b"filler\t"
    content = (text + filler).ljust(SIZE - 2, b"x") + b"\n\0"
    if len(content) != SIZE:
        raise ValueError(f"{len(text)} bytes do not fit into the note")
    path.write_bytes(data[:place] + content + data[place + SIZE:])
    return path
