# SPDX-License-Identifier: MIT
"""Tests of starts that are incomplete, and of the advice after a failed one:
degraded_test.py HOST PLUGIN"""

import re
import shutil
import unittest

from host_case import HostTest

MANAGER = "config/ixlap.configmanager.prs"


class DegradedTest(HostTest):
    def found(self, code, *arguments, **options):
        """The findings of a start, which is a failed one with --strict only."""
        common = ("--prs", "core.prs", "--seconds", "0", *arguments)
        for strict, wanted in (("", 0), ("--strict", code)):
            done = self.run_host(*common, *filter(None, [strict]), **options)
            self.assertEqual(wanted, done[0], done)
            self.assertEqual(not strict or code == 0, "ready" in done[1], done)
        return re.findall(r"^ixla-host: degraded: (.*)$", done[2], re.M)

    def assert_found(self, wanted, code, *arguments, **options):
        found = self.found(code, *arguments, **options)
        self.assertEqual(1, len(found), found)
        self.assertIn(wanted, found[0])


class Complete(DegradedTest):
    def test_start_reports_nothing(self):
        (self.dir / "other").mkdir()
        self.write("other/prs", "x = y\n")
        self.write(MANAGER, "test.id = a.prs, other/prs\n"
                            "ixlap.configmanager.store.file = store.txt\n")
        self.write("config/a.prs", "key = value\n")
        self.assertEqual([], self.found(0, "core.log.file=sub\\core.log",
                                        "core.load.plugin.list=obstinate",
                                        "core.autostart.list=libobstinate, obstinate"))

    def test_start_accepts_every_place_of_a_key(self):
        self.write("core.prs", "core.plugins.dir = nowhere\ncore.plugins.config.dir = config\n"
                               "core.plugins.log.dir = log\ncore.free.plugins.lib = no\n"
                               "core.load.plugin.list = none\ncore.autostart.list = none\n")
        self.assertEqual([], self.found(0, "core.plugins.dir=none", "core.plugins.dir = ./plugins",
                                        "core.load.plugin.list=", "core.autostart.list=obstinate"))

    def test_log_that_is_no_file_is_accepted(self):
        self.assertEqual([], self.found(0, "core.log.file=/dev/null"))


class Plugins(DegradedTest):
    def test_directory_that_is_missing_is_named(self):
        self.assert_found('no plugin is loaded: the directory "nowhere" cannot be read: No such '
                          "file or directory; correct the argument core.plugins.dir",
                          8, "core.plugins.dir=nowhere")

    def test_directory_of_the_property_file_is_named_with_that_file(self):
        (self.dir / "plugins").rename(self.dir / "moved")
        self.assert_found("correct core.plugins.dir in core.prs", 8)

    def test_directory_that_is_a_file_is_named(self):
        self.write("file", "")
        self.assert_found('"file" cannot be read: Not a directory', 8, "core.plugins.dir=file")

    def test_directory_without_permission_is_named(self):
        (self.dir / "plugins").chmod(0)
        self.addCleanup((self.dir / "plugins").chmod, 0o755)
        self.assert_found('"plugins" cannot be read: Permission denied', 8, user=self.nobody())

    def test_misspelt_names_are_named(self):
        found = self.found(9, "core.load.plugin.list=obstinat,obstinate,net",
                           "core.autostart.list=obstinate, lib")
        self.assertEqual(3, len(found), found)
        self.assertIn('"obstinat" of core.load.plugin.list matches nothing: there is no '
                      "plugins/libobstinat.so; correct the argument core.load.plugin.list", found[0])
        self.assertIn('"net" of core.load.plugin.list', found[1])
        self.assertIn('"lib" of core.autostart.list matches nothing: there is no plugins/lib.so',
                      found[2])

    def test_autostart_of_a_library_that_is_not_loaded_is_named(self):
        shutil.copy(self.dir / "plugins/libobstinate.so", self.dir / "plugins/libzzz.so")
        self.assert_found("core.load.plugin.list does not name libzzz.so", 9,
                          "core.load.plugin.list=obstinate", "core.autostart.list=zzz")

    def test_library_without_a_factory_is_named(self):
        shutil.copy(self.library_of("libm.so.6"), self.dir / "plugins/libm.so")
        found = self.found(9, "core.load.plugin.list=obstinate,m", "core.autostart.list=m")
        self.assertEqual(2, len(found), found)
        for text in found:
            self.assertIn("libm.so has no factory ixlaGetPlugin", text)

    def test_autostart_that_fails_is_named(self):
        self.assert_found("libobstinate.so of core.autostart.list did not initialise: -7 ",
                          10, "core.autostart.list=obstinate", behaviour="fail in init")

    def test_autostart_that_fails_is_named_with_every_log(self):
        for arguments in (("core.log.file=core.log",),
                          ("core.log.maxsize=2000", "core.log.parts=9"),
                          ("core.log.file=r/core.log", "core.log.maxsize=2000", "core.log.parts=99")):
            with self.subTest(arguments):
                self.assert_found("libobstinate.so of core.autostart.list", 10, *arguments,
                                  "core.autostart.list=obstinate", behaviour="fail in init")

    def test_autostart_that_fails_is_found_with_errors_only(self):
        self.assert_found("a plugin of core.autostart.list (obstinate) did not initialise: -7",
                          10, "core.autostart.list=obstinate", "core.log.level=-1",
                          "core.log.file=core.log", behaviour="fail in init")

    def test_autostart_that_cannot_be_observed_is_reported(self):
        for argument in ("core.log.enable=false", "core.log.file=/dev/null", "core.log.maxsize=2000"):
            with self.subTest(argument):
                self.assert_found("the results of core.autostart.list are unknown", 10, argument,
                                  "core.autostart.list=obstinate")


class Files(DegradedTest):
    def test_log_that_cannot_be_written_is_named(self):
        for path, reason in (("config", "Is a directory"), ("core.prs/log", "Not a directory")):
            with self.subTest(path):
                self.assert_found(f'the core log "{path}" cannot be written: {reason}; correct the '
                                  "argument core.log.file", 11, f"core.log.file={path}")

    def test_log_without_permission_is_named(self):
        self.write("core.log", "")
        self.assert_found('"core.log" cannot be written: Permission denied', 11,
                          "core.log.file=core.log", user=self.nobody())

    def test_log_beyond_the_limit_of_a_file_is_named(self):
        self.assert_found("no line arrived", 11, "core.log.file=core.log",
                          preexec_fn=self.without_room,
                          # The counters of a coverage build have no room either.
                          environment={"GCOV_PREFIX": "/dev/null"})

    def test_file_of_the_manager_that_is_missing_is_named(self):
        (self.dir / MANAGER).unlink()
        self.assert_found(f"the file of the configuration manager {MANAGER} is ignored: -2", 12)

    def test_file_of_the_manager_that_is_broken_is_named_with_its_line(self):
        self.write(MANAGER, "a = b\n\nbroken\n")
        self.assert_found(f"{MANAGER}:3 is ignored: -3001", 12)

    def test_file_of_an_id_that_is_missing_or_broken_is_named(self):
        self.write(MANAGER, "test.id = none.prs, broken.prs, fine.prs\nother.id = none.prs\n")
        self.write("config/broken.prs", "=\n")
        self.write("config/fine.prs", "a = b\n")
        found = self.found(12)
        self.assertEqual(2, len(found), found)
        self.assertTrue(any("config/none.prs is ignored: -2" in text for text in found), found)
        self.assertTrue(any("broken.prs:1 is ignored: -3001" in text and "ID test.id lacks" in text
                            for text in found), found)

    def test_file_that_is_redirected_is_named_with_its_place(self):
        self.write(MANAGER, "test.id = a.prs\n")
        self.assert_found("the configuration file else/b.prs is ignored", 12,
                          "custom.config.a.prs=else/b.prs")

    def test_store_that_is_broken_is_named(self):
        self.write("config/store.txt", "a|b = c\nd|e\n")
        self.assert_found("the store config/store.txt:2 is ignored: -3001", 12)

    def test_store_of_another_user_is_named(self):
        self.write("config/store.txt", "a|b = c\n")
        (self.dir / "config/store.txt").chmod(0o600)
        self.assert_found("the store config/store.txt is ignored: -13 (Permission denied); no "
                          "stored value is used", 12, user=self.nobody())

    def test_named_pipe_does_not_block_the_start(self):
        self.make_pipe("config/pipe.prs")
        self.write(MANAGER, "test.id = pipe.prs\n")
        self.assertEqual([], self.found(0))

    def test_first_code_counts(self):
        self.write("config/store.txt", "broken\n")
        found = self.found(9, "core.load.plugin.list=net")
        self.assertEqual(2, len(found), found)


class Advice(HostTest):
    def fails(self, *arguments, **options):
        code, _, err = self.run_host(*arguments, "--seconds", "0", **options)
        self.assertIn(code, (1, 4), err)
        return err

    def test_names_the_argument_that_is_refused(self):
        for argument, value in (("core.log.level", "high"), ("core.log.maxsize", "-1"),
                                ("core.log.parts", "x"), ("core.log.enable", "maybe")):
            with self.subTest(argument):
                err = self.fails("core.log.level=1", f"{argument} = {value}")
                self.assertIn(f'warning: argument {argument} = {value}: "{value}" is ', err)
                self.assertIn("ixla-host: correct the arguments of the warnings above\n", err)
                self.assertNotIn("LOG_IXLACORE", err)
                self.assertNotIn("core.log.file", err)

    def test_prints_the_errors_of_the_core_without_a_log(self):
        self.write("plugins/libwrong.so", "no library")
        err = self.fails("--prs", "core.prs")
        self.assertIn("ixla-host: it was loading libwrong.so\n", err)
        self.assertIn("the core reports: [loadPluginLib] Cannot load library: plugins/libwrong.so "
                      "reason: ", err)

    def test_names_the_library_instead_of_an_address(self):
        err = self.fails("--prs", "core.prs", "--require", "test.obstinate",
                         behaviour="fail in init")
        self.assertIn("the core reports: [initPlugin][libobstinate.so] Failed to init plugin err: "
                      "-7\n", err)
        self.assertNotIn("[pg:0x", err)


if __name__ == "__main__":
    unittest.main()
