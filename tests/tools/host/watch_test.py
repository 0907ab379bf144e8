# SPDX-License-Identifier: MIT
"""Tests of ixla-host --watch: watch_test.py HOST PLUGIN
PLUGIN is one version of the plugin; the others are in directories next to its own."""

import re
import shutil
import signal
import threading
import unittest
from pathlib import Path

from host_case import HostTest, LIMIT, ManagedTest, PLUGIN
from noted import write_noted

VARIANTS = Path(PLUGIN).parents[1]
RESTARTED = re.compile(r"ixla-host: restarted in (\d+\.\d{3}) s \(stop (\d+\.\d{3}) s, "
                       r"start (\d+\.\d{3}) s\), process (\d+)\n")


def variant(name):
    return VARIANTS / name / f"lib{name}.so"


class WatchTest(HostTest):
    def setUp(self):
        super().setUp()
        (self.dir / "plugins" / Path(PLUGIN).name).unlink()
        (self.dir / "tmp").mkdir()
        self.library = self.dir / "plugins/libwatched.so"
        shutil.copyfile(variant("watched_1"), self.library)
        self.errors = []

    def watch(self, *arguments, environment=None, **options):
        """A host with --watch that is ready, and whose error lines are collected."""
        host = self.launch_watch(*arguments, environment=environment, **options)
        self.await_match(host, f"ixla-host: ready, process {host.pid}\n")
        return host

    def launch_watch(self, *arguments, environment=None, **options):
        host = self.launch("--prs", "core.prs", "--watch", "--require", "test.watched", *arguments,
                           environment={"TMPDIR": str(self.dir / "tmp"), **(environment or {})},
                           **options)
        self.errors = []
        self.has_error = threading.Condition()
        threading.Thread(target=self.collect, args=(host.stderr,), daemon=True).start()
        return host

    def collect(self, stream):
        try:
            for line in stream:
                with self.has_error:
                    self.errors.append(line)
                    self.has_error.notify_all()
        except ValueError:
            pass  # the test has closed the stream

    def await_error(self, wanted):
        with self.has_error:
            found = self.has_error.wait_for(lambda: wanted in "".join(self.errors), LIMIT)
        self.assertTrue(found, f"never said {wanted!r}: {self.errors}")

    def await_match(self, host, pattern):
        """Reads the output up to a line that matches; returns the match and the lines before."""
        before = []
        for line in host.stdout:
            found = re.fullmatch(pattern, line)
            if found:
                return found, before
            before.append(line)
        self.fail(f"never said {pattern!r}: {before} {self.errors}")
        return None

    def replace(self, name, path=None):
        """Renames a new file over the library, as linkers and packages do."""
        path = path or self.library
        fresh = self.dir / "fresh"
        shutil.copyfile(variant(name), fresh)
        fresh.rename(path)

    def end_watch(self, host, code=0):
        """Stops the host; returns the rest of its output."""
        host.send_signal(signal.SIGTERM)
        out = host.stdout.read()
        self.assertEqual(code, host.wait(LIMIT), f"{out} {self.errors}")
        self.assertEqual("ixla-host: stopped\n", out.splitlines(True)[-1])
        self.assertEqual([], list((self.dir / "tmp").iterdir()))
        return out

    def assert_restarts(self, host, version, changed="plugins/libwatched.so"):
        _, before = self.await_match(host, RESTARTED)
        self.assertEqual([f"ixla-host: changed: {changed}\n", f"version {version}\n"], before)


class Changes(WatchTest):
    def test_of_a_library_by_rename_restart_the_core_in_the_same_process(self):
        host = self.watch()
        self.replace("watched_2")
        self.await_match(host, "ixla-host: changed: plugins/libwatched.so\n")
        self.await_match(host, "version 2\n")
        found, _ = self.await_match(host, RESTARTED)
        self.assertEqual(str(host.pid), found[4])
        total, stop, start = (float(found[part]) for part in (1, 2, 3))
        self.assertAlmostEqual(total, stop + start, delta=0.0025)
        self.end_watch(host)

    def test_of_a_library_in_place_do_not_harm_the_running_core(self):
        host = self.watch()
        for version in (2, 1):
            with self.library.open("r+b") as library:
                library.truncate(0)
                library.write(variant(f"watched_{version}").read_bytes())
            self.assert_restarts(host, version)
        self.end_watch(host)

    def test_that_follow_each_other_cause_one_restart(self):
        host = self.watch()
        content = variant("watched_2").read_bytes()
        with self.library.open("wb", buffering=0) as library:
            for begin in range(0, len(content), 1024):
                library.write(content[begin:begin + 1024])
        self.assert_restarts(host, 2)
        self.assertNotIn("restarted", self.end_watch(host))

    def test_of_the_set_of_libraries_are_new_and_removed_ones(self):
        host = self.watch()
        other = self.dir / "plugins/libother.so"
        shutil.copyfile(variant("watched_other"), other)
        self.assert_restarts(host, 1, "plugins/libother.so (new)")
        other.unlink()
        self.assert_restarts(host, 1, "plugins/libother.so (removed)")
        self.end_watch(host)

    def test_of_a_linked_library_are_noticed_at_its_target(self):
        (self.dir / "built").mkdir()
        target = self.dir / "built/libnext.so"
        self.library.rename(target)
        self.library.symlink_to("../built/libnext.so")
        host = self.watch()
        self.replace("watched_2", target)
        self.assert_restarts(host, 2)
        self.end_watch(host)

    def test_of_a_linked_directory_are_noticed(self):
        for version in (1, 2):
            (self.dir / f"release{version}").mkdir()
            shutil.copyfile(variant(f"watched_{version}"),
                            self.dir / f"release{version}/libwatched.so")
        shutil.rmtree(self.dir / "plugins")
        (self.dir / "plugins").symlink_to("release1")
        host = self.watch()
        (self.dir / "next").symlink_to("release2")
        (self.dir / "next").rename(self.dir / "plugins")
        self.assert_restarts(host, 2)
        self.end_watch(host)

    def test_of_a_directory_that_was_created_again_are_noticed(self):
        host = self.launch_watch("core.plugins.dir=later/plugins", "--require",
                                 "com.kelvora.ixla.logger")
        self.assertEqual(3, host.wait(LIMIT))
        (self.dir / "later/plugins").mkdir(parents=True)
        shutil.copyfile(variant("watched_1"), self.dir / "later/plugins/libwatched.so")
        host = self.watch("core.plugins.dir=later/plugins")
        shutil.rmtree(self.dir / "later")
        self.await_error("no core runs; the host waits for the next change")
        (self.dir / "later/plugins").mkdir(parents=True)
        shutil.copyfile(variant("watched_2"), self.dir / "later/plugins/libwatched.so")
        self.await_match(host, "version 2\n")
        self.await_match(host, RESTARTED)
        self.end_watch(host)

    def test_of_configuration_files_restart_the_core(self):
        self.write("config/ixlap.configmanager.prs", "test.id = a.prs\n")
        self.write("config/a.prs", "a = 1\n")
        host = self.watch()
        for name, text in (("config/a.prs", "a = 22\n"),
                           ("config/ixlap.configmanager.prs", "test.id = a.prs, b.prs\n"),
                           ("core.prs", (self.dir / "core.prs").read_text() + "# more\n")):
            with self.subTest(name):
                self.write(name, text)
                self.assert_restarts(host, 1, name)
        self.write("config/b.prs", "b = 1\n")
        self.assert_restarts(host, 1, r"config/b.prs (new)")
        self.end_watch(host)

    def test_of_other_files_have_no_effect(self):
        host = self.watch()
        self.write("config/store.txt", "a|b = c\n")
        self.write("config/unlisted.prs", "a = b\n")
        self.write("core.log", "line\n")
        self.write("plugins/readme", "text\n")
        self.replace("watched_2")
        self.assert_restarts(host, 2)
        self.end_watch(host)

    def test_keep_the_time_limit(self):
        host = self.launch_watch("--seconds", "1")
        self.assertEqual(0, host.wait(LIMIT), self.errors)
        self.assertTrue(host.stdout.read().endswith("ixla-host: stopped\n"))


class Refusal(WatchTest):
    def refuses(self, host, reason):
        self.await_error(reason)
        self.await_error("ixla-host: the running core is kept; correct the files\n")
        self.errors.clear()
        self.assertIsNone(host.poll())

    def accepts(self, host, repair=lambda: None):
        """The repair is the last change, so that it decides when the host accepts them all."""
        self.replace("watched_2")
        repair()
        _, before = self.await_match(host, RESTARTED)
        self.assertEqual(1, before.count("version 2\n"), before)
        self.assertEqual(0, before.count("version 1\n"), before)
        self.assertNotIn("restarted", self.end_watch(host))

    def test_of_files_that_are_no_libraries_keeps_the_core(self):
        host = self.watch()
        self.library.write_text("no library")
        self.refuses(host, "refused: plugins/libwatched.so ")
        with self.library.open("wb") as library:
            library.write(variant("watched_2").read_bytes()[:3000])
        self.refuses(host, "refused: plugins/libwatched.so ")
        self.accepts(host)

    def test_of_a_library_that_crashes_keeps_the_core(self):
        host = self.watch()
        self.replace("watched_abort")
        self.refuses(host, "refused: plugins/libwatched.so is killed by SIGABRT while it was loaded")
        self.accepts(host)

    def test_of_a_library_that_disturbs_its_trial_keeps_the_core(self):
        host = self.watch()
        self.replace("watched_scribble")
        self.refuses(host, "refused: plugins/libwatched.so writes to a handle that it has not opened")
        self.accepts(host)

    def test_of_a_library_that_hangs_keeps_the_core(self):
        host = self.watch()
        self.replace("watched_hang")
        self.refuses(host, "refused: plugins/libwatched.so does not end within 10 s in its factory")
        self.accepts(host)

    def test_of_a_second_offer_keeps_the_core(self):
        host = self.watch()
        shutil.copyfile(variant("watched_2"), self.dir / "plugins/libagain.so")
        self.refuses(host, "refused: plugins/libwatched.so offers test.watched, which "
                           "plugins/libagain.so offers already")
        self.accepts(host, (self.dir / "plugins/libagain.so").unlink)

    def test_of_a_broken_property_file_keeps_the_core(self):
        host = self.watch()
        text = (self.dir / "core.prs").read_text()
        self.write("core.prs", text + "broken\n")
        self.refuses(host, "refused: core.prs:5 is a line that the core refuses")
        self.accepts(host, lambda: self.write("core.prs", text))

    def test_with_strict_includes_keys_and_ignored_files(self):
        self.write("config/ixlap.configmanager.prs", "test.id = a.prs\n")
        self.write("config/a.prs", "a = b\n")
        host = self.watch("--strict")
        text = (self.dir / "core.prs").read_text()
        self.write("core.prs", text + "core.free.plugin.lib = true\n")
        self.refuses(host, 'refused: core.prs:5: "core.free.plugin.lib" is not a key of the core')
        self.write("config/a.prs", "broken\n")
        self.write("core.prs", text)
        self.refuses(host, "refused: config/a.prs:1 is a line that the core refuses")
        self.accepts(host, lambda: self.write("config/a.prs", "a = b\n"))

    def test_with_strict_includes_plugins_that_do_not_fit_together(self):
        host = self.watch("--strict")
        noted = self.dir / "plugins/libnoted.so"
        write_noted(variant("noted"), noted, "requires\ttest.none", "core\t999.0.0")
        self.refuses(host, "refused: plugins/libnoted.so needs version 999.0.0 of the core, which is ")
        self.accepts(host, noted.unlink)

    def test_without_strict_excludes_plugins_that_do_not_fit_together(self):
        host = self.watch()
        write_noted(variant("noted"), self.dir / "plugins/libnoted.so", "core\t999.0.0")
        self.assert_restarts(host, 1, "plugins/libnoted.so (new)")
        self.await_error("warning: plugins/libnoted.so needs version 999.0.0 of the core, which is ")
        self.end_watch(host)

    def test_without_room_for_copies_keeps_the_core(self):
        host = self.watch()
        shutil.rmtree(next((self.dir / "tmp").iterdir()))
        self.replace("watched_2")
        self.refuses(host, "refused: ")
        self.end_watch(host)

    def test_without_the_probe_keeps_the_core(self):
        program, environment = self.installed_copy("ixla-probe")
        host = self.watch(program=program, environment=environment)
        probe = self.dir / "libexec/ixlal/ixla-probe"
        probe.rename(self.dir / "probe")
        self.replace("watched_2")
        self.refuses(host, f"refused: cannot start {self.dir}/bin/../libexec/ixlal/ixla-probe: No such")
        (self.dir / "probe").rename(probe)
        self.accepts(host)


class FailedStart(WatchTest):
    def test_after_a_change_waits_for_the_next_one(self):
        host = self.watch("--ready-file", "ready")
        self.assertTrue((self.dir / "ready").exists())
        self.replace("watched_fail")
        self.await_error("the required interface test.watched did not initialise: -2003")
        self.await_error("no core runs; the host waits for the next change")
        self.assertFalse((self.dir / "ready").exists())
        self.replace("watched_abort")
        self.await_error("still no core runs; correct the files")
        self.replace("watched_2")
        self.await_match(host, "version 2\n")
        self.await_match(host, RESTARTED)
        self.assertEqual(f"{host.pid}\n", (self.dir / "ready").read_text())
        self.end_watch(host)

    def test_leaves_its_exit_code(self):
        host = self.watch()
        self.replace("watched_fail")
        self.await_error("no core runs; the host waits for the next change")
        self.end_watch(host, 4)

    def test_with_strict_is_a_degraded_one(self):
        host = self.watch("--strict")
        self.write("core.prs", (self.dir / "core.prs").read_text() + "core.autostart.list = none\n")
        self.await_error('degraded: "none" of core.autostart.list matches nothing: there is no '
                         "plugins/libnone.so")
        self.await_error("no core runs; the host waits for the next change")
        self.end_watch(host, 9)

    def test_of_the_first_core_ends_the_host(self):
        self.library.unlink()
        host = self.launch_watch()
        self.assertEqual(3, host.wait(LIMIT), self.errors)
        self.assertEqual([], list((self.dir / "tmp").iterdir()))

    def test_without_a_place_for_copies_is_one_line(self):
        code, out, err = self.run_host("--prs", "core.prs", "--watch",
                                       environment={"TMPDIR": "/nonexistent"})
        self.assertEqual((7, ""), (code, out))
        self.assertEqual(1, len(err.splitlines()), err)

    def test_without_the_probe_is_one_line(self):
        program, environment = self.installed_copy()
        code, out, err = self.run_host("--prs", "core.prs", "--watch", program=program,
                                       environment=environment)
        self.assertEqual((7, ""), (code, out), err)
        self.assertIn("libexec/ixlal/ixla-probe, which is missing; install ixlal-tools", err)


class Signals(WatchTest):
    def stops_after(self, host, line):
        """Sends the signal when the plugin waits, as this line says."""
        self.await_match(host, line)
        host.send_signal(signal.SIGTERM)
        self.await_error("SIGTERM, stopping")
        self.write("go", "")
        self.assertEqual("ixla-host: stopped\n", host.stdout.read())
        self.assertEqual(0, host.wait(LIMIT))

    def test_during_the_stop_of_a_restart_prevent_the_start(self):
        self.replace("watched_slow_stop")
        host = self.watch()
        self.replace("watched_2")
        self.stops_after(host, "waits in stop\n")

    def test_during_the_start_of_a_restart_stop_after_it(self):
        host = self.watch()
        self.replace("watched_slow_init")
        self.stops_after(host, "waits in init\n")

    def test_during_the_check_end_it(self):
        host = self.watch()
        self.replace("watched_hang")
        self.await_match(host, "ixla-host: changed: plugins/libwatched.so\n")
        self.assertEqual("ixla-host: stopped\n", self.end_watch(host))

    def test_of_a_second_time_end_a_restart_that_hangs(self):
        self.replace("watched_slow_stop")
        host = self.watch()
        self.replace("watched_2")
        self.await_match(host, "waits in stop\n")
        host.send_signal(signal.SIGTERM)
        self.await_error("SIGTERM, stopping")
        host.send_signal(signal.SIGINT)
        self.assertEqual(128 + signal.SIGINT, host.wait(LIMIT))
        self.assertEqual([], list((self.dir / "tmp").iterdir()))


class Remainders(WatchTest):
    def test_of_a_library_that_stays_loaded_are_reported(self):
        self.replace("watched_held")
        host = self.watch("core.free.plugins.lib=true")
        self.replace("watched_2")
        self.await_match(host, "version 2\n")
        self.await_match(host, RESTARTED)
        self.await_error("warning: the earlier libwatched.so could not be unloaded; the new code "
                         "runs, and the old code stays in the process\n")
        self.end_watch(host)

    def test_of_unloaded_libraries_do_not_exist(self):
        host = self.watch("core.free.plugins.lib=true")
        self.replace("watched_2")
        self.await_match(host, RESTARTED)
        (base,) = (self.dir / "tmp").iterdir()
        self.assertEqual(["2"], [copy.name for copy in base.iterdir()])
        self.end_watch(host)
        self.assertNotIn("earlier", "".join(self.errors))

    def test_without_closing_are_explained(self):
        host = self.watch()
        self.replace("watched_2")
        self.await_error("the earlier libwatched.so is not unloaded, because core.free.plugins.lib "
                         "is false; the new code runs")
        self.await_match(host, RESTARTED)
        self.end_watch(host)

    def test_of_a_needed_library_whose_old_code_is_used_are_reported(self):
        helper = self.dir / "plugins/libwatched_helper.so"
        shutil.copyfile(VARIANTS / "watched_helper_1/libwatched_helper.so", helper)
        self.replace("watched_user")
        host = self.launch_watch("core.free.plugins.lib=true")
        self.await_match(host, "helper 1\n")
        self.await_match(host, "ixla-host: ready, .*\n")
        shutil.copyfile(VARIANTS / "watched_helper_2/libwatched_helper.so", helper)
        self.await_match(host, "helper 1\n")
        self.await_error("warning: the earlier libwatched_helper.so could not be unloaded; its old "
                         "code is still used; restart the host to use the new one\n")
        self.end_watch(host)


class Manager(WatchTest, ManagedTest):
    def await_message(self, wanted):
        message = self.receive()
        while not message.startswith(wanted):
            self.assertNotIn("STOPPING=1", message)
            message = self.receive()
        return message

    def await_ready(self):
        self.await_message("READY=1")
        self.assertEqual("STATUS=Ready", self.receive())

    def watch(self, *arguments, environment=None, **options):
        return super().watch(*arguments, environment={"NOTIFY_SOCKET": "notify",
                                                      **(environment or {})}, **options)

    def test_is_notified_of_a_restart(self):
        host = self.watch()
        self.await_ready()
        self.replace("watched_2")
        self.assertRegex(self.receive(), r"^RELOADING=1\nMONOTONIC_USEC=\d+$")
        self.await_ready()
        self.await_match(host, RESTARTED)
        self.end_watch(host)
        self.assertEqual("STOPPING=1", self.receive())

    def test_is_notified_of_a_start_that_failed(self):
        host = self.watch()
        self.await_message("READY=1")
        self.replace("watched_fail")
        self.await_message("RELOADING=1")
        self.assertEqual("READY=1\nSTATUS=No core runs: the last start failed; waiting for a change",
                         self.await_message("READY=1"))
        self.end_watch(host, 4)
        self.assertEqual("STOPPING=1", self.receive())

    def test_is_answered_while_no_core_runs(self):
        host = self.watch(environment={"WATCHDOG_USEC": "200000"})
        self.await_message("READY=1")
        self.replace("watched_fail")
        self.await_message("READY=1\nSTATUS=No core runs")
        for _ in range(5):
            self.assertEqual("WATCHDOG=1", self.receive())
        self.end_watch(host, 4)


if __name__ == "__main__":
    unittest.main()
