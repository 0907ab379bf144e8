# SPDX-License-Identifier: MIT
"""Tests of plugin information in ixla-validate: information_test.py PROGRAM NOTED"""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM, NOTED = sys.argv.pop(1), sys.argv.pop(1)

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "shared"))
from noted import write_noted, write_text  # noqa: E402 pylint: disable=wrong-import-position


class InformationTest(unittest.TestCase):
    def setUp(self):
        self.path = Path(self.enterContext(tempfile.TemporaryDirectory())) / "libnoted.so"

    def check(self):
        """The result and the reason of the check."""
        done = subprocess.run([PROGRAM, "--json", "--only", "interfaces", self.path], text=True,
                              capture_output=True, timeout=120, check=False)
        (found,) = (each for each in json.loads(done.stdout)["checks"]
                    if each["name"] == "interfaces")
        self.assertEqual(0 if found["result"] == "pass" else 1, done.returncode)
        return found["result"], found["reason"]

    def test_the_same_interfaces_pass(self):
        write_noted(NOTED, self.path, "offers\ttest.a\tx", "offers\ttest.b\tx")
        self.assertEqual(("pass", "2 interfaces"), self.check())

    def test_no_interface_passes(self):
        write_noted(NOTED, self.path)
        self.assertEqual("pass", self.check()[0])

    def test_an_interface_that_is_not_offered_fails(self):
        write_noted(NOTED, self.path, "offers\ttest.a\tx", "offers\ttest.b\tx", "really\ttest.b")
        self.assertEqual(
            ("fail", 'its plugin information names "test.a", which it does not offer'), self.check())

    def test_an_interface_that_is_not_named_fails(self):
        write_noted(NOTED, self.path, "offers\ttest.a\tx", "really\ttest.a", "really\ttest.b")
        self.assertEqual(
            ("fail", 'offers "test.b", which its plugin information does not name'), self.check())

    def test_all_differences_are_reported(self):
        write_noted(NOTED, self.path, "offers\ttest.a\tx", "really\ttest.b")
        self.assertEqual(
            ("fail", 'its plugin information names "test.a", which it does not offer; offers '
                     '"test.b", which its plugin information does not name'), self.check())

    def test_damage_fails(self):
        write_text(NOTED, self.path, b"1\nname\ta\nversion\t1\nurl\n")
        self.assertEqual(("fail", "its note 1 of type 1 is damaged: line 4 is not a field"),
                         self.check())


if __name__ == "__main__":
    unittest.main()
