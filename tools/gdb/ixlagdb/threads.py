# SPDX-License-Identifier: MIT
"""The threads of the process: their numbers, what they execute, and the lock they wait for."""

import functools
from collections.abc import Iterator
from contextlib import contextmanager
from dataclasses import dataclass

import gdb

from ixlagdb.libraries import Libraries
from ixlagdb.memory import FAULTS, base_name, plain, read, read_word

DEEPEST = 300  # frames
SYSTEM = ("libc.so", "libc-", "libpthread", "libstdc++", "libgcc_s", "libm.so", "libdl", "librt",
          "ld-linux", "ld-2", "linux-gate", "[vdso]")
SYSTEM_SOURCES = ("/usr/include/", "/usr/lib/")  # inlined in other libraries
OWN = "libixlal."
FORWARDER = "ixlaGetInstance"  # of ixla-host, which passes calls on to the core
BLOCK = 0x600  # bytes of a thread's control block that have its number

# The number of the system call futex, with the register of its address.
FUTEX_CALLS = {"i386": ("orig_eax", (240, 422), "ebx"), "i386:x86-64": ("orig_rax", (202,), "rdi")}


@dataclass
class Frame:
    """A function that a thread executes."""
    name: str
    library: str  # file name; empty for none
    line: str  # file and line; empty without debug information
    is_system: bool  # of the C or the C++ library

    def __str__(self) -> str:
        place = f" at {self.line}" if self.line else ""
        return f"{self.name}{place} in {self.library or 'unknown code'}"


class Thread:
    """A thread; handle is the number that the core knows it by, 0 if that cannot be read."""

    def __init__(self, thread: gdb.InferiorThread, libraries: Libraries) -> None:
        self.thread = thread
        self.libraries = libraries
        self.number = thread.num
        self.process = thread.ptid[1]  # as the log and the system name it
        self.handle = self._read_handle()

    def _read_handle(self) -> int:
        try:
            size = gdb.lookup_type("void").pointer().sizeof
            return int.from_bytes(self.thread.handle()[:size], "little")
        except FAULTS:
            return 0

    def __str__(self) -> str:
        return f"thread {self.number} (LWP {self.process})"

    @functools.cached_property
    def frames(self) -> list[Frame]:
        """Innermost first; those that can be read."""
        found = []
        with selected(self.thread):
            try:
                frame = gdb.newest_frame()
                while frame is not None and len(found) < DEEPEST:
                    found.append(_describe(frame, self.libraries))
                    frame = frame.older()
            except FAULTS:
                pass  # the stack is damaged from here on
        return found

    def executes(self, *names: str) -> str:
        """The innermost of these functions on the stack; empty for none."""
        return next((frame.name for frame in self.frames if frame.name in names), "")

    @property
    def place(self) -> str:
        """The innermost function of a plugin or of the host, or of the core without one."""
        ours = [frame for frame in self.frames if frame.library and not frame.is_system]
        foreign = [frame for frame in ours
                   if not frame.library.startswith(OWN) and frame.name != FORWARDER]
        return str((foreign or ours or [""])[0])

    @functools.cached_property
    def futex(self) -> int:
        """The address of the lock, condition or thread that the thread waits for; 0 for none."""
        with selected(self.thread):
            try:
                frame = gdb.newest_frame()
                call, numbers, argument = FUTEX_CALLS[frame.architecture().name()]
                if _unsigned(frame, call) not in numbers:
                    return 0
                return _unsigned(frame, argument)
            except FAULTS:
                return 0

    def variable(self, name: str) -> int:
        """A number of the thread's own memory (thread_local)."""
        with selected(self.thread):
            return int(gdb.parse_and_eval(name))

    def local(self, function: str, name: str) -> int | None:
        """A local variable of the innermost call of a function; None if it cannot be read."""
        with selected(self.thread):
            try:
                frame = gdb.newest_frame()
                while frame is not None and frame.name() != function:
                    frame = frame.older()
                return int(frame.read_var(name)) if frame is not None else None
            except FAULTS:
                return None


def _unsigned(frame: gdb.Frame, register: str) -> int:
    value = frame.read_register(register)
    return int(value) & ((1 << 8 * value.type.sizeof) - 1)


def _describe(frame: gdb.Frame, libraries: Libraries) -> Frame:
    place = frame.find_sal()
    source = place.symtab.fullname() if place.symtab else ""
    line = f"{base_name(source)}:{place.line}" if source else ""
    library = libraries.name_at(frame.pc())
    is_system = library.startswith(SYSTEM) or source.startswith(SYSTEM_SOURCES)
    return Frame(plain(frame.name() or "??"), library, line, is_system)


@contextmanager
def selected(thread: gdb.InferiorThread) -> Iterator[None]:
    """Selects a thread, and the user's thread and frame again at the end."""
    before = gdb.selected_thread()
    frame = None
    try:
        frame = gdb.selected_frame()
    except FAULTS:
        pass
    thread.switch()
    try:
        yield
    finally:
        if before is not None and before.is_valid():
            before.switch()
            if frame is not None and frame.is_valid():
                frame.select()


class Threads:
    """All threads of the process."""

    def __init__(self) -> None:
        found = sorted(gdb.selected_inferior().threads(), key=lambda thread: thread.num)
        self.libraries = Libraries()
        self.all = [Thread(thread, self.libraries) for thread in found]
        self.by_handle = {thread.handle: thread for thread in self.all if thread.handle}

    def find(self, handle: int) -> Thread | None:
        """The thread that the core knows by this number."""
        if handle not in self.by_handle and handle:
            found = self._of_block(handle)
            if found:
                self.by_handle[handle] = found
        return self.by_handle.get(handle)

    def of_process(self, process: int) -> Thread | None:
        return next((thread for thread in self.all if thread.process == process), None)

    def name(self, handle: int) -> str:
        found = self.find(handle)
        return str(found) if found else f"thread {handle:#x}, which does not exist any more"

    def ending_at(self, address: int) -> Thread | None:
        """The thread whose end is awaited at this address, which is in its control block."""
        try:
            process = int.from_bytes(read(address, 4), "little")
        except FAULTS:
            return None
        found = self.of_process(process)
        is_inside = found and found.handle and 0 <= address - found.handle < BLOCK
        return found if is_inside else None

    def _of_block(self, handle: int) -> Thread | None:
        """For a core dump whose threads gdb does not name: the thread whose control block is at the
        address handle. It begins with three addresses, the third of which is its own."""
        size = gdb.lookup_type("void").pointer().sizeof
        try:
            if read_word(handle + 2 * size) != handle:
                return None
            block = read(handle, BLOCK)
        except FAULTS:
            return None
        unknown = {thread.process: thread for thread in self.all if not thread.handle}
        numbers = (int.from_bytes(block[at:at + 4], "little") for at in range(0, BLOCK, 4))
        return next((unknown[number] for number in numbers if number in unknown), None)
