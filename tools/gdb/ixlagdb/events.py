# SPDX-License-Identifier: MIT
"""The listeners of each topic, and the deliveries in progress."""

from collections.abc import Iterator
from dataclasses import dataclass

import gdb

from ixlagdb.core import Core
from ixlagdb.locks import stripe_of
from ixlagdb.libraries import Libraries
from ixlagdb.memory import (careful, class_of, number, read_word, scalar, shown, text, tree,
                            vector)
from ixlagdb.threads import Thread, Threads

REFERENCED = 1  # the bit of a slot whose delivery has a reference of its own


@dataclass
class Topic:
    """A topic; lists is the address of its PListeners."""
    name: str
    address: int
    listeners: list[str]
    problem: str


def topics(core: Core, libraries: Libraries) -> Iterator[Topic]:
    for name, holder in tree(core.dispatcher["fListeners"]):
        pointer = scalar(holder)
        found, problem = careful(_listeners(pointer, libraries))
        yield Topic(shown(lambda name=name: text(name)), int(pointer), found, problem)


def _listeners(pointer: gdb.Value, libraries: Libraries) -> Iterator[str]:
    """In the order of subscription."""
    shares = list(vector(pointer["fShares"]))
    for share in shares[int(pointer["fFirst"]):]:
        yield _describe(int(share["listener"]), libraries)


def _describe(address: int, libraries: Libraries) -> str:
    """An object with its class and the library of its code."""
    kind = shown(lambda: class_of(address) or "an object of a class without a symbol")
    library = shown(lambda: libraries.name_at(read_word(address)) or "unknown code")
    return f"{kind} at {address:#x} in {library}"


def deliveries(core: Core, threads: Threads) -> Iterator[tuple[int, list[Thread]]]:
    """The lists that deliveries use, each with the threads that may be meant."""
    stripes = core.dispatcher["fSlots"]["fStripes"]
    first, last = stripes.type.range()
    for index in range(first, last + 1):
        slots = stripes[index]["slots"]
        for slot in range(slots.type.range()[1] + 1):
            used = number(slots[slot])
            if used:
                users = [each for each in threads.all if stripe_of(each, last + 1) == index]
                yield used & ~REFERENCED, users
