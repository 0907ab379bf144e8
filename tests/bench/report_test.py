# SPDX-License-Identifier: MIT
"""Tests of the benchmarks' report with invented figures: report_test.py SCRIPTS"""

import contextlib
import io
import json
import shutil
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, sys.argv.pop(1))
import bench_report

BASELINE = bench_report.BASELINE
COSTS = bench_report.COSTS
LIMITS = bench_report.LIMITS
MEASURED = bench_report.MEASURED


def run(name, time, allocations, **counters):
    return {"name": f"{name}/iterations:10/real_time", "run_type": "iteration",
            "real_time": time, "allocations": allocations, **counters}


OURS = "look up/ours/10/1"
FLOORS = {"look up/floor, tree/10/1": 90, "look up/floor, hash/10/1": 50}


class Report(unittest.TestCase):
    def setUp(self):
        self.results = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.limits({"look": {"allocations": 5}, "look up": {"ratio": 3, "allocations": 0}})
        self.baseline({OURS: 100})
        self.costs({"look up": [4, 1, 3]})
        (self.results / "costs").write_text("look up: 4 1 3\n")
        self.measured(allocations=0)
        self.counted(FLOORS | {OURS: 100})

    def limits(self, limits):
        bench_report.LIMITS = self.written("limits.json", limits)

    def baseline(self, baseline):
        bench_report.BASELINE = self.written("baseline.json", baseline)

    def costs(self, costs):
        bench_report.COSTS = self.written("costs.json", costs)

    def written(self, name, content):
        path = self.results / name
        path.write_text(json.dumps(content))
        return path

    def measured(self, allocations, more=()):
        runs = [run("look up/floor, tree/10/1", time, 0) for time in (90, 100, 200)]
        runs += [run("look up/floor, hash/10/1", 55, 0)]
        runs += [run(OURS, time, allocations) for time in (100, 120, 110)]
        runs += [run("look up/peer/10/1", 220, 3), run("look up/slow/10/1", 330, 3)]
        self.written("times.json", {"benchmarks": [*runs, *more]})

    def measured_together(self, *both):
        """A sample for each of both, in which two threads ran at once or not."""
        self.measured(0, [run("look up/ours/10/2", time, 0, both=ran, rival=1.2)
                          for time, ran in zip((200, 1), both)])
        return bench_report.summarise(self.results)

    def counted(self, instructions):
        shutil.rmtree(self.results / "counts", ignore_errors=True)
        directory = self.results / "counts"
        directory.mkdir()
        turns = "".join(f"{name} 50\n" for name in instructions)
        (directory / "turns").write_text(f"\n[core] hello\n{turns}")
        for number, (name, count) in enumerate(instructions.items()):
            (directory / f"out.{number}").write_text(f"desc: Trigger: Client Request: {name}\n"
                                                     f"totals: {count * 50}\n")

    def check(self):
        with contextlib.redirect_stdout(io.StringIO()) as said:
            return bench_report.check(self.results), said.getvalue()

    def test_passes_within_the_limits(self):
        self.counted(FLOORS | {OURS: 105})
        self.assertEqual(0, self.check()[0])

    def test_detects_more_instructions(self):
        self.counted(FLOORS | {OURS: 106})
        self.assertEqual((1, f"{OURS}: 106 instructions for an operation, 100 recorded\n"),
                         self.check())

    def test_detects_an_allocation(self):
        self.measured(allocations=1)
        self.assertEqual(1, self.check()[0])

    def test_detects_a_case_that_is_no_longer_counted(self):
        self.counted(FLOORS | {"look down/ours/10/1": 100})
        self.assertIn(f"{OURS}: no longer counted\n", self.check()[1])

    def test_detects_a_case_without_a_record(self):
        self.baseline({})
        self.assertEqual((1, f"{OURS}: counted, but not recorded\n"), self.check())

    def test_compares_with_the_cheapest_floor(self):
        self.counted({OURS: 100, "look up/floor, tree/10/1": 90, "look up/floor, hash/10/1": 33})
        self.assertEqual((1, "look up, 10: 3.03 times the floor's instructions, 3 allowed\n"),
                         self.check())

    def test_detects_limits_without_a_case(self):
        self.limits({"look": {"ratio": 3}, "set": {"ratio": 2}})
        self.assertEqual((1, "set: has limits, but nothing was counted\n"), self.check())

    def test_refuses_a_wrong_result(self):
        failed = run(OURS, 1, 0) | {"error_occurred": True, "error_message": "wrong"}
        (self.results / "times.json").write_text(json.dumps({"benchmarks": [failed]}))
        with self.assertRaisesRegex(SystemExit, "wrong"):
            bench_report.check(self.results)

    def test_records_the_baseline_of_the_check(self):
        self.counted(FLOORS | {OURS: 140})
        bench_report.record(self.results)
        self.assertEqual({OURS: 140}, json.loads(bench_report.BASELINE.read_text()))
        self.assertEqual(0, self.check()[0])

    def test_detects_more_atomic_changes_locks_and_shared_lines(self):
        for seen in ("5 1 3", "4 2 3", "4 1 4"):
            (self.results / "costs").write_text(f"look up: {seen}\n")
            self.assertIn("at most [4, 1, 3] allowed\n", self.check()[1])
        (self.results / "costs").write_text("look up: 0 0 0\n")
        self.assertEqual(0, self.check()[0])

    def test_detects_costs_without_a_limit_and_limits_without_costs(self):
        self.costs({"look down": [0, 0, 0]})
        self.assertEqual("look down: its changes are no longer counted\n"
                         "look up: costs.json has no limit for its changes\n", self.check()[1])

    def test_models_more_processors(self):
        def on(processors, *cost):
            return bench_report.modelled(cost, 100, 25, processors)

        self.assertEqual(1, on(1, 4, 1, 3))
        self.assertEqual(64, on(64, 2, 1, 0))
        self.assertEqual(0.8, on(64, 2, 1, 1))
        self.assertEqual(1.6, on(2, 2, 0, 1))
        self.assertEqual(4, on(64, 2, 0, 1))

    def test_shows_the_model_of_each_operation(self):
        (self.results / "shared-line").write_text("25.0\n")
        bench_report.MEASURED = {"look up": ("look up", 10)}
        text = bench_report.costs_text(self.results, bench_report.summarise(self.results))
        self.assertEqual("| look up | 4 | 1 | 3 | 0.6 | 0.6 | 0.6 | 0.6 | 0.6 | 0.6 |",
                         text.splitlines()[-1])

    def test_counts_only_samples_in_which_both_threads_ran(self):
        row = self.measured_together(1, 0)[1]
        self.assertEqual(200, row["contestants"]["ours"]["median_ns"])
        self.assertAlmostEqual(1.21, row["contestants"]["ours"]["throughput"])

    def test_shows_that_the_threads_never_ran_at_once(self):
        row = self.measured_together(0, 0)[1]
        self.assertIsNone(row["contestants"]["ours"]["throughput"])
        self.assertEqual("never both", bench_report.time_text(row["contestants"]["ours"]))

    def test_summarises_medians_and_ratios(self):
        (row,) = bench_report.summarise(self.results)
        self.assertEqual(110, row["contestants"]["ours"]["median_ns"])
        self.assertEqual({"time": 1.1, "instructions": 100 / 90, "bytes": None},
                         row["floors"]["floor, tree"])
        self.assertEqual({"time": 2.0, "instructions": 2.0, "bytes": None},
                         row["floors"]["floor, hash"])
        self.assertEqual(("peer", 0.5), (row["best_peer"], row["peer"]["time"]))

    def test_shows_each_floor_in_a_line_of_its_own(self):
        lines = bench_report.table(bench_report.summarise(self.results), {}).splitlines()[2:]
        self.assertEqual(["hash", "tree"], [line.split("|")[4].strip() for line in lines])

    def test_puts_a_text_between_its_marks(self):
        page = "a\n<!-- table -->\nold\n<!-- end of table -->\nb\n"
        self.assertEqual("a\n<!-- table -->\n\nnew\n\n<!-- end of table -->\nb\n",
                         bench_report.put(page, "table", "new\n"))
        with self.assertRaises(SystemExit):
            bench_report.put(page, "sizes", "new")


class Limits(unittest.TestCase):
    """The figures that the repository records."""

    def test_name_an_operation_for_each_modelled_time(self):
        self.assertEqual(set(), set(MEASURED) - set(json.loads(COSTS.read_text())))

    def setUp(self):
        bench_report.BASELINE = BASELINE
        self.baseline = json.loads(BASELINE.read_text())
        self.limits = json.loads(LIMITS.read_text())

    def test_record_the_instructions_of_every_kind_of_operation(self):
        cases = {bench_report.split(name)[0] for name in self.baseline}
        for case in ("lookup", "lookup with core log", "send", "read own text", "set", "set again",
                     "remove", "load sorted", "load shuffled", "store",
                     "start", "first request, alone", "log line", "filtered line"):
            self.assertIn(case, cases)

    def test_allow_a_ratio_to_the_floor_for_all_that_is_recorded(self):
        for name in self.baseline:
            case = bench_report.split(name)[0]
            self.assertIn("ratio", bench_report.limits_of(case, self.limits), case)

    def test_fail_when_any_operation_takes_a_tenth_more(self):
        for name, recorded in self.baseline.items():
            grown = self.baseline | {name: recorded + max(1, recorded // 10)}
            self.assertEqual(1, len(list(bench_report.baseline_problems(grown))), name)


if __name__ == "__main__":
    unittest.main()
