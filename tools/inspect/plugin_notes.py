# SPDX-License-Identifier: MIT
"""The notes of a plugin library: what it says about itself, read without running its code.

The results are those of PPluginNotes, the reader of the programs in C++.
"""

import os
import re
import stat
import struct
import sys
from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path
from typing import BinaryIO, NamedTuple

OWNER = b"ixlal\0"
INFO, KEYS = 1, 2
FORMAT = 1
MOST_BYTES = 4 << 20  # damaged headers could name more than there is memory
PT_NOTE = 4
BYTE_ORDER = 1 if sys.byteorder == "little" else 2


class Field(NamedTuple):
    name: str
    values: list[str]  # possibly with control characters


@dataclass
class Note:
    type: int
    fields: list[Field] = field(default_factory=list)


@dataclass
class Notes:
    """A fault means that the file cannot be read or is no ELF file. Each line of damage says what is
    wrong with the notes; their valid parts are there."""

    fault: str = ""
    notes: list[Note] = field(default_factory=list)
    damage: list[str] = field(default_factory=list)
    has_newer: bool = False  # a note has a newer format than this tool


class _Fault(Exception):
    pass


class _Segment(NamedTuple):
    offset: int
    size: int
    alignment: int


def read_notes(path: Path) -> Notes:
    found = Notes()
    try:
        contents = _read_file(path, found)
    except _Fault as fault:
        found.fault = str(fault)
    except OSError as problem:
        found.fault = f"cannot be read: {problem.strerror}"
    else:
        for number, (kind, content) in enumerate(contents, 1):
            if kind in (INFO, KEYS):
                _add(kind, content, f"its note {number} of type {kind}", found)
    return found


def _read_file(path: Path, found: Notes) -> list[tuple[int, bytes]]:
    # A named pipe without a writer must not block.
    descriptor = os.open(path, os.O_RDONLY | os.O_NONBLOCK)
    try:
        if not stat.S_ISREG(os.fstat(descriptor).st_mode):
            raise _Fault("is not a regular file")
        with os.fdopen(descriptor, "rb", closefd=False) as file:
            return _read_segments(file, found)
    finally:
        os.close(descriptor)


def _read_segments(file: BinaryIO, found: Notes) -> list[tuple[int, bytes]]:
    """The type and the content of each note of ours."""
    contents: list[tuple[int, bytes]] = []
    total = 0
    for segment in list(_note_segments(file)):
        total += segment.size
        if total > MOST_BYTES:
            found.damage.append(f"its note segments are larger than {MOST_BYTES >> 20} MiB")
            continue
        data = _read(file, segment.offset, segment.size)
        wrong = _split(data, segment.alignment, contents)
        if len(data) < segment.size:
            wrong = "the end of the file cuts it"
        elif OWNER not in data:
            wrong = ""  # others may write in another form
        if wrong:
            found.damage.append(f"its note segment at offset {segment.offset} is damaged: {wrong}")
    return contents


def _read(file: BinaryIO, offset: int, size: int) -> bytes:
    """Bytes that cannot be read count as missing."""
    if offset > sys.maxsize - size:
        return b""
    try:
        file.seek(offset)
        return file.read(size)
    except OSError:
        return b""


def _note_segments(file: BinaryIO) -> Iterator[_Segment]:
    begin = _read(file, 0, 16)
    if len(begin) < 16 or begin[:4] != b"\x7fELF":
        raise _Fault("is not an ELF file")
    if begin[5] != BYTE_ORDER:
        raise _Fault("has the byte order of another machine")
    if begin[4] not in (1, 2):
        raise _Fault("is neither a 32-bit nor a 64-bit ELF file")
    wide = begin[4] == 2
    header = struct.Struct("=16sHHIQQQIHHHHHH" if wide else "=16sHHIIIIIHHHHHH")
    entry = struct.Struct("=IIQQQQQQ" if wide else "=IIIIIIII")
    data = _read(file, 0, header.size)
    values = header.unpack(data) if len(data) == header.size else None
    if not values or (values[10] and values[9] != entry.size):
        raise _Fault("is damaged: its header is cut, or names another size of segment headers")
    table = _read(file, values[5], values[10] * entry.size)
    if len(table) < values[10] * entry.size:
        raise _Fault("is damaged: its segment headers are missing")
    for values in entry.iter_unpack(table):
        if values[0] == PT_NOTE:
            offset, size = (values[2], values[5]) if wide else (values[1], values[4])
            yield _Segment(offset, size, 8 if values[7] == 8 else 4)


def _aligned(offset: int, alignment: int) -> int:
    return (offset + alignment - 1) // alignment * alignment


def _split(segment: bytes, alignment: int, contents: list[tuple[int, bytes]]) -> str:
    """Appends the notes of a segment; returns what is wrong with it."""
    at = 0
    while at < len(segment):
        if len(segment) - at < 12:
            return "it ends within the header of a note"
        owner_size, size, kind = struct.unpack_from("=III", segment, at)
        begin = _aligned(12 + owner_size, alignment)
        if begin + size > len(segment) - at:
            return "a note is larger than the segment"
        if segment[at + 12:at + 12 + owner_size] == OWNER:
            contents.append((kind, segment[at + begin:at + begin + size]))
        at += _aligned(begin + size, alignment)
    return ""


def _add(kind: int, content: bytes, which: str, found: Notes) -> None:
    note = Note(kind)
    wrong = "it does not end with a zero"
    if content.endswith(b"\0"):
        wrong = _parse(content[:-1], note, found)
    if wrong:
        found.damage.append(f"{which} is damaged: {wrong}")
    if note.fields:
        found.notes.append(note)


def _parse(content: bytes, note: Note, found: Notes) -> str:
    """Returns what is wrong with the text."""
    try:
        text = content.decode()
    except UnicodeDecodeError:
        text = "\0"
    if "\0" in text:
        return "it is not a text in UTF-8"
    first, _, rest = text.partition("\n")
    version = int(first) if re.fullmatch("[0-9]+", first) and len(first) <= 9 else 0
    if not version:
        return "its first line is not the version of the format"
    found.has_newer = found.has_newer or version > FORMAT
    wrong = ""
    *lines, tail = rest.split("\n")
    for number, line in enumerate(lines, 2):
        name, tab, values = line.partition("\t")
        if name and tab:
            note.fields.append(Field(name, values.split("\t")))
        elif not wrong:
            wrong = f"line {number} is not a field"
    if tail and not wrong:
        wrong = f"line {len(lines) + 2} is cut"
    return wrong if version == FORMAT else ""
