# SPDX-License-Identifier: MIT
"""Runs in gdb, in a live host: overwrites memory of the core, runs all commands, and restores the
memory. Prints each damage and what was wrong with the commands."""

import os
import random
import re
import time

import gdb
from ixlagdb import commands
from ixlagdb.core import Core
from all_commands import ALL

LONGEST = 60  # seconds for all commands
CORE = "PCoreLifetime::fCore._M_b._M_p"
PARTS = f"{CORE}->fParts"
REGISTRY = f"{PARTS}.fRegistry"
RECORD = f"(*({REGISTRY}.fCorePlugins._M_impl._M_finish - 1))"
MANAGER = f"((PConfigManager*){PARTS}.fServices.fConfigManager.fPtr)"
DISPATCHER = f"((PEventDispatcher*){PARTS}.fServices.fEventDispatcher.fPtr)"
VALUES = f"{MANAGER}->fValues.fDynamicValues._M_t._M_impl._M_header"
WAIT = f"{PARTS}.fInit.fFirstWait"
WORD = gdb.lookup_type("void").pointer().sizeof
ODD_WORDS = (0, 1, 4, 0x10, 0x7fffffff, 0x80000000, 0xffffffff, 0xfffffff0, 0x41414141)

# What is overwritten, by which words, and what a command then says.
DAMAGES = (
    ("a null core", CORE, [0], "there is no core"),
    ("a wild core", CORE, [0x10], "Cannot access memory"),
    ("no list of plugins", f"{REGISTRY}.fCorePlugins", [0, 0, 0], "plugins     0"),
    ("a list of plugins that ends before it begins", f"{REGISTRY}.fCorePlugins", [0x1000, 0x800],
     "the list of plugins: cannot be read further: the std::vector from 0x1000 to 0x800 is damaged"),
    ("an endless list of plugins", f"{REGISTRY}.fCorePlugins", [0x1000, 0xf0001000], "is damaged"),
    ("a null record", f"*{REGISTRY}.fCorePlugins._M_impl._M_start", [0],
     "the record of a plugin is null"),
    ("an unknown state", f"{RECORD}->fInitState", [77], "<damaged: 77>"),
    ("a thread that is unknown", f"{RECORD}->fInitThreadId", [0x1234], " ended "),
    ("a library without a name", f"{RECORD}->fLibrary.fPtr->fName.fPtr", [0], "<null>"),
    ("an endless name", f"{RECORD}->fLibrary.fPtr->fName.fLen", [0xffffffff],
     "<damaged text of 4294967295 characters"),
    ("a name in a wrong place", f"{RECORD}->fLibrary.fPtr->fName.fPtr", [0x10],
     "<Cannot access memory at address 0x10>"),
    ("too many interfaces", f"{RECORD}->fInterfaceCount", [0x7fffffff], "<Cannot access memory"),
    ("no interfaces", f"{RECORD}->fInterfaceIDs.fPtr", [0], "interface IDs at address 0"),
    ("a large table of interfaces", f"{REGISTRY}.fTable.fCapacity", [0x7fffffff],
     "the table of interfaces has 2147483647 entries: it is damaged"),
    ("a cycle of unloaded plugins", f"{REGISTRY}.fUnloaded->fNextUnloaded",
     [f"{REGISTRY}.fUnloaded"], "the list does not end"),
    ("a cycle of waits", f"{WAIT}->fNext", [WAIT], "the list does not end"),
    ("a wait for no plugin", f"*((void**){WAIT} + 1)", [0], "<Cannot access memory"),
    ("a wait of no thread", f"{WAIT}->fThreadId", [0x1230], "but does not exist any more"),
    ("another manager", f"*(void**){MANAGER}", [0x1000], "not a PConfigManager"),
    ("a cycle of tables", f"{VALUES}._M_parent->_M_right", [f"{VALUES}._M_parent"],
     "the std::map has a cycle"),
    ("a table in a wrong place", f"{VALUES}._M_parent", [0x10], "Cannot access memory"),
    ("a snapshot in a wrong place", f"{MANAGER}->fStore.fSnapshot", [0x10], "Cannot access memory"),
    ("a large snapshot", f"{MANAGER}->fStore.fSnapshot->fRoom", [0x7fffffff],
     "a table of values with 2147483647 buckets is damaged"),
    ("a cycle of topics",
     f"{DISPATCHER}->fListeners._M_t._M_impl._M_header._M_parent->_M_left",
     [f"{DISPATCHER}->fListeners._M_t._M_impl._M_header._M_parent"], "the std::map has a cycle"),
    ("a log in a wrong place", f"{PARTS}.fLog.fLogger", [0x10], "Cannot access memory"),
    ("no log", f"{PARTS}.fLog.fLogger", [0], "core log    none"),
    ("no gate", "PCoreLifetime::fGate", [0], "call gate   none"),
    ("a gate in a wrong place", "PCoreLifetime::fGate", [0x10], "Cannot access memory"),
    ("a mutex of no thread", f"{PARTS}.fLock.fMutex.fHandle", [1, 0, 0x7ffffff0],
     "held by LWP 2147483632, which does not exist any more"),
    ("a wrong notice of the exit", f"{PARTS}.fNotifier.fExitNotice", [0x10],
     "Cannot access memory"),
)


def inferior():
    return gdb.selected_inferior()


def run_all() -> str:
    """The output of all commands, which may end with a message but not with an exception."""
    return "".join(text + problem for text, problem in map(commands.run, ALL))


def problems_of(name: str, wanted: str) -> list[str]:
    began = time.monotonic()
    try:
        said = run_all()
    except Exception as error:  # the tests look for this
        return [f"{name}: exception {type(error).__name__}: {error}"]
    found = [f"{name}: took {time.monotonic() - began:.0f} s"]
    found = found if time.monotonic() - began > LONGEST else []
    if wanted not in said:
        found.append(f"{name}: does not say {wanted!r}: {said}")
    if re.search(r"NoneType|Traceback|has no attribute|object is not", said):
        found.append(f"{name}: shows an error of its own: {said}")
    return found


def overwrite(address: int, words: list[int]) -> bytes:
    """The memory before."""
    before = bytes(inferior().read_memory(address, WORD * len(words)))
    inferior().write_memory(address, b"".join(word.to_bytes(WORD, "little") for word in words))
    return before


def damage(name: str, place: str, words: list, wanted: str) -> list[str]:
    address = int(gdb.parse_and_eval(place).address)
    values = [word if isinstance(word, int) else int(gdb.parse_and_eval(word)) for word in words]
    before = overwrite(address, values)
    try:
        return problems_of(name, wanted)
    finally:
        inferior().write_memory(address, before)


def regions() -> list[tuple[int, int]]:
    """Address and size of objects whose words are overwritten at random."""
    core = Core.require()
    objects = [core.parts, core.manager, core.dispatcher, core.logger(),
               gdb.parse_and_eval("PCoreLifetime::fGate._M_b._M_p").dereference()]
    objects += [record.value for record in core.records()]
    objects += [record.value["fInterfaceIDs"]["fPtr"].dereference() for record in core.records()]
    return [(int(each.address), each.type.strip_typedefs().sizeof) for each in objects]


def damage_at_random(seed: int, places: list[tuple[int, int]]) -> list[str]:
    chance = random.Random(seed)
    before = []
    for _ in range(chance.choice((1, 1, 3, 20))):
        start, size = chance.choice(places)
        address = start + chance.randrange(size // WORD) * WORD
        word = chance.choice((*ODD_WORDS, chance.choice(places)[0], chance.getrandbits(32)))
        before.append((address, overwrite(address, [word])))
    try:
        return problems_of(f"seed {seed}", "")
    finally:
        for address, data in reversed(before):
            inferior().write_memory(address, data)


def without_times(text: str) -> str:
    return re.sub(r"(\d+ (h|min) )?[0-9.]+ (s|min)|\s+", " ", text)


def main() -> None:
    first, last = int(os.environ["FIRST_SEED"]), int(os.environ["LAST_SEED"])
    intact = run_all()
    found = [problem for each in DAMAGES for problem in damage(*each)]
    places = regions()
    for seed in range(first, last):
        found += damage_at_random(seed, places)
    if without_times(run_all()) != without_times(intact):
        found.append("the memory was not restored")
    print("\n".join(found))
    print(f"{len(DAMAGES)} damages, {last - first} seeds, {len(found)} problems")


main()
