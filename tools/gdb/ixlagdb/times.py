# SPDX-License-Identifier: MIT
"""How long something lasts already, from the core's log and from the process."""

import os
import re
import stat
import time
from datetime import datetime

import gdb

from ixlagdb.core import Core
from ixlagdb.memory import FAULTS, narrow, target

TAIL = 4 << 20  # bytes of the log that are searched
BEGIN = re.compile(rb"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}) (\d+):\d+ D \S+ "
                   rb"\[initPlugin\]\[pg:(0x[0-9a-f]+)\] Init plugin in thread ID")


def is_live() -> bool:
    """Whether the process runs on this machine."""
    connection = gdb.selected_inferior().connection
    return connection is not None and connection.type == "native"


def since_ticks(start: int | None) -> str:
    """The time since a reading of the process's monotonic clock, in milliseconds."""
    if start is None or not is_live():
        return ""
    passed = time.clock_gettime(time.CLOCK_MONOTONIC) - start / 1000
    return f", {duration(passed)} so far" if passed >= 0 else ""


def duration(seconds: float) -> str:
    if seconds < 120:
        return f"{seconds:.1f} s"
    minutes, rest = divmod(int(seconds), 60)
    if minutes < 120:
        return f"{minutes} min {rest} s"
    return f"{minutes // 60} h {minutes % 60} min"


def log_path(core: Core) -> str:
    """The file of the core's log; a problem without one."""
    sink = target(core.logger()["fFile"], "the file of the core's log")["fSink"]
    return narrow(sink["fPath"]["fCurrent"])


class Begins:
    """When each initialisation began, from the end of the core's log, if that can be read here."""

    def __init__(self, core: Core) -> None:
        self.known: dict[int, str] = {}
        try:
            lines = _tail(log_path(core))
        except FAULTS:
            return
        process = str(gdb.selected_inferior().pid).encode()
        for moment, writer, plugin in BEGIN.findall(lines):
            if writer == process:
                self.known[int(plugin, 16)] = moment.decode()

    def of(self, plugin: int) -> str:
        """Such as " since 2026-11-20 10:00:00.123, 4.5 s ago"; empty if it is unknown."""
        moment = self.known.get(plugin)
        if moment is None:
            return ""
        passed = (datetime.now() - datetime.fromisoformat(moment)).total_seconds()
        ago = f", {duration(passed)} ago" if is_live() and passed >= 0 else ""
        return f" since {moment}{ago}"


def _tail(path: str) -> bytes:
    # A log may be a named pipe or a terminal, which must not be waited for.
    descriptor = os.open(path, os.O_RDONLY | os.O_NONBLOCK | os.O_NOCTTY)
    with os.fdopen(descriptor, "rb") as file:
        if not stat.S_ISREG(os.fstat(descriptor).st_mode):
            raise OSError("not a regular file")
        size = file.seek(0, os.SEEK_END)
        file.seek(max(0, size - TAIL))
        return file.read()
