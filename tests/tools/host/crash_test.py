# SPDX-License-Identifier: MIT
"""Tests of the report that a fatal signal in a plugin causes: crash_test.py HOST PLUGIN"""

import functools
import os
import re
import resource
import signal
import subprocess
import tempfile
import time
import unittest

from host_case import HostTest, LIMIT

LINE = re.compile(r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} (\d+):\d+ E Core \[ixla-host\] Fatal: ",
                  re.M)


def allow_core():
    resource.setrlimit(resource.RLIMIT_CORE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))


@functools.cache
def dumps_core():
    """Whether the death of an ordinary program is recorded as one with a core dump here."""
    with tempfile.TemporaryDirectory() as directory:
        child = os.fork()
        if child == 0:
            os.chdir(directory)
            allow_core()
            os.abort()
        return os.WCOREDUMP(os.waitpid(child, 0)[1])


class CrashTest(HostTest):
    def crash(self, how, *arguments, number=signal.SIGSEGV):
        """Runs the host until it dies of the signal; returns its report."""
        host = self.launch("--prs", "core.prs", "core.log.file=core.log",
                           *(arguments or ("core.autostart.list=crashing",)),
                           environment={"CRASH": how}, stdout=subprocess.DEVNULL,
                           preexec_fn=allow_core)
        return self.report_of(host, number)

    def report_of(self, host, number):
        status = self.await_death(host)
        err = host.stderr.read()
        self.assertTrue(os.WIFSIGNALED(status), (status, err))
        self.assertEqual(number, os.WTERMSIG(status), err)
        self.assertEqual(dumps_core(), os.WCOREDUMP(status), err)
        return re.findall(r"^ixla-host: fatal: (.*)$", err, re.M)

    def await_death(self, host):
        """The status of the process, with the mark of a core dump, which Popen drops."""
        limit = time.monotonic() + LIMIT
        while time.monotonic() < limit:
            pid, status = os.waitpid(host.pid, os.WNOHANG)
            if pid:
                host.returncode = os.waitstatus_to_exitcode(status)
                return status
            time.sleep(0.01)
        return self.fail("the host lives on")

    def logged(self):
        return LINE.sub("", "".join(line for line in self.read("core.log").splitlines(True)
                                    if LINE.match(line))).splitlines()

    def read(self, name):
        return (self.dir / name).read_text()


class Report(CrashTest):
    def test_names_signal_library_plugin_and_interface(self):
        report = self.crash("null")
        self.assertEqual(3, len(report), report)
        self.assertRegex(report[0], r"^SIGSEGV, address 0x0, thread \d+, in libcrashing\.so\+0x\w+$")
        self.assertRegex(report[1], r"^being initialised: libcrashing\.so since \d\d:\d\d:\d\d, "
                                    r"thread \d+$")
        self.assertEqual("last interface that this thread asked for: none", report[2])

    def test_is_in_the_core_log_too(self):
        report = self.crash("null")
        self.assertEqual(report, self.logged())

    def test_goes_without_a_log(self):
        host = self.launch("--prs", "core.prs", "core.autostart.list=crashing",
                           environment={"CRASH": "null"}, stdout=subprocess.DEVNULL,
                           preexec_fn=allow_core)
        report = self.report_of(host, signal.SIGSEGV)
        self.assertIn("being initialised: libcrashing.so since", report[1])

    def test_has_the_signal_of_each_crash(self):
        for how, number in (("divide", signal.SIGFPE), ("trap", signal.SIGILL),
                            ("abort", signal.SIGABRT), ("throw", signal.SIGABRT)):
            with self.subTest(how):
                report = self.crash(how, number=number)
                self.assertTrue(report[0].startswith(number.name), report)
                self.assertIn("being initialised: libcrashing.so", report[1])

    def test_of_an_overflow_is_complete(self):
        report = self.crash("overflow")
        self.assertRegex(report[0], r"^SIGSEGV, .* in libcrashing\.so\+0x")
        self.assertEqual(3, len(report), report)

    def test_of_a_second_thread_names_the_library(self):
        report = self.crash("thread")
        self.assertRegex(report[0], r"in libcrashing\.so\+0x")
        thread = re.search(r"thread (\d+)", report[0]).group(1)
        self.assertIn("being initialised: libcrashing.so", report[1])
        self.assertFalse(report[1].endswith(f"thread {thread}"), report)

    def test_of_two_threads_is_written_once(self):
        for _ in range(10):
            report = self.crash("two threads")
            self.assertEqual(1, len([line for line in report if "SIGSEGV" in line]), report)
            self.assertEqual(3, len(report), report)

    def test_of_a_fault_in_another_library_names_the_caller(self):
        report = self.crash("library")
        self.assertRegex(report[0], r"in libc\.so\.6\+0x")
        self.assertRegex(report[3], r"^nearest address of a plugin on the stack: libcrashing\.so\+0x")

    def test_of_a_call_of_nothing_names_the_caller(self):
        report = self.crash("call of null")
        self.assertIn("in no library, at 0x0", report[0])
        self.assertIn("libcrashing.so+0x", report[3])

    def test_names_the_last_interface(self):
        report = self.crash("asked")
        self.assertEqual("last interface that this thread asked for: com.example.asked", report[2])

    def test_names_an_interface_that_is_being_requested(self):
        report = self.crash("null", "--require", "test.crashing")
        self.assertEqual("last interface that this thread asked for: test.crashing, not returned "
                         "yet", report[2])

    def test_names_a_library_that_is_being_loaded(self):
        report = self.crash("factory")
        self.assertRegex(report[0], r"in libcrashing\.so\+0x")
        self.assertIn("being loaded: libcrashing.so since", report[1])

    def test_offset_is_one_for_addr2line(self):
        offset = self.crash("null")[0].rpartition("+")[2]
        library = str(self.dir / "plugins/libcrashing.so")
        shown = subprocess.run(["addr2line", "-f", "-C", "-e", library, offset], check=True,
                               capture_output=True, text=True).stdout
        self.assertIn("_writeToNull", shown)

    def test_of_a_signal_from_outside_names_its_sender(self):
        host = self.launch("--prs", "core.prs", "core.autostart.list=crashing",
                           environment={"CRASH": "wait"}, preexec_fn=allow_core)
        self.await_line(host, "waits\n")
        host.send_signal(signal.SIGABRT)
        report = self.report_of(host, signal.SIGABRT)
        self.assertIn(f"SIGABRT, sent by process {os.getpid()}, thread {host.pid}, in ", report[0])
        self.assertIn("being initialised: libcrashing.so", report[1])

    def test_ends_with_a_fault_of_its_own(self):
        report = self.crash("twice", number=signal.SIGBUS)
        self.assertRegex(report[0], r"^SIGSEGV, address 0x0, .* in no library, at 0x0$")
        self.assertEqual(3, len(report), report)


if __name__ == "__main__":
    unittest.main()
