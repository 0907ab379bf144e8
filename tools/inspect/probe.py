# SPDX-License-Identifier: MIT
"""Loads a library in a separate process, which may die."""

import json
import os
import signal
import subprocess
import tempfile
from dataclasses import dataclass, field
from pathlib import Path

STAGES = {
    "": "",
    "load": "while it was loaded",
    "create": "in its factory",
    "list": "in getInterfaces",
    "release": "while it was released",
    "done": "after it was released",
}
KINDS = {"stage": str, "result": str, "reason": str, "interfaces": list, "load_ms": float,
         "memory": int}


@dataclass
class Outcome:
    """The result of loading a library; failure is empty on success."""

    failure: str = ""
    result: str = ""  # with which the core's start would fail
    interfaces: list[str] = field(default_factory=list)
    load_ms: float | None = None
    memory: int | None = None


def find_probe(script: Path) -> Path | None:
    """The script is share/ixlal/NAME/NAME in a prefix and in a build tree."""
    prefix = script.resolve().parents[3]
    for place in ("libexec/ixlal/ixla-probe", "libexec/ixla-probe"):
        if os.access(prefix / place, os.X_OK):
            return prefix / place
    return None


def load(probe: Path, library: Path, limit: float) -> Outcome:
    with tempfile.TemporaryFile() as written:
        end = _run([str(probe), str(written.fileno()), str(library)], written.fileno(), limit)
        written.seek(0)
        return _judge(_read_lines(written.read()), end)


def _run(command: list[str], descriptor: int, limit: float) -> str:
    """How the process ended; empty for a normal end."""
    try:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, pass_fds=[descriptor],
                                   start_new_session=True)
    except OSError as problem:
        return f"cannot be tried, because {command[0]} does not run: {problem.strerror}"
    try:
        code = process.wait(limit)
    except subprocess.TimeoutExpired:
        return f"did not end within {limit:g} s"
    finally:
        _kill_group(process)
    if code < 0:
        return f"was killed by {_signal_name(-code)}"
    return f"ended the process with exit code {code}" if code else ""


def _kill_group(process: subprocess.Popen) -> None:
    """Also kills processes that the library has started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def _signal_name(number: int) -> str:
    try:
        return signal.Signals(number).name
    except ValueError:
        return f"signal {number}"


def _read_lines(written: bytes) -> dict:
    facts: dict = {}
    for line in written.decode(errors="replace").splitlines():
        try:
            fact = json.loads(line)
        except ValueError:
            break  # the process died while writing it
        facts.update(fact if isinstance(fact, dict) else {})
    return facts


def _are_valid(facts: dict) -> bool:
    """Whether ixla-probe can have written them; the library may have used its handle."""
    return (all(isinstance(facts.get(name, kind()), kind) for name, kind in KINDS.items())
            and all(isinstance(each, str) for each in facts.get("interfaces", [])))


def _judge(facts: dict, end: str) -> Outcome:
    if not _are_valid(facts):
        return Outcome(failure="writes to a handle that it has not opened")
    outcome = Outcome(result=facts.get("result", ""), interfaces=facts.get("interfaces", []),
                      load_ms=facts.get("load_ms"), memory=facts.get("memory"))
    stage = facts.get("stage", "")
    if end:
        outcome.failure = f"{end} {STAGES.get(stage, stage)}".rstrip()
    elif "reason" in facts:
        outcome.failure = facts["reason"] or "no reason given"
    elif stage != "done":
        outcome.failure = f"ended the process {STAGES.get(stage, stage)}"
    return outcome
