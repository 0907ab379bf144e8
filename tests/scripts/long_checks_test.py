#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests scripts/long-checks.sh in a small repository with stand-ins for the checks: SCRIPTS"""

import json
import re
import shutil
import string
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(sys.argv.pop(1)).resolve()
sys.dont_write_bytecode = True
sys.path.insert(0, str(SCRIPTS))
import long_check_table  # noqa: E402

# What the real commands print.
OUTPUTS = {
    "soak.sh": "minute 1: 30 cycles, 5000 operations, 0 errors\n\n"
               "operation                                count    errors\n"
               "total                                  204,302972         0\n".replace(",", "")
               + "\n            RSS [KB] private [KB] malloc [bytes] handles  threads  mappings\n"
               "start              5176          712         163504        8        1        88\n"
               "end                5260          796         168832        8        1        88\n"
               "168 cycles with 8 threads: passed\n",
    "coverage.sh": "lines: 98.7% (9870 out of 10000)\nbranches: 95.2% (952 out of 1000)\n",
    "mutation.sh": "2 of 2 faults caught\n438 drawn: 17 do not compile\n"
                   "171 of 172 that change behaviour caught\n",
    "schedules.sh": "Small 30 schedules, 30 different, 9 points each, 0.1 s, 300/s, all: passed\n"
                    "One 500 schedules, 70 different, 9 points each, 1.0 s, 70/s, seed 1: passed\n"
                    "Two 50 schedules, 9 different, 9 points each, 1.0 s, 9/s, seed 1: passed\n",
    "schedules-faults.sh": "143 of 144 faults found\n",
    "fuzz.sh": "keys      49361 executions   15923 exec/s\nlog        1000 executions  1514 exec/s\n",
    "test.sh": "100% tests passed, 0 tests failed out of 1950\n\nSkipped, fully or partly: 3\n"
               "  Small.Mount: no disk\nLeft out: 32 entries of tests/armhf/left-out.txt\n",
    "check-reproducible.sh": "61 files are the same in both builds, and name no directory of them\n",
    "check-valgrind.sh": "323 tests, 2 excluded, 0 reports, 500 s in all\n",
    "check-static.sh": "clang-tidy: no findings in 107 sources in port\n",
    "check-clean-root.sh": "root      exit code   0     12 s  scripts/demo.sh\n",
    "check-plugin-root.sh": "== 9 commands, 41 s\n",
}


class LongChecks(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory(prefix="ixlal long ")
        self.addCleanup(place.cleanup)
        self.root = Path(place.name)
        (self.root / "scripts").mkdir()
        for name in ("long-checks.sh", "long_checks.py", "long_check_table.py"):
            shutil.copy(SCRIPTS / name, self.root / "scripts")
        for name in OUTPUTS:
            self.stand_in(name)
        (self.root / "docs").mkdir()
        self.page = self.root / "docs/long-checks.md"
        self.page.write_text("Before\n<!-- figures -->\n<!-- end of figures -->\nAfter\n")
        self.record = self.root / "docs/long-checks.json"
        self.git("init", "-q")
        for name in (*long_check_table.AUTHORS, "tests"):
            (self.root / name).mkdir()
            (self.root / name / "source.cpp").write_text("0")
        (self.root / ".gitignore").write_text("/build\n__pycache__\n")
        self.commit()

    def stand_in(self, name, code=0):
        (self.root / "text").mkdir(exist_ok=True)
        (self.root / "text" / name).write_text(OUTPUTS[name])
        script = self.root / "scripts" / name
        script.write_text(f'#!/bin/sh\necho "$0 $*"\ncat "text/{name}"\nexit {code}\n')
        script.chmod(0o755)

    def git(self, *arguments):
        subprocess.run(["git", "-C", str(self.root), "-c", "user.name=N", "-c", "user.email=n@localhost",
                        *arguments], check=True, capture_output=True)

    def commit(self):
        self.git("add", "-A")
        self.git("commit", "-qm", "Change")

    def change(self, text):
        (self.root / "core/source.cpp").write_text(text)
        self.commit()

    def run_checks(self, *arguments, code=0):
        done = subprocess.run([str(self.root / "scripts/long-checks.sh"), *arguments],
                              capture_output=True, text=True, stdin=subprocess.DEVNULL)
        self.assertEqual(code, done.returncode, done.stdout + done.stderr)
        return done.stdout

    def entry(self, name):
        return next(entry for entry in json.loads(self.record.read_text()) if entry["check"] == name)

    def test_figures_of_every_check_are_read(self):
        for check in long_check_table.CHECKS:
            output = OUTPUTS[check.command.split()[0].removeprefix("scripts/")]
            figures = check.figures(output)
            self.assertTrue(figures, check.name)
            with self.assertRaises(ValueError, msg=check.name):
                check.figures("nothing\n")
        self.assertEqual({"operations": 204302972, "errors": 0, "cycles": 168,
                          "private KB at the start": 712, "private KB at the end": 796},
                         long_check_table.SOAK(OUTPUTS["soak.sh"]))

    def test_schedules_are_those_of_each_scenario_that_differ(self):
        schedules, = (check for check in long_check_table.CHECKS if check.name == "schedules")
        self.assertEqual({"scenarios": 2, "different schedules": 79},
                         schedules.figures(OUTPUTS["schedules.sh"]))

    def test_figures_are_kept_with_date_commit_and_time(self):
        output = self.run_checks("--only", "drd", "--only", "soak", "--minutes", "7")
        self.assertIn("scripts/soak.sh --minutes 7\n", output)
        self.assertIn("drd: passed: 323 tests, 0 reports", output)
        drd = self.entry("drd")
        self.assertEqual({"tests": 323, "reports": 0}, drd["figures"])
        self.assertRegex(drd["date"], r"^\d{4}-\d\d-\d\d$")
        self.assertRegex(drd["commit"], r"^[0-9a-f]{8}$")
        page = self.page.read_text()
        self.assertRegex(page, r"\| drd \| .* \| 323 tests, 0 reports \| \d+-\d+-\d+, \w{8} \| 0 min ")
        self.assertTrue(page.startswith("Before\n") and page.endswith("After\n"), page)

    def test_failures_keep_the_last_figures(self):
        self.run_checks("--only", "drd")
        kept = self.record.read_text()
        self.stand_in("check-valgrind.sh", code=3)
        self.assertIn("drd: FAILED with 3\nFailed: drd\n", self.run_checks("--only", "drd", code=1))
        self.stand_in("check-valgrind.sh")
        (self.root / "text/check-valgrind.sh").write_text("no figures\n")
        self.assertIn("drd: no tests in the output\n", self.run_checks("--only", "drd", code=1))
        self.assertEqual(kept, self.record.read_text())

    def test_changes_must_be_committed(self):
        (self.root / "port/source.cpp").write_text("1")
        output = self.run_checks("--only", "drd", code=1)
        self.assertIn("drd: commit the changes to include, port,", output)
        self.assertFalse(self.record.exists())

    def test_figures_become_too_old(self):
        self.run_checks("--only", "drd", "--only", "drawn-faults")
        limit = next(check.commits for check in long_check_table.CHECKS if check.name == "drd")
        for number in range(limit):
            self.change(str(number + 1))
        self.assertEqual("", self.run_checks("--verify"))
        self.change("one too many")
        output = self.run_checks("--verify", code=1)
        self.assertIn(f"drd: its figures are {limit + 1} commits old, {limit} are allowed", output)
        self.assertNotIn("drawn-faults:", output)

    def test_figures_of_other_sources_are_refused(self):
        self.run_checks("--only", "drd")
        record = json.loads(self.record.read_text())
        record[0]["sources"] = "0" * 16
        self.record.write_text(json.dumps(record))
        self.assertIn("drd: its figures are of other sources", self.run_checks("--verify", code=1))

    def test_figures_are_those_of_the_page(self):
        self.run_checks("--only", "drd")
        self.assertEqual("", self.run_checks("--verify"))
        self.page.write_text(self.page.read_text().replace("323 tests", "324 tests"))
        self.assertIn("long-checks.md: the table differs", self.run_checks("--verify", code=1))

    def test_unknown_checks_are_refused(self):
        self.run_checks("--only", "drd")
        self.record.write_text(self.record.read_text().replace('"drd"', '"gone"'))
        self.assertIn("there is no check gone", self.run_checks("--verify", code=1))
        self.run_checks("--only", "gone", code=2)
        self.run_checks("--minutes", "0", code=2)

    def test_checks_that_were_not_run_promise_nothing(self):
        self.run_checks("--only", "drd")
        self.assertEqual("", self.run_checks("--verify"))
        listed = self.run_checks("--list")
        self.assertRegex(listed, r"drd +\d{4}-\d\d-\d\d, 0 commits ago\n")
        self.assertIn("soak               not run yet\n", listed)

    def test_without_history_nothing_is_compared(self):
        self.run_checks("--only", "drd")
        shutil.rmtree(self.root / ".git")
        self.assertIn("SKIPPED: the tree has no history", self.run_checks("--verify", code=77))
        self.page.write_text(self.page.read_text().replace("323 tests", "324 tests"))
        self.run_checks("--verify", code=1)

    def test_the_history_around_the_tree_is_not_its_own(self):
        self.run_checks("--only", "drd")
        shutil.rmtree(self.root / ".git")
        inner = self.root / "build/tree"
        shutil.copytree(self.root, inner, ignore=shutil.ignore_patterns("build"))
        self.git("init", "-q")
        self.commit()
        done = subprocess.run([str(inner / "scripts/long-checks.sh"), "--verify"],
                              capture_output=True, text=True, stdin=subprocess.DEVNULL)
        self.assertEqual(77, done.returncode, done.stdout + done.stderr)

    def test_slices_come_round(self):
        count = sum(len(check.slices) for check in long_check_table.CHECKS)
        seen = set()
        for number in range(count):
            output = self.run_checks("--slice", str(count + number))
            name, _, command = output.splitlines()[0].partition(": ")
            self.assertNotIn("{", command)
            seen.add(name)
        self.assertEqual({check.name for check in long_check_table.CHECKS if check.slices}, seen)
        self.assertEqual(self.run_checks("--slice"), self.run_checks("--slice", "1"))
        self.assertNotEqual(self.run_checks("--slice"), self.run_checks("--slice", "2"))

    def test_every_test_is_in_one_slice_of_drd(self):
        drd = next(check for check in long_check_table.CHECKS if check.name == "drd")
        patterns = [command.split("'")[1] for command in drd.slices]
        for letter in string.ascii_uppercase:
            self.assertEqual(1, sum(bool(re.match(pattern, letter)) for pattern in patterns), letter)

    def test_failing_slices_fail(self):
        self.stand_in("soak.sh", code=1)
        self.run_checks("--slice", "0", code=1)


if __name__ == "__main__":
    unittest.main()
