#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests fuzz.sh with fuzzers that only say what they were told: fuzz_test.py SCRIPTS"""
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path()
NOTHING = "#!/bin/sh\n"
FINDS = "#!/bin/sh\necho \"Doesn't hold: bytes come back\"\n" \
        "echo 'AddressSanitizer: heap-buffer-overflow'\nexit 1\n"
# The fuzzer prints its statistics where it was told a number of runs.
RUNS = """#!/bin/sh
echo "$*" >>"$(dirname "$0")/told"
for option; do
    case $option in
    -runs=*) echo "stat::number_of_executed_units: ${option#-runs=}" ;;
    esac
done
"""
FAILS = RUNS + "echo 'Test unit written to /finding'\nexit 1\n"


class FuzzTest(unittest.TestCase):
    def setUp(self):
        self.root = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.bin = self.root / "build/fuzz/bin"
        self.executed = self.root / "tests/fuzz/executed.txt"
        for path in (self.root / "scripts", self.bin, self.root / "tests/fuzz/corpus/tokens"):
            path.mkdir(parents=True)
        shutil.copy(SCRIPTS / "fuzz.sh", self.root / "scripts")
        (self.root / "tests/fuzz/corpus/tokens/input").write_text("a,b")
        self.executed.write_text("")
        self.program(self.root / "scripts/install-deps.sh", NOTHING)
        for name, text in (("cmake", NOTHING), ("git", "#!/bin/sh\necho 0123abcd\n"),
                           ("fuzz_wrong", FINDS), ("fuzz_overrun", FINDS), ("fuzz_tokens", RUNS)):
            self.program(self.bin / name, text)

    def program(self, path, text):
        path.write_text(text)
        path.chmod(0o755)

    def run_script(self, *arguments):
        return subprocess.run([self.root / "scripts/fuzz.sh", *arguments], capture_output=True,
                              text=True, stdin=subprocess.DEVNULL, check=False,
                              env={"PATH": f"{self.bin}:/usr/bin:/bin"})

    def told(self):
        """The runs and seeds of the fuzzer."""
        text = (self.bin / "told").read_text()
        return re.findall(r"-runs=(\d+) -seed=(\d+)", text)

    def test_bad_arguments_are_refused(self):
        for arguments in (["--runs"], ["--runs", "0"], ["--executions", "many"], ["--unknown"],
                          ["wrong"], ["nothing"]):
            with self.subTest(arguments):
                result = self.run_script(*arguments)
                self.assertEqual(result.returncode, 2)
                self.assertIn("fuzz.sh [--seconds N]", result.stderr)

    def test_runs_start_from_the_corpus_with_one_seed(self):
        old = self.root / "build/fuzz/work/tokens.runs/old"
        old.parent.mkdir(parents=True)
        old.write_text("")
        result = self.run_script("--runs", "7", "tokens")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertRegex(result.stdout, r"tokens +7 executions")
        self.assertEqual(self.told(), [("7", "1")])
        self.assertFalse(old.exists())

    def test_a_finding_fails_with_the_command_that_repeats_it(self):
        self.program(self.bin / "fuzz_tokens", FAILS)
        result = self.run_script("--runs", "7", "tokens")
        self.assertEqual(result.returncode, 1)
        self.assertIn("tokens: FOUND /finding", result.stderr)
        self.assertIn("build/fuzz/bin/fuzz_tokens /finding", result.stderr)

    def test_executions_continue_what_is_recorded(self):
        self.executed.write_text("tokens 400000 executions, 2.0 s, 200000/s, seed 1, commit 0\n"
                                 "keys 9000000 executions, 9.0 s, 1000000/s, seed 1, commit 0\n")
        result = self.run_script("--executions", "1200000", "tokens")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.told(), [("500000", "2"), ("300000", "3")])
        lines = self.executed.read_text().splitlines()
        self.assertEqual(len(lines), 4)
        self.assertRegex(lines[-1], r"^tokens +300000 executions, .* seed 3, commit 0123abcd$")
        self.assertEqual(self.run_script("--executions", "1200000", "tokens").returncode, 0)
        self.assertEqual(len(self.executed.read_text().splitlines()), 4)

    def test_executions_with_a_finding_are_not_recorded(self):
        self.program(self.bin / "fuzz_tokens", FAILS)
        self.assertEqual(self.run_script("--executions", "10", "tokens").returncode, 1)
        self.assertEqual(self.executed.read_text(), "")

    def test_the_table_has_the_sums(self):
        self.executed.write_text("tokens 400000 executions, 2.0 s, 200000/s, seed 1, commit 0\n"
                                 "tokens 200000 executions, 1.0 s, 200000/s, seed 2, commit 0\n")
        result = self.run_script("--table")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("| tokens | 600000 | 3 | 200000 | 2 |\n", result.stdout)


if __name__ == "__main__":
    SCRIPTS = Path(sys.argv.pop(1))
    unittest.main()
