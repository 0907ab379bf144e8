# SPDX-License-Identifier: MIT
"""Tests of the keys that ixla-host warns of: host_keys_test.py HOST CONFIG
The table of keys that `ixla-config core-keys` prints is compared with what the core does."""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HOST, CONFIG = sys.argv.pop(1), sys.argv.pop(1)
LIMIT = 30  # seconds
WRONG = {"number": "abc", "number from 0": "-1", "truth value": "maybe"}


def keys():
    text = subprocess.run([CONFIG, "core-keys", "--json"], check=True, capture_output=True,
                          text=True, timeout=LIMIT).stdout
    return json.loads(text)["keys"]


class HostKeys(unittest.TestCase):
    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))
        for name in ("plugins", "config", "log"):
            (self.dir / name).mkdir()
        (self.dir / "config/ixlap.configmanager.prs").touch()
        self.write_property_file()

    def write_property_file(self, *lines):
        (self.dir / "core.prs").write_text("\n".join((
            "core.plugins.dir = plugins", "core.plugins.config.dir = config",
            "core.plugins.log.dir = log", "core.free.plugins.lib = false", *lines)) + "\n")

    def run_host(self, *arguments):
        """The exit code and the warnings of a start and a stop."""
        done = subprocess.run([HOST, "--prs", "core.prs", "--seconds", "0", *arguments],
                              cwd=self.dir, stderr=subprocess.PIPE, stdout=subprocess.DEVNULL,
                              text=True, timeout=LIMIT, check=False)
        prefix = "ixla-host: warning: "
        return done.returncode, [line.removeprefix(prefix) for line in done.stderr.splitlines()
                                 if line.startswith(prefix)]

    def test_a_good_start_has_no_warning(self):
        self.assertEqual((0, []), self.run_host("core.log.level=-1", "core.log.file=core.log",
                                                "custom.config.net.prs=/etc/net.prs"))

    def test_names_of_others_are_left_alone(self):
        self.write_property_file("com.example.net.port = 80")
        self.assertEqual((0, []), self.run_host("com.example.net.port=80", "port=80", "log=x"))

    def test_a_misspelt_argument_is_named_with_what_is_meant(self):
        code, warnings = self.run_host("core.log.fil=core.log", "cor.autostart.list=net",
                                       "core.unheard=1")
        self.assertEqual((0, [
            'argument core.log.fil=core.log: "core.log.fil" is not a key of the core; did you '
            'mean "core.log.file"?',
            'argument cor.autostart.list=net: "cor.autostart.list" is not a key of the core; did '
            'you mean "core.autostart.list"?',
            'argument core.unheard=1: "core.unheard" is not a key of the core; `ixla-config '
            'core-keys` lists them']), (code, warnings))

    def test_strict_refuses_a_misspelt_key_before_the_start(self):
        arguments = ("--strict", "core.log.file=core.log")
        self.assertEqual((0, []), self.run_host(*arguments))
        (self.dir / "core.log").unlink()
        code, warnings = self.run_host(*arguments, "core.autostart.lists=net")
        self.assertEqual((14, 1), (code, len(warnings)))
        self.assertFalse((self.dir / "core.log").exists())

    def test_a_misplaced_key_is_named_with_its_place(self):
        self.write_property_file("core.log.file = core.log", "core.plugins.log.levels = 1")
        code, warnings = self.run_host("ixlap.configmanager.store.file=store.txt")
        self.assertEqual((0, [
            'argument ixlap.configmanager.store.file=store.txt: "ixlap.configmanager.store.file" '
            'has no effect here; the core reads it in ixlap.configmanager.prs',
            'core.prs:5: "core.log.file" has no effect here; the core reads it as an argument only',
            'core.prs:6: "core.plugins.log.levels" is not a key of the core; did you mean '
            '"core.plugins.log.level"?']), (code, warnings))
        self.assertFalse((self.dir / "core.log").exists())

    def test_every_wrong_value_is_named_and_has_the_stated_effect(self):
        for key in keys():
            # A negative timeout makes the stop wait for weeks.
            wrong = "abc" if key["key"].endswith("timeout") else WRONG.get(key["type"])
            if wrong is None:
                continue
            with self.subTest(key["key"]):
                code, warnings = self.run_host(f"{key['key']}={wrong}")
                self.assertEqual(1, len(warnings), warnings)
                self.assertIn(f'argument {key["key"]}={wrong}: "{wrong}" is ne' if wrong != "abc"
                              else f'argument {key["key"]}=abc: "abc" is not a number',
                              warnings[0])
                self.assertEqual(1 if "the start fails with -502" in warnings[0] else 0, code)


if __name__ == "__main__":
    unittest.main(verbosity=2)
