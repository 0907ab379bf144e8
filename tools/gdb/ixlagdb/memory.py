# SPDX-License-Identifier: MIT
"""Reads values of the process, whose memory may be damaged or missing from the core dump."""

import os
import re
from collections.abc import Callable, Iterable, Iterator

import gdb

MOST_ENTRIES = 20_000  # of a list; more are a sign of damage
LONGEST_TEXT = 500  # characters that are shown
ENDLESS_TEXT = 1 << 26  # characters; a longer text is a sign of damage
DEEPEST = 30  # nested wrappers
WRAPPERS = (gdb.TYPE_CODE_STRUCT, gdb.TYPE_CODE_UNION)
REFERENCES = (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF)
VTABLE = re.compile(r"vtable for (.+?)(?: \+ \d+)? in section ")


class Problem(Exception):
    """The text says what cannot be read."""


# Reading of damaged memory may raise anything: gdb converts some errors to exceptions of Python. A
# command must not end with a traceback.
FAULTS = Exception


def reason(fault: Exception) -> str:
    """The text of a fault in one line."""
    return plain(" ".join(str(fault).split())).rstrip(".") or type(fault).__name__


def careful(items: Iterable) -> tuple[list, str]:
    """The items up to the first one that cannot be read, and the reason; empty without a fault."""
    found = []
    try:
        for item in items:
            found.append(item)
    except FAULTS as fault:
        return found, reason(fault)
    return found, ""


def attempt(read: Callable, otherwise):
    """What read returns, or otherwise if it cannot be read."""
    try:
        return read()
    except FAULTS:
        return otherwise


def shown(read: Callable[[], object]) -> str:
    """What read returns, or why it cannot be read."""
    try:
        return str(read())
    except FAULTS as fault:
        return f"<{reason(fault)}>"


def plain(text: str) -> str:
    """Escapes control characters: texts of a damaged process must not control the terminal."""
    return "".join(each if each.isprintable() else each.encode("unicode_escape").decode()
                   for each in text)


def base_name(path: str) -> str:
    return plain(os.path.basename(path)) or plain(path)


def scalar(value: gdb.Value, depth: int = 0) -> gdb.Value:
    """The first number or pointer inside an atomic, a std::unique_ptr or another wrapper."""
    found = _leaf(value, depth)
    if found is None:
        raise Problem(f"{value.type} has no number or pointer inside")
    return found


def _leaf(value: gdb.Value, depth: int) -> gdb.Value | None:
    kind = value.type.strip_typedefs()
    if kind.code in REFERENCES:
        return _leaf(value.referenced_value(), depth + 1)
    if kind.code not in WRAPPERS:
        return value
    for field in kind.fields() if depth < DEEPEST else []:
        is_data = hasattr(field, "bitpos") and not (field.name or "").startswith("_vptr")
        found = _leaf(value[field], depth + 1) if is_data else None
        if found is not None:
            return found
    return None


def number(value: gdb.Value) -> int:
    """As scalar, as a number; a pointer as its address."""
    return int(scalar(value))


def target(pointer: gdb.Value, what: str) -> gdb.Value:
    """What a pointer, or a wrapper of one, points to; what names it in the message for null."""
    found = scalar(pointer)
    if int(found) == 0:
        raise Problem(f"{what} is null")
    return found.dereference()


def cast(value: gdb.Value, name: str) -> gdb.Value:
    """The object as one of class name, whose base must be at its start."""
    return value.address.cast(type_of(name).pointer()).dereference()


def type_of(name: str) -> gdb.Type:
    try:
        return gdb.lookup_type(name)
    except gdb.error as error:
        raise Problem(f"there is no debug information about {name}") from error


def read(address: int, size: int) -> bytes:
    return bytes(gdb.selected_inferior().read_memory(address, size))


def read_word(address: int) -> int:
    """An address at an address."""
    size = gdb.lookup_type("void").pointer().sizeof
    return int.from_bytes(read(address, size), "little")


def text(literal: gdb.Value) -> str:
    """A PLiteral or an object of a derived class."""
    address, length = int(literal["fPtr"]), int(literal["fLen"])
    if address == 0:
        return "<null>"
    if length > ENDLESS_TEXT:
        return f"<damaged text of {length} characters at {address:#x}>"
    data = read(address, 4 * min(length, LONGEST_TEXT))
    rest = "…" if length > LONGEST_TEXT else ""
    return plain(data.decode("utf-32-le", "replace")) + rest


def narrow(string: gdb.Value) -> str:
    """A std::string."""
    address, length = int(string["_M_dataplus"]["_M_p"]), int(string["_M_string_length"])
    if length > LONGEST_TEXT * 10:
        raise Problem(f"a std::string of {length} bytes is damaged")
    return read(address, length).decode("utf-8", "surrogateescape")


def vector(value: gdb.Value) -> Iterator[gdb.Value]:
    """The elements of a std::vector."""
    first = value["_M_impl"]["_M_start"]
    last = value["_M_impl"]["_M_finish"]
    size = first.type.strip_typedefs().target().sizeof
    count, odd = divmod(int(last) - int(first), size)
    if odd or not 0 <= count <= MOST_ENTRIES:
        raise Problem(f"the std::vector from {int(first):#x} to {int(last):#x} is damaged")
    for index in range(count):
        yield (first + index).dereference()


def chain(first: gdb.Value, following: str) -> Iterator[gdb.Value]:
    """The objects of a list, each with a pointer to the next one in the member following."""
    known: set[int] = set()
    pointer = scalar(first)
    while int(pointer) != 0:
        if int(pointer) in known or len(known) >= MOST_ENTRIES:
            raise Problem(f"the list does not end: {int(pointer):#x} is in it again")
        known.add(int(pointer))
        yield pointer.dereference()
        pointer = scalar(pointer[following])


def tree(value: gdb.Value) -> Iterator[tuple[gdb.Value, gdb.Value]]:
    """The keys and values of a std::map, in order."""
    kind = value.type.strip_typedefs()
    key, content = kind.template_argument(0), kind.template_argument(1)
    header = value["_M_t"]["_M_impl"]["_M_header"]
    # Both are in a std::pair behind the links of a node.
    first = _rounded(header.type.sizeof, max(key.alignof, content.alignof))
    second = first + _rounded(key.sizeof, content.alignof)
    for node in _nodes(header["_M_parent"]):
        yield _at(int(node) + first, key), _at(int(node) + second, content)


def _rounded(size: int, alignment: int) -> int:
    return (size + alignment - 1) // alignment * alignment


def _at(address: int, kind: gdb.Type) -> gdb.Value:
    return gdb.Value(address).cast(kind.pointer()).dereference()


def _nodes(root: gdb.Value) -> Iterator[gdb.Value]:
    known: set[int] = set()
    waiting: list[gdb.Value] = []
    node = root
    while int(node) != 0 or waiting:
        while int(node) != 0:
            if int(node) in known or len(known) >= MOST_ENTRIES:
                raise Problem(f"the std::map has a cycle at {int(node):#x}")
            known.add(int(node))
            waiting.append(node)
            node = node["_M_left"]
        node = waiting.pop()
        yield node
        node = node["_M_right"]


def class_of(address: int) -> str:
    """The class of an object with virtual functions, empty if the symbols do not name it."""
    found = VTABLE.match(gdb.execute(f"info symbol {read_word(address):#x}", to_string=True))
    return plain(found[1]) if found else ""



def expect_class(value: gdb.Value, name: str) -> gdb.Value:
    """The object as one of class name; a problem if it is another one."""
    found = class_of(int(value.address))
    if found != name:
        raise Problem(f"the object at {int(value.address):#x} is damaged: it is "
                      f"{found or 'no object with virtual functions'}, not a {name}")
    return cast(value, name)
