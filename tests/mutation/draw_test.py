#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests the drawing of faults and the count of their outcomes: draw_test.py TREE"""
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
import draw
import listed
import tally

TREE = "."


class Drawing(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.made = draw.all_faults(TREE)
        cls.faults = [fault for faults in cls.made.values() for fault in faults]

    def has(self, operator, file, old, new):
        return any(old in f["old"] and new in f["new"] for f in self.made[operator]
                   if f["file"] == file)

    def test_same_seed_draws_the_same(self):
        self.assertEqual(draw.draw(TREE, 5, 60), draw.draw(TREE, 5, 60))

    def test_other_seed_draws_others(self):
        self.assertNotEqual(draw.draw(TREE, 5, 60), draw.draw(TREE, 6, 60))

    def test_no_fault_is_drawn_twice(self):
        drawn = draw.draw(TREE, 7, 500)
        self.assertEqual(500, len({draw.key(fault) for fault in drawn}))

    def test_every_operator_makes_faults(self):
        self.assertEqual([], [name for name, faults in self.made.items() if not faults])

    def test_every_operator_has_its_share(self):
        drawn = [fault["operator"] for fault in draw.draw(TREE, 8, 10 * len(draw.OPERATORS))]
        self.assertEqual(set(draw.OPERATORS), set(drawn))

    def test_every_fault_changes_one_line(self):
        for fault in self.faults[::40]:
            before = (pathlib.Path(TREE) / fault["file"]).read_text(encoding="utf-8").split("\n")
            after = draw.plant(TREE, fault).split("\n")
            self.assertEqual(len(before), len(after))
            changed = [i + 1 for i, line in enumerate(before) if line != after[i]]
            self.assertEqual([fault["line"]], changed, fault)

    def test_fault_of_a_line_that_has_changed_is_not_planted(self):
        self.assertIsNone(draw.plant(TREE, dict(self.faults[0], old="something else")))

    def test_fault_without_a_line_replaces_a_text_that_occurs_once(self):
        with tempfile.TemporaryDirectory() as tree:
            (pathlib.Path(tree) / "a.cpp").write_text("a;\nb;\nc;\nc;\n")
            fault = {"file": "a.cpp", "line": 0, "old": "a;\nb;", "new": "d;"}
            self.assertEqual("d;\nc;\nc;\n", draw.plant(tree, fault))
            self.assertIsNone(draw.plant(tree, dict(fault, old="c;")))
            self.assertIsNone(draw.plant(tree, dict(fault, old="e;")))

    def test_texts_and_comments_are_left_alone(self):
        with tempfile.TemporaryDirectory() as tree:
            core = pathlib.Path(tree) / "core"
            core.mkdir()
            (core / "Sample.cpp").write_text('{\n    f("a < b"); // a < b\n/* a\n < b */\n}\n')
            operators = {f["operator"] for made in draw.all_faults(tree).values() for f in made}
        self.assertEqual({"call-removed"}, operators)

    def test_faults_that_were_planted_by_hand_follow_from_the_rules(self):
        sink, clock = "port/logger/PLogSink.cpp", "port/logger/PLogClock.cpp"
        for operator, file, old, new in (
                ("condition-true", "core/PCallGate.h", "!isClosed()", "true))"),
                ("operand-dropped", "core/PCoreLifetime.cpp", "!change.granted() || getCore()", "if ("),
                ("operand-dropped", sink, "state.st_size != end ||", "!= 0 ||"),
                ("name-confused", "port/portinglayer/PDescriptor.cpp", "F_DUPFD_CLOEXEC", "F_DUPFD,"),
                ("comparison-changed", clock, "tv_sec != fSecond", "tv_sec > fSecond"),
                ("boundary-moved", "port/portinglayer/PLibraryImage.cpp", "> iSize", ">= iSize")):
            self.assertTrue(self.has(operator, file, old, new), (operator, file, new))


class Listed(unittest.TestCase):
    def setUp(self):
        lists = sorted((pathlib.Path(TREE) / "tests/mutation").glob("*.faults"))
        self.faults = [fault for path in lists if path.stem not in ("stale", "controls", "survivors")
                       for fault in listed.read_list(path)]

    def test_every_listed_fault_can_be_planted(self):
        self.assertGreater(len(self.faults), 150)
        for fault in self.faults:
            self.assertIsNotNone(draw.plant(TREE, fault), fault["operator"])

    def test_faults_that_no_test_can_catch_are_left_out(self):
        survivors = pathlib.Path(TREE) / "tests/mutation/survivors.faults"
        self.assertEqual([], list(listed.read_list(survivors)))

    def test_parts_come_round(self):
        faults = self.faults[:20]
        parts = [listed.part(faults, number, 6) for number in range(4)]
        self.assertEqual(faults + faults[:4], sum(parts, []))
        self.assertEqual(6, len(listed.part(faults, 1000001, 6)))


class Counting(unittest.TestCase):
    FAULT = {"operator": "o", "file": "a.cpp", "line": 1, "old": "  a;", "new": "  b;"}

    def count(self, outcomes, reasons=()):
        results = {i: dict(self.FAULT, outcome=outcome) for i, outcome in enumerate(outcomes)}
        return tally.tally(results, dict(reasons))

    def test_survivor_without_a_reason_is_told(self):
        counts, survivors = self.count(["caught", "survived"])
        self.assertEqual((1, 1, 1), (counts["caught"], counts["survived"], len(survivors)))

    def test_survivor_with_a_reason_does_not_count(self):
        counts, survivors = self.count(["survived"], {("a.cpp", 1, "  b;"): "same"}.items())
        self.assertEqual((0, 1, []), (counts["survived"], counts["equivalent"], survivors))

    def test_reason_holds_at_its_place_alone(self):
        with tempfile.TemporaryDirectory() as name:
            tree = pathlib.Path(name)
            (tree / "a.cpp").write_text("  a;\n{\n  a;\n")
            (tree / "list").write_text("# Why\n\nid: x\nfile: a.cpp\nsurvives: same\n"
                                       "- {\n-   a;\n+ {\n+   b;\n")
            self.assertEqual({("a.cpp", 3, "  b;"): "same"},
                             tally.read_reasons(tree, tree / "list"))


if __name__ == "__main__":
    TREE = sys.argv.pop(1)
    unittest.main()
