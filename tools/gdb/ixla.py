# SPDX-License-Identifier: MIT
"""Loads the commands and pretty-printers for ixlal into gdb: source ixla.py"""

import os
import sys

import gdb

_writes_bytecode = sys.dont_write_bytecode
sys.dont_write_bytecode = True  # leaves no files among those of the package
_home = os.path.dirname(os.path.realpath(__file__))
if _home not in sys.path:
    sys.path.insert(0, _home)
import ixlagdb.commands
import ixlagdb.printers

sys.dont_write_bytecode = _writes_bytecode
ixlagdb.commands.register()
ixlagdb.printers.register()
