# SPDX-License-Identifier: MIT
"""Tests the tools with an unwritable output: output_test.py BIN PLUGIN LOG
They run in an empty environment, Python with and without buffering."""

import os
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

BIN, PLUGIN, LOG = Path(sys.argv.pop(1)), sys.argv.pop(1), sys.argv.pop(1)
LIMIT = 60  # seconds for short operations

# Arguments with output other than help and version. The IDs exceed the size of a buffer.
ORDINARY = {
    "ixla-ctl": (),  # needs a host, so its other output is tested there
    "ixla-config": (("--dir", "config", "ids"),),
    "ixla-host": (("--prs", "core.prs", "--seconds", "0"),),
    "ixla-inspect": (("--static", PLUGIN), ("--static", "--json", PLUGIN)),
    "ixla-new-plugin": (("greeter", "--id", "com.example.greeter"),),
    "ixla-report": ((LOG,), (LOG, "--json")),
    "ixla-validate": (("--list",), ("--only", "loads", PLUGIN)),
}
MANAGER = "ixlap.configmanager.store.file = store.txt\n" + "".join(
    f"com.example.service.number.{i} = service.prs\n" for i in range(2000))
CORE = """\
core.plugins.dir = plugins
core.plugins.config.dir = config
core.plugins.log.dir = log
"""


def environments_for(tool):
    is_script = (BIN / tool).read_bytes().startswith(b"#!")
    return ({}, {"PYTHONUNBUFFERED": "1"}) if is_script else ({},)


def fill(directory):
    for name in ("plugins", "config", "log"):
        (directory / name).mkdir()
    (directory / "config/ixlap.configmanager.prs").write_text(MANAGER, encoding="utf-8")
    (directory / "config/service.prs").touch()
    (directory / "core.prs").write_text(CORE, encoding="utf-8")


def run_tool(tool, arguments, environment, redirection="", **options):
    """Runs in a separate directory, with a redirection of the shell."""
    with tempfile.TemporaryDirectory() as directory:
        fill(Path(directory))
        command = ["sh", "-c", f'exec "$0" "$@" {redirection}', str(BIN / tool), *arguments]
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
        return subprocess.run(command, cwd=directory, env={"PATH": os.defpath, **environment},
                              timeout=LIMIT, check=False, text=True, **options)


def run_for_nobody(*run):
    """Runs with a pipe without a reader."""
    reading, writing = os.pipe()
    os.close(reading)
    with os.fdopen(writing, "w") as pipe:
        return run_tool(*run, stdout=pipe)


@unittest.skipUnless(os.path.exists("/dev/full"), "there is no /dev/full")
class OutputTest(unittest.TestCase):
    def for_each(self, check, asked=(("--help",), ("--version",))):
        """Runs check for each tool, its arguments, and each environment."""
        for tool, ordinary in ORDINARY.items():
            for arguments in (*asked, *ordinary):
                for environment in environments_for(tool):
                    with self.subTest(tool=tool, arguments=arguments, environment=environment):
                        check(tool, arguments, environment)

    def assert_told(self, tool, done, reason):
        wanted = f"{tool}: cannot write to the standard output: {reason}"
        self.assertEqual((1, [wanted]), (done.returncode, self.lines_of(tool, done)), done)

    @staticmethod
    def lines_of(tool, done):
        """The standard error stream without the first and last lines of a core."""
        return [line for line in done.stderr.splitlines()
                if tool != "ixla-host" or line and not line.startswith("[iXLA]")]

    def test_covers_every_tool(self):
        self.assertEqual(sorted(ORDINARY), sorted(path.name for path in BIN.glob("ixla-*")))

    def test_a_full_standard_output_is_reported(self):
        self.for_each(lambda tool, *run: self.assert_told(
            tool, run_tool(tool, *run, ">/dev/full"), "No space left on device"))

    def test_a_closed_standard_output_is_reported(self):
        self.for_each(lambda tool, *run: self.assert_told(
            tool, run_tool(tool, *run, ">&-"), "Bad file descriptor"))

    def test_a_reader_that_exits_ends_a_tool_quietly(self):
        def check(tool, *run):
            done = run_for_nobody(tool, *run)
            if tool != "ixla-host":
                self.assertEqual((-signal.SIGPIPE, ""), (done.returncode, done.stderr))

        self.for_each(check)

    def test_a_wrong_command_line_is_reported_for_every_output(self):
        def check(tool, *run):
            for redirection in (">/dev/full", ">&-", "2>/dev/full", "2>&-", "<&- >&- 2>&-"):
                done = run_tool(tool, *run, redirection)
                self.assertEqual(2, done.returncode, (redirection, done))

        for tool in ORDINARY:
            for environment in environments_for(tool):
                with self.subTest(tool=tool, environment=environment):
                    check(tool, ("--no-such-option",), environment)

    def test_nothing_is_lost_where_only_the_other_streams_are_closed(self):
        def check(*run):
            done = run_tool(*run, "<&- 2>&-")
            self.assertEqual((0, True), (done.returncode, bool(done.stdout)), done)

        self.for_each(check)


if __name__ == "__main__":
    unittest.main(verbosity=2)
