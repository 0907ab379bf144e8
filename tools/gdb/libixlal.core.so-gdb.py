# SPDX-License-Identifier: MIT
"""Loaded by gdb with libixlal.core.so: finds the commands for ixlal in the same prefix."""

import os
import runpy


def _load() -> None:
    here = os.path.dirname(os.path.realpath(__file__))
    above = here
    while above != os.path.dirname(above):
        above = os.path.dirname(above)
        script = os.path.join(above, "ixlal", "gdb", "ixla.py")
        if os.path.exists(script):
            runpy.run_path(script)
            return
    print(f"ixlal: there are no ixla commands: ixlal/gdb/ixla.py is in no directory above {here}; "
          "reinstall ixlal-tools")


_load()
