# SPDX-License-Identifier: MIT
"""Programs of the build that any user may run, and directories that any user may read, also with
umask 077."""

import atexit
import functools
import os
import shutil
import tempfile
from pathlib import Path


@functools.cache
def readable_copy(program):
    """The path of a copy of a program, beside the libraries of its build. Removed at the end."""
    build = Path(program).resolve().parents[1]
    copy = Path(tempfile.mkdtemp())
    atexit.register(shutil.rmtree, copy)
    copy.chmod(0o755)
    for directory, files in (("bin", [Path(program)]), ("lib", build.glob("lib/lib*.so*"))):
        (copy / directory).mkdir()
        (copy / directory).chmod(0o755)
        for file in files:
            Path(shutil.copy(file, copy / directory)).chmod(0o755)
    return str(copy / "bin" / Path(program).name)


def readable_directory(test):
    """A directory for a test, whose new files any user may read, and the caller's mask, for the
    programs. Both end with the test."""
    mask = os.umask(0o022)
    test.addCleanup(os.umask, mask)
    path = Path(test.enterContext(tempfile.TemporaryDirectory()))
    path.chmod(0o755)
    return path, mask
