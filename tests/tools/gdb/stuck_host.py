# SPDX-License-Identifier: MIT
"""Starts hosts whose plugins get stuck, and shows them in gdb."""

import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

BUILD, SOURCES = Path(sys.argv.pop(1)), Path(sys.argv.pop(1))
HOST, IDLE = BUILD / "bin/ixla-host", BUILD / "bin/gdb_idle_host"
PLUGIN = BUILD / "plugins/stuck/libstuck.so"
LIMIT = 180  # seconds for what happens at once on an idle machine
GDB_LIMIT = 300
PAUSE = 0.05


class GdbTest(unittest.TestCase):
    """Every test has a host in a directory of its own."""

    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))
        for name in ("plugins", "config", "log"):
            (self.dir / name).mkdir()
        (self.dir / "config/ixlap.configmanager.prs").write_text(
            "ixlap.configmanager.store.file = store.txt\ntest.id = one.prs;two.prs\n")
        (self.dir / "config/store.txt").write_text("test.id|kept = yes\nother.id|kept = no\n")

    def arguments(self, first):
        return ["core.plugins.dir=plugins", "core.plugins.config.dir=config",
                "core.plugins.log.dir=log", "core.log.file=core.log",
                "core.free.plugins.lib=false", f"core.autostart.list={first}"]

    def start(self, *plugins, **steps):
        """A host with these plugins, of which the autostart list has the first. steps has those of
        plugins, threads and topics."""
        environment = {**os.environ, **{f"STUCK_{name}": each for name, each in steps.items()}}
        for name in plugins:
            shutil.copy(PLUGIN, self.dir / f"plugins/lib{name}.so")
        return self.launch([HOST, *self.arguments(plugins[0])], environment)

    def launch(self, command, environment=None):
        with open(self.dir / "out", "w", encoding="utf-8") as out:
            unlimited = (resource.RLIM_INFINITY, resource.RLIM_INFINITY)
            process = subprocess.Popen(
                command, cwd=self.dir, env=environment, stdout=out, stderr=out,
                stdin=subprocess.DEVNULL,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, unlimited))
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.send_signal(signal.SIGKILL)
        process.wait()

    def output(self):
        return (self.dir / "out").read_text(encoding="utf-8", errors="replace")

    def await_output(self, *wanted):
        """Until each text was printed as often as it is given, in any order: threads print."""
        def said():
            output = self.output()
            return all(output.count(text) >= wanted.count(text) for text in wanted)

        self.await_true(said, lambda: f"never said {wanted}: {self.output()}")

    def await_true(self, condition, message):
        last = time.monotonic() + LIMIT
        while not condition():
            self.assertLess(time.monotonic(), last, message())
            time.sleep(PAUSE)

    def await_sleeping(self, process, threads):
        """Until a number of threads of the process waits or sleeps, and none runs."""
        def states():
            tasks = Path(f"/proc/{process.pid}/task")
            return [(task / "stat").read_text().rpartition(")")[2].split()[0]
                    for task in tasks.iterdir()]

        def sleeping():
            try:
                return (found := states()) == ["S"] * len(found) and len(found) >= threads
            except FileNotFoundError:
                return False

        self.await_true(sleeping, lambda: f"not asleep: {states()}")

    def gdb(self, *arguments):
        """The output of gdb in batch mode."""
        done = subprocess.run(["gdb", "-nx", "-batch", *map(str, arguments)], cwd=self.dir,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              errors="replace", timeout=GDB_LIMIT, check=False)
        self.assertNotIn("Traceback", done.stdout + done.stderr)
        self.assertNotIn("Python Exception", done.stdout + done.stderr)
        return done

    def ask(self, process, *commands):
        """The output of commands in a live process."""
        done = self.gdb("-p", process.pid, *self.execute(*commands))
        self.assertEqual((0, ""), (done.returncode, self.complaints(done.stderr)), done)
        return done.stdout

    @staticmethod
    def execute(*commands):
        words = ["-x", SOURCES / "ixla.py"]
        for command in commands:
            words += ["-ex", command if command.startswith(("p ", "set ")) else f"ixla {command}"]
        return words

    @staticmethod
    def complaints(errors):
        """What is not a warning of gdb."""
        lines = [line for line in errors.splitlines() if line and not line.startswith("warning:")]
        return "\n".join(line for line in lines if not re.match(r"^\d+\t|Use the|Do you", line))

    def dump(self, process):
        """A core dump of a live process."""
        self.gdb("-p", process.pid, "-ex", f"generate-core-file {self.dir}/made.core")
        return self.dir / "made.core"

    def assert_readable(self, text):
        """Nothing could not be read: each member that is used exists and has its type."""
        self.assertNotRegex(text, r"cannot be read|damaged|There is no member|no debug info|<[A-Z]")

    def assert_lines(self, text, *patterns):
        for pattern in patterns:
            self.assertRegex(text, re.compile(f"^{pattern}$", re.M))
