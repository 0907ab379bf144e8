"""The benchmarks' report, on figures made up for it: report_test.py SCRIPTS"""

import contextlib
import io
import json
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, sys.argv.pop(1))
import bench_report


def run(name, time, allocations):
    return {"name": f"{name}/iterations:10/real_time", "run_type": "iteration",
            "real_time": time, "allocations": allocations}


class Report(unittest.TestCase):
    def setUp(self):
        self.temporary = tempfile.TemporaryDirectory()
        self.addCleanup(self.temporary.cleanup)
        self.results = Path(self.temporary.name)
        bench_report.LIMITS = self.results / "limits.json"
        bench_report.BASELINE = self.results / "baseline.json"
        bench_report.LIMITS.write_text('{"look": {"allocations": 5}, "look up": {"allocations": 0}}')
        bench_report.BASELINE.write_text('{"look up/ours/10/1": 100}')
        self.measured(allocations=0)
        self.counted(100)

    def measured(self, allocations):
        runs = [run("look up/floor/10/1", time, 0) for time in (90, 100, 200)]
        runs += [run("look up/ours/10/1", time, allocations) for time in (100, 120, 110)]
        runs += [run("look up/peer/10/1", 220, 3), run("look up/slow/10/1", 330, 3)]
        (self.results / "times.json").write_text(json.dumps({"benchmarks": runs}))

    def counted(self, instructions, name="look up/ours/10/1"):
        directory = self.results / "counts-look"
        directory.mkdir(exist_ok=True)
        (directory / "turns").write_text(f"\n[core] hello\n{name} 50\n")
        (directory / "out.1").write_text(f"desc: Trigger: Client Request: {name}\n"
                                         f"totals: {instructions * 50}\n")

    def check(self):
        with contextlib.redirect_stdout(io.StringIO()) as said:
            return bench_report.check(self.results), said.getvalue()

    def test_passes_within_the_limits(self):
        self.counted(110)
        self.assertEqual(0, self.check()[0])

    def test_notices_more_instructions(self):
        self.counted(111)
        self.assertEqual((1, "look up/ours/10/1: 111 instructions for an operation, 100 recorded\n"),
                         self.check())

    def test_notices_an_allocation(self):
        self.measured(allocations=1)
        self.assertEqual(1, self.check()[0])

    def test_notices_what_is_counted_no_more(self):
        self.counted(100, "look down/ours/10/1")
        self.assertEqual((1, "look up/ours/10/1: not counted any more\n"), self.check())

    def test_refuses_a_wrong_result(self):
        failed = run("look up/ours/10/1", 1, 0) | {"error_occurred": True, "error_message": "wrong"}
        (self.results / "times.json").write_text(json.dumps({"benchmarks": [failed]}))
        with self.assertRaisesRegex(SystemExit, "wrong"):
            bench_report.check(self.results)

    def test_records_what_the_check_compares_with(self):
        self.counted(300)
        bench_report.record(self.results)
        self.assertEqual(0, self.check()[0])

    def test_summarises_medians_and_ratios(self):
        (row,) = bench_report.summarise(self.results)
        self.assertEqual(110, row["contestants"]["ours"]["median_ns"])
        self.assertEqual(1.1, row["time_ratio"])
        self.assertEqual(("peer", 0.5), (row["best_peer"], row["best_peer_ratio"]))
        self.assertEqual(100, row["contestants"]["ours"]["instructions"])
        self.assertIsNone(row["instruction_ratio"])


if __name__ == "__main__":
    unittest.main()
