#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Damages real logs and libraries and gives them to the readers of ixla-report and ixla-inspect:
tools_fuzz.py [--examples N] [--seed N] [--plant] TOOLS LOG... LIBRARY...

Only the errors that a reader documents may leave it, and none may hang. Every run has the same inputs,
or with --seed others; a failing one is shrunk and printed. --plant: with an error in a reader."""

import argparse
import signal
import sys
import tempfile
from pathlib import Path

from hypothesis import HealthCheck, Phase, given, seed, settings
from hypothesis import strategies as st

sys.dont_write_bytecode = True
LIMIT = 60  # seconds after which a reader hangs

NUMBERS = st.sampled_from([0, 1, 2, 3, 4, 7, 8, 16, 127, 128, 255, 256, 0x7fff, 0x8000, 0xffff, 0x10000,
                           0x7fffffff, 0x80000000, 0xfffffff0, 0xffffffff, 1 << 63, (1 << 64) - 1])
# A place is a part of the length. Headers and tables are at both ends of a library.
PLACES = st.one_of(st.floats(0, 1), st.floats(0, 0.02), st.floats(0.9, 1))
EDITS = st.one_of(
    st.tuples(st.just("number"), PLACES, NUMBERS, st.sampled_from([1, 2, 4, 8])),
    st.tuples(st.just("flip"), PLACES, st.integers(0, 7), st.just(0)),
    st.tuples(st.just("delete"), PLACES, st.integers(1, 64), st.just(0)),
    st.tuples(st.just("copy"), PLACES, st.integers(1, 200), PLACES),
    st.tuples(st.just("cut"), PLACES, st.just(0), st.just(0)))
TEXTS = st.sampled_from([b"", b"\0", b"\n", b"\r\n", b" ", b"\xff\xfe", b"\xe2\x80\xa8", b"-1", b"0",
                         b"99999999999999999999", b"] ", b"[pg:", b"err: -", b"9999-12-31", b"0000-00-00",
                         b"\xd9\xa3", b"\xc2\xb2", b"<b>&", b"\x1b[1m", b"12:60:61.000"])
LINE_EDITS = st.one_of(
    st.tuples(st.just("line delete"), PLACES, st.just(0)),
    st.tuples(st.just("line copy"), PLACES, PLACES),
    st.tuples(st.just("line move"), PLACES, PLACES),
    st.tuples(st.just("word"), PLACES, st.tuples(st.integers(0, 12), TEXTS)))


class Hang(BaseException):
    """A reader has not returned. No exception that a reader could catch."""


def _on_alarm(_number, _frame):
    raise Hang


def edited(data, edits):
    """Applies the edits one after the other."""
    for kind, place, value, more in edits:
        at = min(int(place * len(data)), max(len(data) - 1, 0))
        if kind == "number":
            number = (value & ((1 << 8 * more) - 1)).to_bytes(more, "little")
            at -= at % min(more, 4)
            data = data[:at] + number + data[at + more:]
        elif kind == "flip" and data:
            data = data[:at] + bytes([data[at] ^ 1 << value]) + data[at + 1:]
        elif kind == "delete":
            data = data[:at] + data[at + value:]
        elif kind == "copy":
            to = int(more * len(data))
            data = data[:to] + data[at:at + value] + data[to:]
        elif kind == "cut":
            data = data[:at]
    return data


def edited_lines(data, edits):
    lines = data.split(b"\n")
    for kind, place, value in edits:
        at = min(int(place * len(lines)), len(lines) - 1)
        if kind == "line delete" and len(lines) > 1:
            del lines[at]
        elif kind in ("line copy", "line move"):
            line = lines[at] if kind == "line copy" or len(lines) == 1 else lines.pop(at)
            lines.insert(int(value * len(lines)), line)
        elif kind == "word":
            words = lines[at].split(b" ")
            words[value[0] % len(words)] = value[1]
            lines[at] = b" ".join(words)
    return b"\n".join(lines)


class Readers:
    """The readers of the tools."""

    def __init__(self, tools, plant):
        for directory in ("inspect", "report", "shared"):
            sys.path.insert(0, str(tools / directory))
        import elf  # pylint: disable=import-outside-toplevel
        import plugin_info
        import plugin_notes
        import start_chart
        import start_compare
        import start_log
        import start_page
        self.elf, self.info, self.notes = elf, plugin_info, plugin_notes
        self.chart, self.compare = start_chart, start_compare
        self.log, self.page = start_log, start_page
        self.plant = plant

    def read_library(self, path):
        for read in (self.elf.read_image, self.elf.read_header,
                     lambda name: self.elf.defines_privately(name, "ixlaGetPlugin")):
            try:
                read(path)
            except self.elf.ElfError as error:
                assert str(error), "an error without a text"
        notes = self.notes.read_notes(path)
        self.info.plugin_info(notes)
        if self.plant and notes.fault:
            raise KeyError("planted")

    def read_log(self, data):
        log = self.log.read_log([("core.log", data)])
        for start in log.starts[-2:]:
            texts = [self.page.text(log, start, "core.log", "time"),
                     self.page.html(log, start, "core.log", "init"),
                     self.chart.Chart(start, "init").svg()]
            self.page.data(log, start, "core.log", "memory")
            for text in texts:
                text.encode()
        if log.starts:
            both = self.compare.Comparison(log.starts[0], log.starts[-1], ("old", "new"))
            self.compare.html(both, "init").encode()
            self.compare.text(both).encode()
            self.compare.data(both)
        if self.plant and log.foreign_count + log.strange_count > 0:
            raise KeyError("planted")


def guarded(function, argument):
    signal.alarm(LIMIT)
    try:
        function(argument)
    finally:
        signal.alarm(0)


def fuzz(options, name, run):
    """Runs a test of one argument, data that Hypothesis draws, which also shrinks a failing one."""
    limits = settings(max_examples=options.examples, deadline=None, database=None, print_blob=False,
                      derandomize=options.seed is None, suppress_health_check=list(HealthCheck),
                      phases=(Phase.generate, Phase.shrink))
    test = limits(run)
    if options.seed is not None:
        test = seed(options.seed)(test)
    test()
    print(f"{name}: {options.examples} inputs")


def fuzz_libraries(options, readers, files):
    contents = [path.read_bytes() for path in files]
    for path in files:
        guarded(readers.read_library, path)
    with tempfile.TemporaryDirectory() as directory:
        path = Path(directory) / "libfuzz.so"

        @given(st.sampled_from(range(len(files))), st.lists(EDITS, max_size=6))
        def run(number, edits):
            path.write_bytes(edited(contents[number], edits))
            guarded(readers.read_library, path)

        fuzz(options, "libraries", run)


def fuzz_logs(options, readers, files):
    contents = [path.read_bytes() for path in files]
    for content in contents:
        guarded(readers.read_log, content)

    @given(st.sampled_from(range(len(files))), st.lists(LINE_EDITS, max_size=6),
           st.lists(EDITS, max_size=2))
    def run(number, line_edits, edits):
        guarded(readers.read_log, edited(edited_lines(contents[number], line_edits), edits))

    fuzz(options, "logs", run)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--examples", type=int, default=500)
    parser.add_argument("--seed", type=int)
    parser.add_argument("--plant", action="store_true")
    parser.add_argument("tools", type=Path)
    parser.add_argument("files", type=Path, nargs="+")
    options = parser.parse_args()
    signal.signal(signal.SIGALRM, _on_alarm)
    readers = Readers(options.tools, options.plant)
    logs = [path for path in options.files if path.suffix == ".log"]
    libraries = [path for path in options.files if path.suffix != ".log"]
    if logs:
        fuzz_logs(options, readers, logs)
    if libraries:
        fuzz_libraries(options, readers, libraries)


if __name__ == "__main__":
    main()
