# SPDX-License-Identifier: MIT
"""Tests of what ixla-host sends to a service manager during the start and afterwards:
service_test.py HOST PLUGIN"""

import errno
import os
import signal
import time
import unittest

from host_case import LIMIT, ManagedTest

PERIOD = 0.2  # seconds of the watchdog


class ServiceTest(ManagedTest):
    def start_service(self, *arguments, environment=None, **options):
        return self.launch("--prs", "core.prs", *arguments,
                           environment={"NOTIFY_SOCKET": "notify", **(environment or {})},
                           **options)

    def await_message(self, wanted):
        """Returns the messages before the first one that begins with the wanted text, and it."""
        messages = [self.receive()]
        while not messages[-1].startswith(wanted):
            messages.append(self.receive())
        return messages

    def await_silence(self):
        """Until no message has come for ten periods: some may be on their way."""
        limit = time.monotonic() + LIMIT
        self.manager.settimeout(10 * PERIOD)
        with self.assertRaises(TimeoutError):
            while time.monotonic() < limit:
                self.receive()


class Status(ServiceTest):
    def test_names_the_plugin_of_a_slow_start(self):
        for behaviour, what in (("wait in init", "Initialising"),
                                ("wait in the factory", "Loading")):
            with self.subTest(behaviour):
                host = self.start_service("core.autostart.list=obstinate", "--seconds", "0",
                                          behaviour=behaviour)
                status = self.await_message(f"STATUS={what}")[-1]
                self.assertRegex(status, rf"^STATUS={what} libobstinate\.so since \d\d:\d\d:\d\d$")
                self.write("go", "")
                self.assertEqual("READY=1", self.await_message("READY=1")[-1])
                self.assertEqual("STATUS=Ready", self.receive())
                self.assertEqual("STOPPING=1", self.receive())
                self.assertEqual(0, self.finish(host)[0])
                (self.dir / "go").unlink()

    def test_has_the_begin_of_a_start_without_details(self):
        self.start_service("core.autostart.list=obstinate", "core.log.enable=false",
                           behaviour="wait in init")
        self.assertRegex(self.await_message("STATUS=")[-1],
                         r"^STATUS=Starting the core since \d\d:\d\d:\d\d$")

    def test_of_a_degraded_start_has_the_first_reason(self):
        self.start_service("--seconds", "0", "core.plugins.dir=nowhere")
        self.await_message("READY=1")
        self.assertRegex(self.receive(), "^STATUS=Ready, degraded in 1 places: no plugin is loaded: ")


class Watchdog(ServiceTest):
    def serve_watched(self, **environment):
        host = self.start_service("core.autostart.list=obstinate", behaviour="load on request",
                                  environment={"WATCHDOG_USEC": str(int(PERIOD * 1e6)),
                                               **environment})
        self.await_message("READY=1")
        return host

    def test_is_fed_while_the_core_answers(self):
        began = time.monotonic()
        host = self.serve_watched()
        for _ in range(20):
            self.assertEqual("WATCHDOG=1", self.receive())
        self.assertGreater(time.monotonic() - began, 18 * PERIOD / 2)
        host.send_signal(signal.SIGTERM)
        self.await_message("STOPPING=1")
        self.assertEqual(0, self.finish(host)[0])

    def test_is_not_fed_while_the_core_hangs(self):
        self.make_pipe("config/pipe.prs")
        self.write("config/ixlap.configmanager.prs", "test.pipe = pipe.prs\n")
        self.serve_watched()
        self.write("load", "")
        with open(self.open_when_read("config/pipe.prs"), "wb"):
            self.await_silence()
        self.manager.settimeout(LIMIT)
        self.assertEqual("WATCHDOG=1", self.receive())

    def open_when_read(self, name):
        """Opens a pipe as soon as it has a reader."""
        limit = time.monotonic() + LIMIT
        while True:
            try:
                return os.open(self.dir / name, os.O_WRONLY | os.O_NONBLOCK)
            except OSError as problem:
                if problem.errno != errno.ENXIO or time.monotonic() > limit:
                    raise
                time.sleep(0.01)

    def test_of_another_process_is_not_fed(self):
        host = self.serve_watched(WATCHDOG_PID="1")
        self.manager.settimeout(5 * PERIOD)
        self.assertRaises(TimeoutError, self.receive)
        host.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.finish(host)[0])

    def test_does_not_delay_the_stop(self):
        host = self.serve_watched(WATCHDOG_USEC="3600000000")
        self.assertEqual("WATCHDOG=1", self.receive())
        began = time.monotonic()
        host.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.finish(host)[0])
        self.assertLess(time.monotonic() - began, LIMIT)


class Reload(ServiceTest):
    def test_is_answered_with_a_stop_and_the_advice_to_restart(self):
        host = self.start_service()
        self.await_message("READY=1")
        host.send_signal(signal.SIGHUP)
        self.assertEqual("STOPPING=1", self.receive())
        code, _, err = self.finish(host)
        self.assertEqual(0, code)
        self.assertIn("SIGHUP, stopping; there is no reload, restart the host", err)


if __name__ == "__main__":
    unittest.main()
