# SPDX-License-Identifier: MIT
"""Programs of the build that any user may run, also after a build with umask 077."""

import atexit
import functools
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
