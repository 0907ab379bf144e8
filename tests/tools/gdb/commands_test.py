# SPDX-License-Identifier: MIT
"""Tests of the commands in gdb, on live hosts and on core dumps: commands_test.py BUILD SOURCES"""

import re
import signal
import subprocess
import unittest

from stuck_host import BUILD, IDLE, LIMIT, SOURCES, GdbTest
from all_commands import ALL

THREAD = r"thread \d+ \(LWP \d+\)"
# Values, an unloaded plugin, listeners, a delivery, a plugin that hangs, two locked mutexes.
BUSY = {
    "first": "set test.id key value,pin test.id key,watch test.id test.topic,load test.id,"
             "unload gone,ask done,listen test.topic,listen test.other,"
             "thread left,thread right,thread sender,join",
    "left": "lock 0,touch left,await right,lock 1",
    "right": "lock 1,touch right,await left,lock 0",
    "sender": "send test.topic", "test.topic": "ask slow", "slow": "sleep",
}


class Commands(GdbTest):
    """One host, whose live process and core dump show the same."""

    def busy(self):
        process = self.start("first", "slow", "gone", "done", "idle", **BUSY)
        self.await_output("lock 0", "lock 0", "lock 1", "lock 1", "sleep")
        self.await_sleeping(process, 5)
        return process

    def check(self, text):
        self.assert_readable(text)
        self.assert_lines(
            text,
            r"core +starting, at 0x[0-9a-f]+",
            rf" +{THREAD}: the start initialises the plugins of core\.autostart\.list",
            rf" +{THREAD}: delivers an event",
            r"plugins +7: 4 initialised, 2 initialising, 1 not initialised",
            r"call gate +open, 1 calls inside",
            r"waits +3 threads, deadlock; see \"ixla waits\"",
            rf"core log +{re.escape(str(self.dir))}/core\.log, level 0",
            r"threads +5",
            r"libraries +/.*/libixlal\.core\.so, build ID [0-9a-f]{40}",
            r"NO +STATE +ORDER +THREAD +PLUGIN +LIBRARY +INTERFACES",
            r"1 +initialised +1 +1 +0x\w+ +built in +com\.kelvora\.ixla\.config\.manager",
            r"\d +initialising since [0-9-]+ [0-9:.]+.* +4 +1 +0x\w+ +plugins/libfirst\.so +"
            r"stuck\.first",
            r"\d +not initialised +- +- +0x\w+ +plugins/libidle\.so +stuck\.idle",
            r"\d +initialised, unloaded +\d +1 +0x0 +- +stuck\.gone",
            r"stuck\.slow +libslow\.so +initialising",
            r"stuck\.gone +- +withdrawn: its plugin was unloaded",
            r"com\.kelvora\.ixla\.logger +com\.kelvora\.ixla\.logger +initialised",
            r"test\.topic",
            r"  \(anonymous namespace\)::Listener at 0x[0-9a-f]+ in libfirst\.so",
            rf"delivery of test\.topic by {THREAD}",
            r"changes of test\.id are sent to test\.topic",
            r"test\.id +1 run-time values, 1 stored values, files one\.prs;two\.prs",
            r"other\.id +1 stored values",
            r"  core\.autostart\.list = first",
            r"  key = value \[const = true\]",
            r"stored values \(store: read from config/store\.txt\):",
            r"  kept = yes",
            r"files: one\.prs;two\.prs",
            r"topics: test\.topic")
        self.check_waits(text)
        self.check_locks(text)

    def check_waits(self, text):
        self.assert_lines(
            text,
            rf"{THREAD}\n  initialises libfirst\.so since .*\n"
            rf"  waits for the end of {THREAD}\n  in .* at StuckPlugin\.cpp:\d+ in libfirst\.so",
            rf"{THREAD}\n  initialises libslow\.so since .*\n"
            r"  in sleepForEver at StuckPlugin\.cpp:\d+ in libslow\.so",
            rf"deadlock:\n  {THREAD} waits for a mutex at (0x\w+) \(\(anonymous namespace\)::sLocks.*"
            rf" of .*/libfirst\.so\) held by ({THREAD})\n"
            rf"  \2 waits for a mutex at (?!\1)0x\w+ .* held by {THREAD}")

    def check_locks(self, text):
        for name in ("core", "configuration", "configuration readers", "events", "event readers",
                     "log of the core", "logs by name", "log of the plugins"):
            self.assert_lines(text, rf"{name} +free +-")
        self.assert_lines(
            text, r"call gate +not open +-",
            rf"mutex at 0x\w+ .* held by {THREAD} +{THREAD}",
            rf"call gate +open +1 by {THREAD} \(counter \d+\)",
            r"configuration readers +open +-", r"event readers +open +-")

    def test_show_a_live_host(self):
        self.check(self.ask(self.busy(), *ALL))

    def test_show_a_core_dump(self):
        core = self.dump(self.busy())
        done = self.gdb(BUILD / "bin/ixla-host", core, "-ex", f"cd {self.dir}", *self.execute(*ALL))
        # The plugins were loaded by relative paths.
        again = self.gdb("-ex", f"set solib-search-path {self.dir}/plugins",
                         "-ex", f"file {BUILD}/bin/ixla-host", "-ex", f"core-file {core}",
                         *self.execute(*ALL))
        self.assertEqual((0, 0), (done.returncode, again.returncode))
        self.check(again.stdout)

    def test_leave_the_host_running(self):
        process = self.start("first", first="thread other", other="sleep")
        self.await_output("ready")
        self.ask(process, *ALL)
        self.assertIsNone(process.poll())
        process.send_signal(signal.SIGTERM)
        self.assertEqual(0, process.wait(LIMIT))

    def test_are_described(self):
        said = self.gdb(*self.execute(), "-ex", "help ixla", "-ex", "help ixla waits").stdout
        for name in ("config", "interfaces", "listeners", "locks", "plugins", "status", "waits"):
            self.assertIn(f"ixla {name} -- ", said)
        self.assertIn("the deadlocks: ixla waits", said)

    def test_refuse_an_argument(self):
        done = self.gdb(*self.execute("status now"))
        self.assertEqual((1, "ixla status: takes no argument; see \"help ixla\"\n"),
                         (done.returncode, done.stderr))


class Deadlock(GdbTest):
    def test_of_two_plugins_is_shown(self):
        process = self.start("first", "second", first="thread other,await begun,ask second",
                             other="ask second", second="touch begun,ask first")
        self.await_output("ask first", "ask second", "ask second")
        self.await_sleeping(process, 3)
        text = self.ask(process, "status", "waits")
        self.assert_readable(text)
        self.assert_lines(
            text, r"waits +2 threads, deadlock; see \"ixla waits\"",
            rf"deadlock:\n  ({THREAD}) waits for the initialisation of libsecond\.so by ({THREAD})"
            rf", .* so far\n  \2 waits for the initialisation of libfirst\.so by \1, .* so far")

    def test_of_initialisations_names_the_plugins(self):
        process = self.start("first", "second", "third", first="thread other,ask second",
                             other="ask third", second="sleep", third="ask first")
        self.await_output("ask first", "\nsleep")
        self.await_sleeping(process, 3)
        text = self.ask(process, "waits", "status")
        self.assert_readable(text)
        self.assert_lines(
            text, rf"{THREAD}\n  initialises libthird\.so since .*\n  waits for the initialisation "
                  rf"of libfirst\.so by {THREAD}, [0-9.]+ s so far\n  in .*libthird\.so",
            r"waits +1 threads; see \"ixla waits\"")
        self.assertNotIn("deadlock", text)


class Signals(GdbTest):
    def test_of_a_dead_host_are_shown(self):
        process = self.start("first", first="abort")
        self.assertEqual(-signal.SIGABRT, process.wait(LIMIT))
        cores = [path for path in self.dir.glob("core*") if path.suffix != ".log"]
        if not cores:
            self.skipTest("the system writes core dumps to another place")
        done = self.gdb("-ex", f"set solib-search-path {self.dir}/plugins",
                        "-ex", f"file {BUILD}/bin/ixla-host", "-ex", f"core-file {cores[0]}",
                        *self.execute("status", "waits"))
        self.assert_lines(
            done.stdout,
            rf"signal +SIGABRT in {THREAD}, .* at StuckPlugin\.cpp:\d+ in libfirst\.so",
            rf"{THREAD}\n  initialises libfirst\.so since .*\n  in .*libfirst\.so")
        self.assert_readable(done.stdout)


class Stop(GdbTest):
    def test_that_waits_for_a_listener_is_shown(self):
        process = self.start("first", first="listen event.core.exit", **{"event.core.exit": "sleep"})
        self.await_output("ready")
        process.send_signal(signal.SIGTERM)
        self.await_output("\nsleep\n")
        self.await_sleeping(process, 3)
        text = self.ask(process, *ALL)
        self.assert_readable(text)
        self.assert_lines(
            text, r"core +stopping, at 0x\w+", r"exit event +listeners run",
            rf" +{THREAD}: the stop waits until the listeners of event\.core\.exit have returned",
            rf" +{THREAD}: delivers event\.core\.exit",
            rf"  waits for the listeners of event\.core\.exit on {THREAD}",
            rf"delivery of event\.core\.exit by {THREAD}")

    def test_that_waits_for_calls_is_shown(self):
        process = self.start("first", "slow", first="thread caller", caller="ask slow",
                             slow="sleep")
        self.await_output("ready", "\nsleep\n")
        process.send_signal(signal.SIGTERM)
        log = self.dir / "core.log"
        self.await_true(lambda: "(SKIPPED!)" in log.read_text(), log.read_text)
        self.await_sleeping(process, 3)
        process.send_signal(signal.SIGSTOP)  # the stop waits for a few seconds only
        text = self.ask(process, "status", "waits")
        self.assert_readable(text)
        self.assert_lines(
            text, rf" +{THREAD}: the stop waits until the calls inside have left the core",
            r"call gate +closed, 1 calls inside",
            rf"  waits for the calls inside the core of {THREAD}")

class Absence(GdbTest):
    def idle(self, mode):
        process = self.launch([IDLE, mode, *self.arguments("none")])
        self.await_output("idle ")
        return int(re.search(r"idle (\d+)", self.output())[1]), process

    def test_of_a_start_is_said(self):
        self.check("never", "it was never started")

    def test_after_a_stop_is_said(self):
        self.check("stopped", "it was stopped")

    def check(self, mode, reason):
        pid, _ = self.idle(mode)
        done = self.gdb("-p", pid, *self.execute("status", "plugins"))
        self.assertEqual(1, done.returncode)
        self.assert_lines(done.stdout, rf"core +none: {reason}", r"threads +1")
        self.assertIn(f"ixla plugins: there is no core: {reason}\n", done.stderr)
        self.assert_readable(self.gdb("-p", pid, *self.execute("waits", "locks")).stdout)

    def test_in_a_forked_child_is_said(self):
        pid, _ = self.idle("forked")
        self.addCleanup(subprocess.run, ["kill", "-9", str(pid)], check=False)
        said = self.gdb("-p", pid, *self.execute("status")).stdout
        self.assert_lines(said, r"core +belongs to the parent of this process, which was forked "
                                r"from it, at 0x\w+")

    def test_of_a_process_is_said(self):
        self.assertEqual("ixla status: there is no process and no core dump; use \"attach PID\" or "
                         "\"core-file FILE\"\n", self.gdb(*self.execute("status")).stderr)

    def test_of_the_library_is_said(self):
        sleeper = self.launch(["sleep", "600"])
        done = self.gdb("-p", sleeper.pid, *self.execute("status"))
        self.assertIn("ixla status: the process has not loaded libixlal.core.so, or the core dump "
                      "is cut short\n", done.stderr)

    def test_of_the_rest_of_a_start_is_said(self):
        """The start reads a named pipe that nobody writes."""
        subprocess.run(["mkfifo", self.dir / "core.prs"], check=True)
        process = self.launch([IDLE, "half", *self.arguments("none"), "core.prs.file=core.prs"])
        self.await_sleeping(process, 1)
        self.await_true(lambda: "startFlow" in self.log(), self.log)
        text = self.gdb("-p", process.pid, *self.execute(*ALL)).stdout
        self.assert_lines(text, r"core +starting, at 0x\w+", rf" +{THREAD}: starts the core",
                          r"plugins +3: 1 initialised, 2 not initialised", r"core +free +-",
                          r"no topic has a listener|the topics: .*")

    def log(self):
        path = self.dir / "core.log"
        return path.read_text() if path.exists() else ""


class Printers(GdbTest):
    def test_show_texts_holders_and_values(self):
        process = self.start("first", first="set test.id key value,pin test.id key")
        self.await_output("ready")
        core = "PCoreLifetime::fCore._M_b._M_p->fParts"
        record = f"(*{core}.fRegistry.fCorePlugins._M_impl._M_start)"
        last = f"(*({core}.fRegistry.fCorePlugins._M_impl._M_finish - 1))"
        manager = f"(*(PConfigManager*){core}.fServices.fConfigManager.fPtr)"
        text = self.ask(process, f"p *{last}->fLibrary.fPtr", f"p {last}->fLibrary.fPtr->fName",
                        f"p {last}->fLibrary", f"p {record}->fLibrary", f"p {core}.fLock.fMutex",
                        f"p {core}.fLock.fCondVar", f"p {manager}.fRefCount",
                        f"p *(PLiteral*){last}->fInterfaceIDs.fPtr",
                        f"p {manager}.fFiles.fManagerConfig")
        self.assert_lines(
            text, r"\$1 = plugins/libfirst\.so, stays mapped when it is destroyed",
            r"\$2 = L\"plugins/libfirst\.so\"", r"\$3 = PLibrary at 0x\w+, 1 holder",
            r"\$4 = empty", r"\$5 = free", r"\$6 = open", r"\$7 = \d+",
            r"\$8 = L\"stuck\.first\"", r"\$9 = IConfig at 0x\w+, \d+ holders?")


class Names(unittest.TestCase):
    """A renamed member or function of the product fails here, by its name."""

    def words(self, pattern):
        sources = (path.read_text() for path in (SOURCES / "ixlagdb").glob("*.py"))
        return sorted({found for source in sources for found in re.findall(pattern, source)})

    def test_of_members_are_those_of_the_product(self):
        root = SOURCES.parents[1]
        headers = "".join(path.read_text() for directory in ("core", "config", "events", "logging",
                                                             "port", "include")
                          for path in (root / directory).rglob("*.h"))
        members = self.words(r"\"(f[A-Z]\w+)\"")
        self.assertGreater(len(members), 50)
        for member in members:
            with self.subTest(member):
                self.assertRegex(headers, rf"\b{member}\b")

    def test_of_functions_are_those_of_the_product(self):
        functions = self.words(r"\"(P[A-Z]\w+::\w+)\"")
        self.assertGreater(len(functions), 15)
        for name in functions:
            with self.subTest(name):
                done = subprocess.run(
                    ["gdb", "-nx", "-batch", "-ex", f"info line {name}", "-ex", f"p &{name}",
                     BUILD / "lib/libixlal.core.so"], capture_output=True, text=True, check=False)
                self.assertRegex(done.stdout, r"^Line \d+|^\$1 = ", done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
