# SPDX-License-Identifier: MIT
"""Tests of the commands with damaged memory and with cut core dumps: damage_test.py BUILD SOURCES"""

import os
import re
import unittest
from pathlib import Path

from all_commands import ALL
from stuck_host import BUILD, SOURCES, GdbTest

SEEDS = int(os.environ.get("GDB_SEEDS", "40"))
HERE = Path(__file__).resolve().parent
CUTS = 8  # sizes of a core dump


class Damage(GdbTest):
    """A host with a value of every kind."""

    def waiting_host(self):
        process = self.start(
            "first", "second", "gone",
            first="set test.id key value,watch test.id test.topic,load test.id,listen test.topic,"
                  "unload gone,set other.id key value,listen test.other,thread other,await begun,"
                  "ask second", other="ask second", second="touch begun,ask first")
        self.await_output("ask first", "ask second", "ask second")
        self.await_sleeping(process, 3)
        return process

    def test_ends_with_a_message(self):
        process = self.waiting_host()
        first = int(os.environ.get("GDB_FIRST_SEED", "0"))
        os.environ.update(FIRST_SEED=str(first), LAST_SEED=str(first + SEEDS))
        done = self.gdb("-p", process.pid, *self.execute(),
                        "-ex", f"python import sys; sys.path.insert(0, {str(HERE)!r})",
                        "-x", HERE / "damage.py")
        self.assertRegex(done.stdout, re.compile(r"^\d\d damages, \d+ seeds, 0 problems$", re.M),
                         done.stdout + done.stderr)

    def test_of_a_cut_core_dump_ends_with_a_message(self):
        core = self.dump(self.waiting_host())
        size = core.stat().st_size
        for cut in range(CUTS):
            os.truncate(core, size - cut * size // CUTS)
            with self.subTest(f"{cut}/{CUTS} are missing"):
                done = self.gdb("-ex", f"file {BUILD}/bin/ixla-host", "-ex", f"core-file {core}",
                                *self.execute(*ALL))
                self.assertNotIn("AttributeError", done.stdout + done.stderr)
                if "not a core dump" not in done.stderr:
                    self.assertRegex(done.stdout + done.stderr, r"core  |cut short|Cannot access")


if __name__ == "__main__":
    unittest.main(verbosity=2)
