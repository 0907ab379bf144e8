# SPDX-License-Identifier: MIT
"""Tests of ixla-host: host_test.py HOST PLUGIN"""

import functools
import os
import re
import shutil
import signal
import socket
import time
import unittest
from pathlib import Path

from host_case import HostTest, LIMIT, PLUGIN


class Stopping(HostTest):
    def test_a_signal_stops_it_without_errors(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number):
                host = self.serve()
                host.send_signal(number)
                code, out, err = self.finish(host)
                self.assertEqual((0, "ixla-host: stopped\n"), (code, out))
                self.assertIn(f"ixla-host: {number.name}, stopping;", err)

    def test_a_second_signal_ends_a_stop_that_hangs(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number):
                host = self.serve("--require", "test.obstinate", behaviour="hang in stop")
                host.send_signal(signal.SIGTERM)
                self.await_line(host, "hangs\n")
                host.send_signal(number)
                code, out, err = self.finish(host)
                self.assertEqual((128 + number, ""), (code, out))
                self.assertIn(f"{number.name} again, exiting at once", err)

    def test_a_second_signal_ends_a_start_that_hangs(self):
        host = self.launch("--prs", "core.prs", "core.autostart.list=obstinate",
                           behaviour="hang in init")
        self.await_line(host, "initialises\n")
        host.send_signal(signal.SIGINT)
        self.wait_for_text(host.stderr, "SIGINT, stopping")
        host.send_signal(signal.SIGTERM)
        self.assertEqual(128 + signal.SIGTERM, self.finish(host)[0])

    def test_a_signal_during_the_start_stops_right_after_it(self):
        host = self.launch("--prs", "core.prs", "core.autostart.list=obstinate",
                           "--ready-file", "ready", "--require", "test.nobody",
                           behaviour="wait in init")
        self.await_line(host, "initialises\n")
        host.send_signal(signal.SIGTERM)
        self.wait_for_text(host.stderr, "SIGTERM, stopping")
        self.write("go", "")
        self.assertEqual((0, "ixla-host: stopped\n"), self.finish(host)[:2])

    def test_a_signal_prevents_further_initialisations(self):
        shutil.copy(PLUGIN, self.dir / "plugins/libzzz.so")
        host = self.launch("--prs", "core.prs", "core.load.plugin.list=obstinate",
                           "--require", "test.obstinate", "--require", "com.kelvora.ixla.logger",
                           behaviour="wait in init")
        self.await_line(host, "initialises\n")
        host.send_signal(signal.SIGTERM)
        self.wait_for_text(host.stderr, "SIGTERM, stopping")
        self.write("go", "")
        self.assertEqual((0, "ixla-host: stopped\n"), self.finish(host)[:2])

    def test_hangup_is_ignored_under_nohup(self):
        ignore = functools.partial(signal.signal, signal.SIGHUP, signal.SIG_IGN)
        host = self.serve(preexec_fn=ignore)
        host.send_signal(signal.SIGHUP)
        time.sleep(0.1)
        host.send_signal(signal.SIGTERM)
        code, _, err = self.finish(host)
        self.assertEqual(0, code)
        self.assertNotIn("again", err)
        self.assertNotIn("SIGHUP", err)

    def test_threads_of_plugins_leave_the_signals_to_the_host(self):
        host = self.serve("--require", "test.obstinate", behaviour="threads")
        wanted = sum(1 << (number - 1) for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM))
        takers = 0
        threads = list(Path(f"/proc/{host.pid}/task").iterdir())
        for thread in threads:
            blocked = re.search(r"^SigBlk:\s*(\w+)", (thread / "status").read_text(), re.M)
            takers += int(blocked.group(1), 16) & wanted != wanted
        self.assertGreaterEqual(len(threads), 3)
        self.assertLessEqual(takers, 1)  # the thread that waits for them

    def test_seconds_limit_the_time(self):
        began = time.monotonic()
        code, out, _ = self.run_host("--prs", "core.prs", "--seconds", "1")
        self.assertEqual(0, code)
        self.assertGreaterEqual(time.monotonic() - began, 1)
        self.assertRegex(out, r"^ixla-host: ready, process \d+\nixla-host: stopped\n$")

    def test_a_reader_that_exits_does_not_end_it(self):
        reading, writing = os.pipe()
        os.close(reading)
        with os.fdopen(writing, "w") as closed:
            code, _, err = self.run_host("--prs", "core.prs", "--seconds", "0", stdout=closed)
        self.assertEqual(0, code)
        self.assertEqual(1, err.count("cannot write to the standard output: Broken pipe"), err)


class Requiring(HostTest):
    def start(self, *arguments, **options):
        return self.run_host("--prs", "core.prs", "--seconds", "0", *arguments, **options)

    def test_initialises_required_interfaces(self):
        code, out, _ = self.start("--require", "test.obstinate")
        self.assertEqual(0, code)
        self.assertEqual("initialises", out.splitlines()[0])

    def test_initialises_no_other_plugin(self):
        self.assertNotIn("initialises", self.start()[1])

    def test_names_every_interface_that_is_missing(self):
        code, out, err = self.start("--require", "test.obstinate", "--require", "test.one",
                                    "--require=test.two")
        self.assertEqual((3, "ixla-host: stopped\n"), (code, out))
        self.assertIn("ixla-host: no plugin offers the required interface test.one\n", err)
        self.assertIn("ixla-host: no plugin offers the required interface test.two\n", err)

    def test_reports_why_an_interface_did_not_initialise(self):
        code, out, err = self.start("--require", "test.obstinate", "core.log.file=core.log",
                                    behaviour="fail in init")
        self.assertEqual((4, "initialises\nixla-host: stopped\n"), (code, out))
        self.assertIn("test.obstinate did not initialise: -2003 (eIxlaInitFailed: ", err)
        self.assertIn("ixla-host: the core log has the reason: core.log\n", err)
        self.assertIn("err: -7", (self.dir / "core.log").read_text())

    def test_treats_a_missing_instance_as_a_failure(self):
        code, _, err = self.start("--require", "test.obstinate", behaviour="null instance")
        self.assertEqual(4, code)
        self.assertIn("did not initialise: no instance", err)


class ReadyFile(HostTest):
    def test_exists_while_everything_is_ready(self):
        host = self.serve("--ready-file", "ready")
        self.assertEqual(f"{host.pid}\n", (self.dir / "ready").read_text())
        self.assertEqual(1, sum("ready" in name.name for name in self.dir.iterdir()))
        host.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.finish(host)[0])
        self.assertEqual([], list(self.dir.glob("ready*")))

    def test_is_removed_when_the_stop_begins(self):
        host = self.serve("--ready-file", "ready", "--require", "test.obstinate",
                          behaviour="hang in stop")
        host.send_signal(signal.SIGTERM)
        self.await_line(host, "hangs\n")
        self.assertEqual([], list(self.dir.glob("ready*")))

    def test_of_an_earlier_process_is_removed_before_the_start(self):
        self.write("ready", "1\n")
        code, _, _ = self.run_host("core.plugins.dir=plugins", "--ready-file", "ready")
        self.assertEqual(1, code)
        self.assertEqual([], list(self.dir.glob("ready*")))

    def test_is_not_created_for_a_missing_interface(self):
        host = self.launch("--prs", "core.prs", "--ready-file", "ready", "--require", "test.one",
                           "--seconds", "60")
        self.assertEqual(3, self.finish(host)[0])
        self.assertEqual([], list(self.dir.glob("ready*")))

    def test_that_cannot_be_created_is_reported_before_the_start(self):
        code, out, err = self.run_host("--prs", "core.prs", "--ready-file", "none/ready")
        self.assertEqual((5, ""), (code, out))
        self.assertEqual("ixla-host: the ready file none/ready cannot be written or removed: "
                         "No such file or directory\n", err)

    def test_that_can_no_longer_be_created_stops_the_host(self):
        (self.dir / "run").mkdir()
        host = self.launch("--prs", "core.prs", "--ready-file", "run/ready",
                           "core.autostart.list=obstinate", behaviour="wait in init")
        self.await_line(host, "initialises\n")
        (self.dir / "run").rmdir()
        self.write("go", "")
        code, out, err = self.finish(host)
        self.assertEqual((5, "ixla-host: stopped\n"), (code, out))
        self.assertIn("the ready file run/ready cannot be written", err)

    def test_replaces_regular_files_only(self):
        (self.dir / "link").symlink_to("/dev/null")
        for path in ("/dev/null", "plugins", "link"):
            with self.subTest(path):
                code, _, err = self.run_host("--prs", "core.prs", "--ready-file", path)
                self.assertEqual((5, f"ixla-host: the ready file {path} is not a regular file; "
                                     "choose another one\n"), (code, err))


class Manager(HostTest):
    def notified(self, name):
        """The messages of a run to a service manager, without the states of a slow one."""
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            manager.bind(name.replace("@", "\0"))
            manager.settimeout(LIMIT)
            code, _, _ = self.run_host("--prs", "core.prs", "--seconds", "0",
                                       environment={"NOTIFY_SOCKET": name})
            self.assertEqual(0, code)
            messages = [manager.recv(100).decode()]
            while messages[-1] != "STOPPING=1":
                messages.append(manager.recv(100).decode())
            return [message for message in messages if not message.startswith("STATUS=")]

    def test_is_notified_of_ready_and_stop(self):
        for name in (str(self.dir / "socket"), f"@ixlal-{os.getpid()}"):
            with self.subTest(name):
                self.assertEqual(["READY=1", "STOPPING=1"], self.notified(name))

    def test_without_a_listener_is_harmless(self):
        code, _, err = self.run_host("--prs", "core.prs", "--seconds", "0",
                                     environment={"NOTIFY_SOCKET": "/nowhere/socket"})
        self.assertEqual(0, code)
        self.assertIn("cannot send READY=1 to NOTIFY_SOCKET: No such file or directory", err)

    def test_with_a_long_name_is_harmless(self):
        code, _, err = self.run_host("--prs", "core.prs", "--seconds", "0",
                                     environment={"NOTIFY_SOCKET": "/" + 200 * "x"})
        self.assertEqual(0, code)
        self.assertIn("File name too long", err)


class FailedStart(HostTest):
    def fails(self, *arguments, **options):
        code, out, err = self.run_host(*arguments, **options)
        self.assertEqual((1, ""), (code, out))
        return err

    def test_reports_the_result_and_how_to_enable_a_log(self):
        err = self.fails("core.plugins.dir=plugins")
        self.assertIn("ixla-host: the core did not start: -1010 (eIxlaMissingCoreKey: ", err)
        self.assertIn("ixla-host: the argument core.log.file=FILE enables a log with all details\n",
                      err)

    def test_reports_an_argument_that_is_refused(self):
        err = self.fails("core.log.level=high")
        self.assertEqual("ixla-host: warning: argument core.log.level=high: \"high\" is not a "
                         "number of 32 bits; the start fails with -502\n"
                         "ixla-host: the core did not start: -502 (eIxlaInvalidArgument: invalid "
                         "argument)\nixla-host: correct the arguments of the warnings above\n", err)

    def test_names_the_existing_log(self):
        err = self.fails("core.log.file = sub\\core.log", "core.plugins.dir=plugins")
        self.assertIn("ixla-host: the core log has the reason: sub/core.log\n", err)
        self.assertIn("core.plugins.config.dir and core.plugins.log.dir are required", err)

    def test_reports_a_missing_log(self):
        err = self.fails("core.log.file=/proc/none/core.log", "core.plugins.dir=plugins")
        self.assertIn("there is no core log /proc/none/core.log: No such file", err)

    def test_reports_the_requirements_of_a_property_file(self):
        self.assertIn("ixla-config check", self.fails("--prs", "none.prs"))

    def test_refers_to_the_inspector(self):
        self.write("plugins/libwrong.so", "no library")
        err = self.fails("--prs", "core.prs")
        self.assertIn("the core did not start: -8 (Exec format error)", err)
        self.assertIn("ixla-inspect DIR", err)

    def test_accepts_any_text(self):
        (self.dir / "plugins").rename(self.dir / "Größe 7")
        self.write("Größe 7/libwrong.so", "no library")
        self.fails("--prs", "core.prs", "core.plugins.dir=Größe 7", "core.log.file=Prüfung.log")
        self.assertIn("Größe 7/libwrong.so", (self.dir / "Prüfung.log").read_text())


class Exit(HostTest):
    def test_of_a_plugin_has_a_code_of_its_own(self):
        # On ARM the C library has no tables for unwinding exit to its caller.
        plugin = "a plugin" if "QEMU_LD_PREFIX" in os.environ else "libobstinate.so"
        for behaviour, call in (("exit in the factory", "exit(1)"), ("exit in init", "exit(3)"),
                                ("exit in a thread", "exit(0)"),
                                ("quick exit in a thread", "quick_exit")):
            with self.subTest(behaviour):
                code, _, err = self.run_host("--prs", "core.prs", "core.autostart.list=obstinate",
                                             behaviour=behaviour)
                self.assertEqual(13, code, err)
                self.assertIn(f"ixla-host: {plugin} has called {call}, which ends the host;",
                              err)

    def test_of_a_forked_process_is_left_alone(self):
        host = self.serve("--strict", "--ready-file", "ready", "core.autostart.list=obstinate",
                          behaviour="exit of a child")
        self.assertTrue((self.dir / "ready").exists())
        host.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.finish(host)[0])

    def test_of_a_plugin_removes_the_ready_file(self):
        host = self.serve("--ready-file", "ready", "core.autostart.list=obstinate",
                          behaviour="exit on request")
        self.assertTrue((self.dir / "ready").exists())
        self.write("exit", "")
        self.assertEqual(13, self.finish(host)[0])
        self.assertEqual([], list(self.dir.glob("ready*")))


class CommandLine(HostTest):
    def test_that_is_wrong_is_refused(self):
        for arguments, wanted in (
                ((), "nothing to start: give --prs FILE or core.plugins.dir=DIR"),
                (("--require", "x"), "nothing to start"),
                (("plugins",), "'plugins' is not KEY=VALUE"),
                (("=x",), "'=x' is not KEY=VALUE"),
                ((" =x",), "' =x' is not KEY=VALUE"),
                (("",), "'' is not KEY=VALUE"),
                (("--seconds", "x", "a=b"), "'x' is not a number of seconds"),
                (("--seconds", "-1", "a=b"), "'-1' is not a number of seconds"),
                (("--seconds", "1.5", "a=b"), "'1.5' is not a number of seconds"),
                (("--seconds", "99999999999", "a=b"), "'99999999999' is not a number of seconds"),
                (("--seconds",), "--seconds"),
                (("--require", ""), "--require"),
                (("--prs", ""), "--prs"),
                (("--unknown",), "--unknown")):
            with self.subTest(arguments):
                code, out, err = self.run_host(*arguments)
                self.assertEqual((2, ""), (code, out))
                self.assertRegex(err, r"^ixla-host: [^\n]*; see ixla-host --help\n$")
                self.assertIn(wanted, err)

    def test_reads_numbers_as_decimal(self):
        began = time.monotonic()
        self.assertEqual(0, self.run_host("--prs", "core.prs", "--seconds", "01")[0])
        self.assertGreaterEqual(time.monotonic() - began, 1)

    def test_requires_one_interface_per_option(self):
        code, _, err = self.run_host("--prs", "core.prs", "--require", "test.one",
                                     "core.free.plugins.lib=false")
        self.assertEqual(3, code)
        self.assertNotIn("interface core.free", err)

    def test_arguments_take_precedence_over_the_property_file(self):
        self.write("core.prs", "core.plugins.dir = nowhere\ncore.plugins.config.dir = config\n"
                               "core.plugins.log.dir = log\ncore.free.plugins.lib = false\n")
        code, _, _ = self.run_host("--prs", "core.prs", "core.plugins.dir=plugins", "--seconds",
                                   "0", "--require", "test.obstinate")
        self.assertEqual(0, code)


if __name__ == "__main__":
    unittest.main()
