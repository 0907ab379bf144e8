# SPDX-License-Identifier: MIT
"""The values of the configuration manager that are in memory."""

from collections.abc import Iterator

import gdb

from ixlagdb.core import Core
from ixlagdb.memory import (MOST_ENTRIES, Problem, expect_class, scalar, shown, target, text, tree,
                            vector)

SEPARATOR = "|"  # between the ID and the key of a stored value


def records(values: gdb.Value) -> Iterator[tuple[str, gdb.Value]]:
    """The keys and the PConfigValue of each, of a PConfigValues."""
    room = int(values["fRoom"])
    buckets = scalar(values["fBuckets"])
    if room > MOST_ENTRIES * 4 or (room and not int(buckets)):
        raise Problem(f"a table of values with {room} buckets is damaged")
    known: set[int] = set()
    for index in range(room):
        pointer = (buckets + index).dereference()
        while int(pointer) != 0:
            if int(pointer) in known:
                raise Problem(f"a table of values has a cycle at {int(pointer):#x}")
            known.add(int(pointer))
            record = pointer.dereference()
            yield shown(lambda: text(record["key"])), record["value"]
            pointer = record["fNext"]


def value_text(value: gdb.Value) -> str:
    """A PConfigValue with its attributes."""
    return shown(lambda: text(value["fValue"])) + attributes_text(value["fAttributes"])


def attributes_text(attributes: gdb.Value) -> str:
    return shown(lambda: "".join(_attribute_text(target(each, "an attribute"))
                                 for each in _attributes(attributes)))


def _attributes(attributes: gdb.Value) -> Iterator[gdb.Value]:
    content = scalar(attributes["fContent"])
    if int(content):
        yield from vector(content["all"])


def _attribute_text(attribute: gdb.Value) -> str:
    return f" [{text(attribute['name'])} = {text(attribute['text'])}]"


def run_time_tables(core: Core) -> Iterator[tuple[str, gdb.Value]]:
    """The table of each ID."""
    for name, values in tree(core.manager["fValues"]["fDynamicValues"]):
        yield text(name), values


def listeners(core: Core) -> Iterator[tuple[str, list[str]]]:
    """The topics that hear of changes of each ID."""
    for name, topics in tree(core.manager["fListeners"]["fListeners"]):
        yield text(name), [shown(lambda topic=topic: text(topic)) for topic in vector(topics)]


def stored(core: Core) -> gdb.Value | None:
    """The table of the store as it was read; None before that, and without a store."""
    snapshot = core.manager["fStore"]["fSnapshot"]
    return snapshot.dereference() if int(snapshot) else None


def store_text(core: Core) -> str:
    """Whether the store was read, and from where."""
    store = core.manager["fStore"]
    path = text(store["fStorePath"])
    if int(store["fSnapshot"]):
        return f"read from {path}" if path else "read"
    return ("none: the manager's configuration names none" if int(store["fWithoutStore"])
            else "not read yet, or emptied by the stop")


def configuration(holder: gdb.Value, what: str) -> gdb.Value:
    """The PConfig in a holder."""
    return expect_class(target(holder["fPtr"], what), "PConfig")


def listed(core: Core) -> gdb.Value:
    """The table with the list of files of each ID."""
    return configuration(core.manager["fFiles"]["fManagerConfig"],
                         "the manager's configuration")["fValues"]


def own(core: Core) -> gdb.Value:
    """The table of the core's own configuration."""
    return configuration(core.parts["fServices"]["fConfig"], "the core's configuration")["fValues"]
