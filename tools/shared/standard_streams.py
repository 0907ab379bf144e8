# SPDX-License-Identifier: MIT
"""The standard streams of a tool: reports write errors, before the interpreter does."""

import errno
import io
import os
import signal
import sys
from collections.abc import Callable
from typing import NoReturn


class _Stream(io.FileIO):
    """Accepts all output, and records the first write error."""

    error: OSError | None = None

    def write(self, data) -> int:
        if self.error is None:
            try:
                written = super().write(data)
                if written is not None:
                    return written
                self.error = OSError(errno.EAGAIN, os.strerror(errno.EAGAIN))
            except OSError as error:
                self.error = error
        return len(data)


def _occupy_closed() -> None:
    """Prevents that files of the tool get the numbers, and thus the output, of closed streams."""
    for stream, wrong_direction in ((0, os.O_WRONLY), (1, os.O_RDONLY), (2, os.O_RDONLY)):
        try:
            os.fstat(stream)
        except OSError:
            os.open(os.devnull, wrong_direction)  # returns the lowest free number


def _text_of(stream: _Stream, line_buffering: bool) -> io.TextIOWrapper:
    return io.TextIOWrapper(io.BufferedWriter(stream), errors="backslashreplace",
                            line_buffering=line_buffering)


def run(tool: str, main: Callable[[], int]) -> NoReturn:
    """Ends the process with the result of main, or with 1 if that is 0 and some output could not be
    written. SIGPIPE ends the process when the reader of its output has exited, as usual."""
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    _occupy_closed()
    output, errors = (_Stream(number, "w", closefd=False) for number in (1, 2))
    sys.stdout = _text_of(output, output.isatty())
    sys.stderr = _text_of(errors, True)
    try:
        code = main()
    except SystemExit as end:  # of argparse
        code = end.code
    sys.stdout.flush()
    if output.error:
        print(f"{tool}: cannot write to the standard output: {output.error.strerror}",
              file=sys.stderr)
    sys.exit(code or (1 if output.error else 0))
