# SPDX-License-Identifier: MIT
"""Tests of ixla-debug: debug_test.py BUILD SOURCES"""

import os
import signal
import subprocess
import unittest

from stuck_host import BUILD, GDB_LIMIT, LIMIT, GdbTest

TOOL = BUILD / "libexec/ixla-debug"


class DebugTest(GdbTest):
    def run_tool(self, *arguments, **environment):
        done = subprocess.run([TOOL, *map(str, arguments)], cwd="/", capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, timeout=GDB_LIMIT, check=False,
                              env={**os.environ, **environment})
        self.assertNotIn("Traceback", done.stderr)
        return done.returncode, done.stdout, done.stderr

    def fails(self, code, message, *arguments, **environment):
        self.assertEqual((code, "", f"ixla-debug: {message}\n"),
                         self.run_tool(*arguments, **environment))

    def hanging(self):
        process = self.start("first", first="sleep")
        self.await_output("\nsleep\n")
        self.await_sleeping(process, 2)
        return process


class Processes(DebugTest):
    def test_are_shown_and_continue(self):
        process = self.start("first")
        self.await_output("ready")
        code, out, err = self.run_tool("--pid", process.pid)
        self.assertEqual((0, ""), (code, err))
        headings = [line for line in out.splitlines() if line.startswith("== ")]
        self.assertEqual(["== status", "== plugins", "== waits", "== locks"], headings)
        self.assertIn("plugins/libfirst.so", out)
        process.send_signal(signal.SIGTERM)
        self.assertEqual(0, process.wait(LIMIT))

    def test_are_asked_one_thing(self):
        code, out, err = self.run_tool("--pid", self.hanging().pid, "waits")
        self.assertEqual((0, ""), (code, err))
        self.assertRegex(out, r"^thread 1 \(LWP \d+\)\n  initialises libfirst\.so since .*\n"
                              r"  in sleepForEver at StuckPlugin\.cpp:\d+ in libfirst\.so\n$")

    def test_without_the_core_are_named(self):
        sleeper = self.launch(["sleep", "600"])
        self.fails(1, "ixla status: the process has not loaded libixlal.core.so, or the core dump "
                      "is cut short", "--pid", sleeper.pid, "status")

    def test_that_do_not_exist_are_named(self):
        code, out, err = self.run_tool("--pid", "2000000000")
        self.assertEqual((1, ""), (code, out))
        self.assertEqual("ixla-debug: process 2000000000: ptrace: No such process\n", err)

    def test_that_another_process_traces_are_named(self):
        process = self.hanging()
        with subprocess.Popen(["gdb", "-nx", "-q", "-p", str(process.pid), "-ex", "echo here\\n"],
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True) as other:
            while "here" not in (line := other.stdout.readline()):
                self.assertTrue(line)
            code, _, err = self.run_tool("--pid", process.pid)
            other.communicate("detach\nquit\n", timeout=LIMIT)
        self.assertEqual(1, code)
        self.assertRegex(err, rf"^ixla-debug: process {process.pid}: .*not permitted.*; only its "
                              r"user and root may attach, once, see also .*ptrace_scope\n$")

    def test_continue_after_the_limit(self):
        process = self.start("first")
        self.await_output("ready")
        slow = self.dir / "gdb"
        slow.write_text("#!/bin/sh\nexec sleep 600\n")
        slow.chmod(0o755)
        self.fails(1, f"process {process.pid}: gdb was not done after 1 s; use --timeout",
                   "--pid", process.pid, "--timeout", "1",
                   PATH=f"{self.dir}:{os.environ['PATH']}")
        process.send_signal(signal.SIGTERM)
        self.assertEqual(0, process.wait(LIMIT))


class Cores(DebugTest):
    def test_are_shown_with_the_program_that_they_name(self):
        core = self.dump(self.hanging())
        code, out, err = self.run_tool("--core", core, "waits", "status")
        self.assertEqual((0, ""), (code, err))
        self.assertIn("in sleepForEver at StuckPlugin.cpp", out)
        self.assertEqual((code, out, err), self.run_tool(
            "--core", core, "--exe", BUILD / "bin/ixla-host", "waits", "status"))

    def test_that_are_missing_or_wrong_are_named(self):
        wrong = self.dir / "wrong"
        wrong.write_text("text")
        self.fails(1, "/nowhere: cannot be read: No such file or directory", "--core", "/nowhere")
        self.fails(1, f"{wrong}: \"{wrong}\" is not a core dump: file format not recognized",
                   "--core", wrong)
        self.fails(1, "/nobody: cannot be read: No such file or directory",
                   "--core", wrong, "--exe", "/nobody")


class Usage(DebugTest):
    def test_errors_are_explained(self):
        for words, message in (
                ((), "one of the arguments --pid --core is required"),
                (("--pid", "x"), "argument --pid: 'x' is not a number above 0"),
                (("--pid", "0"), "argument --pid: '0' is not a number above 0"),
                (("--pid", "1", "--core", "x"), "argument --core: not allowed with argument --pid"),
                (("--pid", "1", "--exe", "x"), "--exe needs --core"),
                (("--pid", "1", "shell"), "argument COMMAND: there is no command 'shell'"),
                (("--pid", "1", "status;shell"),
                 "argument COMMAND: there is no command 'status;shell'"),
                (("--pid", "1", "config\nshell x"),
                 "argument COMMAND: there is no command 'config\nshell x'")):
            with self.subTest(words):
                self.fails(2, f"{message}; see ixla-debug --help", *words)

    def test_a_missing_gdb_is_named(self):
        only = self.dir / "only"
        only.mkdir()
        (only / "python3").symlink_to("/usr/bin/python3")
        (only / "env").symlink_to("/usr/bin/env")
        self.fails(1, "gdb is missing; install the package gdb", "--pid", "1", PATH=str(only))

    def test_a_gdb_that_ends_early_is_quoted(self):
        broken = self.dir / "gdb"
        broken.write_text("#!/bin/sh\necho no Python here >&2\nexit 1\n")
        broken.chmod(0o755)
        self.fails(1, "process 1: gdb ended early: no Python here", "--pid", "1",
                   PATH=f"{self.dir}:{os.environ['PATH']}")

    def test_help_names_the_exit_codes(self):
        code, out, _ = self.run_tool("--help")
        self.assertEqual(0, code)
        self.assertIn("exit codes: 0 done, 1 ", out)


if __name__ == "__main__":
    unittest.main(verbosity=2)
