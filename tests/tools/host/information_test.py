# SPDX-License-Identifier: MIT
"""Tests of what the host finds in the plugin information: information_test.py HOST PLUGIN NOTED
NOTED is the plugin of noted.py; PLUGIN has no information and offers test.obstinate."""

import re
import sys
import unittest
from pathlib import Path

NOTED = sys.argv.pop(3)

from host_case import PLUGIN, HostTest  # noqa: E402 pylint: disable=wrong-import-position
from noted import write_noted, write_text  # noqa: E402 pylint: disable=wrong-import-position

REFUSAL = "ixla-host: --strict refuses these plugins; the core was not started\n"


class InformationTest(HostTest):
    def setUp(self):
        super().setUp()
        (self.dir / "plugins" / Path(PLUGIN).name).rename(self.dir / "silent.so")

    def add(self, name, *lines, **options):
        write_noted(NOTED, self.dir / f"plugins/lib{name}.so", *lines, **options)

    def add_silent(self):
        """A plugin without information."""
        (self.dir / "silent.so").rename(self.dir / "plugins/libsilent.so")

    def start(self, *arguments):
        """The exit code of a start and a stop, its warnings, and what is degraded."""
        code, _, err = self.run_host("--prs", "core.prs", "--seconds", "0",
                                     "core.log.file=core.log", *arguments)
        found = [re.findall(rf"^ixla-host: {kind}: (.*)$", err, re.M)
                 for kind in ("warning", "degraded")]
        return code, *found, err

    def assert_warned(self, code, *wanted):
        """A start prints these warnings, and with --strict there is none."""
        code_found, warnings, degraded, _ = self.start("--strict")
        self.assertEqual((code, list(wanted), []), (code_found, warnings, degraded))
        self.assertFalse((self.dir / "core.log").exists(), "the core was started")
        _, warnings, degraded, err = self.start()
        self.assertEqual((list(wanted), []), (warnings, degraded))
        self.assertNotIn(REFUSAL, err)
        self.assertTrue((self.dir / "core.log").exists())


class Fitting(InformationTest):
    def test_plugins_are_accepted(self):
        self.add("a", "offers\ttest.a\tfor b", "requires\tcom.kelvora.ixla.logger", "core\t0.0.1")
        self.add("b", "offers\ttest.b\tfor all", "requires\ttest.a", "optional\ttest.none")
        self.assertEqual((0, [], []), self.start("--strict")[:3])

    def test_plugins_without_information_are_accepted(self):
        self.add_silent()
        self.assertEqual((0, [], []), self.start("--strict")[:3])

    def test_plugins_without_information_may_offer_what_is_required(self):
        self.add_silent()
        self.add("a", "requires\ttest.obstinate")
        self.assertEqual((0, [], []), self.start("--strict")[:3])

    def test_only_loaded_libraries_count(self):
        self.add("a", "offers\ttest.a\tone")
        self.add("b", "offers\ttest.a\tanother")
        self.assertEqual((0, [], []), self.start("--strict", "core.load.plugin.list=a")[:3])

    def test_newer_information_is_read(self):
        self.add("a", "something else", version="2")
        wanted = ["plugins/liba.so: a note is newer than this host, which reads what it knows"]
        self.assertEqual((0, wanted, []), self.start("--strict")[:3])


class Misfitting(InformationTest):
    def test_missing_interface_is_refused(self):
        self.add("a", "requires\ttest.none")
        self.assert_warned(15, "plugins/liba.so requires test.none, which no plugin offers; add the "
                               "plugin that offers it")

    def test_missing_interface_of_a_library_that_is_not_loaded_is_refused(self):
        self.add("a", "requires\ttest.b")
        self.add("b", "offers\ttest.b\tfor a")
        self.assertEqual(0, self.start("--strict")[0])
        self.assertEqual(15, self.start("--strict", "core.load.plugin.list=a")[0])

    def test_missing_interface_in_doubt_is_found_after_the_start(self):
        self.add_silent()
        self.add("a", "requires\ttest.none")
        for arguments, wanted in (((), 0), (("--strict",), 15)):
            with self.subTest(arguments):
                code, warnings, degraded, _ = self.start(*arguments)
                self.assertEqual((wanted, []), (code, warnings))
                self.assertEqual(["plugins/liba.so requires test.none, which no plugin offers; add "
                                  "the plugin that offers it"], degraded)

    def test_interface_that_two_plugins_offer_is_refused(self):
        self.add("a", "offers\ttest.a\tone")
        self.add("b", "offers\ttest.a\tanother")
        self.assert_warned(16, "plugins/libb.so offers test.a, which plugins/liba.so offers "
                               "already; the core does not start with both; remove one")

    def test_interface_of_the_core_is_refused(self):
        self.add("a", "offers\tcom.kelvora.ixla.logger\tbetter logs")
        self.assert_warned(16, "plugins/liba.so offers com.kelvora.ixla.logger, which the core "
                               "itself offers already; the core does not start with both; remove "
                               "one")

    def test_circle_is_refused(self):
        self.add("a", "offers\ttest.a\t", "requires\ttest.b")
        self.add("b", "offers\ttest.b\t", "requires\ttest.c")
        self.add("c", "offers\ttest.c\t", "requires\ttest.a")
        self.add("user", "requires\ttest.a")
        self.assert_warned(17, "plugins/liba.so requires test.b of plugins/libb.so, which requires "
                               "test.c of plugins/libc.so, which requires test.a of "
                               "plugins/liba.so: a circle, in which no plugin can initialise; make "
                               "one requirement optional")

    def test_older_core_is_refused(self):
        self.add("a", "core\t999.0.0")
        (_, (warning,), _, _) = self.start()
        version = re.search(r"which is ([0-9.]+)", warning)[1]
        (self.dir / "core.log").unlink()
        self.assert_warned(18, "plugins/liba.so needs version 999.0.0 of the core, which is "
                               f"{version}; install a newer core, or an older plugin")

    def test_damage_is_refused(self):
        write_text(NOTED, self.dir / "plugins/liba.so", b"1\nname\ta\nversion\t1\nurl\n")
        self.assert_warned(19, "plugins/liba.so: its note 1 of type 1 is damaged: line 4 is not a "
                               "field; build the plugin again")

    def test_first_code_counts(self):
        self.add("a", "core\t999.0.0", "requires\ttest.none")
        code, warnings, _, _ = self.start("--strict")
        self.assertEqual((15, 2), (code, len(warnings)))

    def test_control_characters_are_escaped(self):
        self.add("a", "requires\ttest.\033[2J")
        self.assertIn("requires test.\\x1b[2J,", self.start()[1][0])


if __name__ == "__main__":
    unittest.main()
