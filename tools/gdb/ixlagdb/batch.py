# SPDX-License-Identifier: MIT
"""Runs commands for ixla-debug: opens the process or the core dump, and writes each result as a line
of JSON to a descriptor."""

import json
import os

import gdb

from ixlagdb import commands, libraries
from ixlagdb.memory import FAULTS, reason

REQUEST = "IXLA_DEBUG_REQUEST"  # the environment variable with the request


def main() -> None:
    request = json.loads(os.environ[REQUEST])
    with os.fdopen(request["descriptor"], "w", encoding="utf-8", errors="replace") as output:
        try:
            _open(request)
        except FAULTS as fault:
            print(json.dumps({"failure": reason(fault)}), file=output)
            return
        for command in request["commands"]:
            text, problem = commands.run(command)
            result = {"command": command, "text": text, "problem": problem}
            print(json.dumps(result), file=output, flush=True)


def _open(request: dict) -> None:
    if request["pid"]:
        gdb.execute(f"attach {request['pid']}", to_string=True)
    else:
        _open_core(os.path.abspath(request["core"]), request["exe"])
    libraries.search()


def _open_core(core: str, program: str) -> None:
    if program:
        gdb.execute(f"file {os.path.abspath(program)}", to_string=True)
        gdb.execute(f"core-file {core}", to_string=True)
        return
    gdb.execute(f"core-file {core}", to_string=True)
    found = libraries.program()
    if found:
        # The addresses of the program are known only if it is loaded first.
        gdb.execute(f"file {found}", to_string=True)
        gdb.execute(f"core-file {core}", to_string=True)
