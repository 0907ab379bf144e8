# SPDX-License-Identifier: MIT
"""Tests of ixla-report: report_test.py REPORT HOST PLUGIN CIRCLE_LOG"""

import json
import random
import resource
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

sys.dont_write_bytecode = True
import log_text
from log_text import begin, done, init, line, load, wait

REPORT, HOST, PLUGIN, CIRCLE = (sys.argv.pop(1) for _ in range(4))
SVG = "{http://www.w3.org/2000/svg}"
PLAIN = begin(0) + load(10, "liba.so") + load(12, "libb.so", 3) + load(
    15, "libc.so") + init(
    20, "liba.so", 100, inside=init(40, "libb.so", 30) + wait(80, "libc.so", 25)) + done(130)


class ReportTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.dir = Path(temporary.name)

    def write(self, content, name="core.log"):
        data = content if isinstance(content, bytes) else content.encode()
        (self.dir / name).write_bytes(data)

    def run_report(self, *arguments):
        done = subprocess.run([REPORT, *arguments], cwd=self.dir, capture_output=True, timeout=60)
        self.assertNotIn(b"Traceback", done.stderr)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def report(self, content, *arguments):
        """The report of a readable log."""
        self.write(content)
        code, out, err = self.run_report("core.log", *arguments)
        self.assertEqual((0, ""), (code, err))
        return out

    def data(self, content, *arguments):
        return json.loads(self.report(content, "--json", *arguments))

    def picture(self, content):
        self.report(content, "--svg", "x.svg")
        return ElementTree.parse(self.dir / "x.svg").getroot()


class RealCore(ReportTest):
    @classmethod
    def setUpClass(cls):
        pace = {"disk": "sleep 60,ask net,grow 8", "net": "sleep 120,ask store",
                "store": "sleep 40", "audio": "sleep 5,fail",
                "ui": "thread disk,thread net,sleep 20,ask disk,ask audio"}
        with tempfile.TemporaryDirectory() as directory:
            cls.log = log_text.run_core(Path(directory), HOST, PLUGIN, pace, "ui")

    def plugin(self, name):
        found = [plugin for plugin in self.data(self.log)["plugins"]
                 if plugin["name"] == f"lib{name}.so"]
        self.assertEqual(1, len(found))
        return found[0]

    def test_is_measured(self):
        net, store = self.plugin("net")["inits"][0], self.plugin("store")["inits"][0]
        self.assertEqual(["libstore.so"], net["inside"])
        self.assertEqual(net["thread"], store["thread"])
        self.assertGreaterEqual(store["end"] - store["begin"], 40)
        self.assertGreaterEqual(net["own"], 119)
        self.assertLess(net["own"], net["end"] - net["begin"] - 38)
        self.assertGreater(self.plugin("disk")["inits"][0]["memory"], 8_000_000)
        self.assertEqual(-42, self.plugin("audio")["inits"][0]["result"])
        self.assertEqual(["paced.audio"], self.plugin("audio")["interfaces"])

    def test_shows_which_thread_waited_for_which(self):
        waits = self.data(self.log)["waits"]
        self.assertEqual({("libdisk.so", "libnet.so"), ("libui.so", "libdisk.so")},
                         {(wait["inside"], wait["for"]) for wait in waits})
        self.assertTrue(all(wait["end"] > wait["begin"] and not wait["circle"] for wait in waits))

    def test_fills_the_table(self):
        out = self.report(self.log)
        self.assertIn("5 plugins loaded, 7 initialised, 1 failed or not ended, start over", out)
        self.assertRegex(out, r"libui\.so( +\d+ ms){4} for libdisk\.so .* initialised\n")
        self.assertRegex(out, r"libaudio\.so .* failed with -42\n")
        self.assertRegex(out, r"Errors in the log:\n  core\.log:\d+: .*Failed to init plugin err")
        self.assertNotIn("Not understood", out)


class Table(ReportTest):
    def test_shows_times_memory_and_results(self):
        self.assertEqual("""\
core.log: process 100, core 3.3.32
3 plugins loaded, 2 initialised, start over after 130 ms

PLUGIN   LOAD    INIT    OWN             WAITED   MEMORY  RESULT
liba.so  1 ms  100 ms  45 ms  25 ms for libc.so  +4.0 KB  initialised
libb.so  3 ms   30 ms  30 ms                     +1.9 MB  initialised
libc.so  1 ms                                    +4.0 KB  loaded
""", self.report(PLAIN))

    def test_excludes_waits_and_nested_inits_from_the_own_time(self):
        first = self.data(PLAIN)["plugins"][0]
        self.assertEqual("liba.so", first["name"])
        first = first["inits"][0]
        self.assertEqual((20, 120, 45), (first["begin"], first["end"], first["own"]))
        self.assertEqual(0, first["memory"])  # all of it belongs to the other one

    def test_counts_one_plugin_as_one(self):
        self.assertIn("\n1 plugin loaded, 0 initialised,", self.report(begin(0) + load(1, "liba.so")))

    def test_is_sorted(self):
        log = begin(0) + "".join(load(i, name, took, memory) for i, name, took, memory in (
            (1, "libz.so", 5, 10), (10, "liba.so", 50, -4096), (70, "libm.so", 9, 90_000)))
        for key, first in (("time", "liba.so"), ("memory", "libm.so"), ("name", "liba.so"),
                           ("begin", "libz.so")):
            self.assertEqual(first, self.data(log, "--sort", key)["plugins"][0]["name"], key)
        self.assertIn("-4.0 KB", self.report(log))

    def test_reports_why_a_plugin_was_not_loaded(self):
        refused = (line(1, "[loadPluginLib] in library: plugins/libx.so")
                   + line(2, "[loadPluginLib] Cannot load library: plugins/libx.so reason: "
                             "libx.so: undefined symbol: f", "E")
                   + line(2, "[startFlow] Failed to load lib err: -8", "E"))
        out = self.report(begin(0) + refused)
        self.assertRegex(out, r"libx\.so +1 ms .* libx\.so: undefined symbol: f\n")
        self.assertIn("start failed", out)
        other = (line(1, "[loadPluginLib] in library: plugins/libx.so")
                 + line(2, "[startFlow] Library is not a plugin ignore it: plugins/libx.so"))
        self.assertRegex(self.report(begin(0) + other), r"libx\.so +1 ms .* not a plugin\n")

    def test_escapes_control_characters(self):
        out = self.report(begin(0) + load(1, "lib\x1b[31m.so") + line(2, "bad \x07", "E"))
        self.assertNotRegex(out, "[\x00-\x09\x0b-\x1f]")


class Waits(ReportTest):
    def test_name_circles(self):
        content = Path(CIRCLE).read_bytes()
        out = self.report(content)
        self.assertIn("Deadlocks: the threads of these circles wait for ever:\n", out)
        self.assertRegex(out, r"  thread 0x\w+ initialises libdisk\.so and waits for libnet\.so, "
                              r"which thread 0x\w+ initialises, which waits for libdisk\.so "
                              r"\(circle\)\n")
        self.assertRegex(out, r"libdisk\.so .* 10\.\d+ s for libnet\.so .* not ended\n")
        self.assertNotIn("Errors in the log", out)
        self.assertEqual([True] * 3, [wait["circle"] for wait in self.data(content)["waits"]])
        bars = [bar for bar in self.picture(content).iter(f"{SVG}rect")
                if bar.get("fill") == "url(#circle)"]
        self.assertEqual(3 + 1, len(bars))  # and one in the legend

    def test_name_loops(self):
        about = f"[intiPlugin][pg:{log_text.address('liba.so')}]"
        loop = (line(30, f"{about} Waiting other thread to init plugin...")
                + line(30, f"{about} Detect plugin init loop lock thread ID: 0xf7", "E")
                + line(30, f"{about} Init loop: thread 0xf7 initialises liba.so, which asks for "
                           "liba.so (circle)", "E"))
        data = self.data(begin(0) + load(1, "liba.so") + init(20, "liba.so", 50, inside=loop))
        self.assertEqual(["thread 0xf7 initialises liba.so, which asks for liba.so (circle)"],
                         data["circles"])
        self.assertEqual([], data["waits"])

    def test_show_long_ones_with_their_chain(self):
        chain = "thread 0x1 waits for liba.so, which thread 0x2 initialises"
        log = begin(0) + load(1, "liba.so") + init(
            10, "liba.so", 6000, inside=wait(20, "liba.so", 5001, thread=101, chain=chain))
        self.assertIn(f"Waits:\n  5.001 s: {chain}\n", self.report(log))
        texts = [text.text for text in self.picture(log).iter(f"{SVG}text")]
        self.assertIn("thread 101", texts)
        self.assertIn("for liba.so", texts)


class Logs(ReportTest):
    def test_of_several_starts_show_the_last(self):
        log = PLAIN + begin(10 * log_text.HOUR, process=200)
        self.assertEqual((2, 200), tuple(self.data(log)[key] for key in ("start", "process")))
        self.assertEqual((1, 100), tuple(self.data(log, "--start", "1")[key]
                                         for key in ("start", "process")))
        self.assertIn("core.log, start 2 of 2: process 200", self.report(log))
        self.assertEqual((1, "", "ixla-report: core.log: there is no start 3, only 1 to 2\n"),
                         self.run_report("core.log", "--start", "3"))

    def test_of_one_process_that_starts_twice_are_separate(self):
        log = PLAIN + begin(1000) + load(1001, "libz.so")
        self.assertEqual(["libz.so"], [plugin["name"] for plugin in self.data(log)["plugins"]])
        self.assertEqual(3, len(self.data(log, "--start", "1")["plugins"]))

    def test_in_parts_are_put_together(self):
        whole = self.data(PLAIN)
        lines = PLAIN.splitlines(keepends=True)
        self.write("".join(lines[:15]), "core.log.1")
        self.write("".join(lines[15:]))
        code, out, _ = self.run_report("core.log", "core.log.1", "--json")
        self.assertEqual((0, whole), (code, json.loads(out)))

    def test_that_begin_in_the_middle_ask_for_the_older_parts(self):
        out = self.report(init(20, "liba.so", 100) + done(130))
        self.assertIn("core.log:1: the log begins in the middle; give its older parts, such as "
                      "core.log.1, too", out)
        self.assertRegex(out, r"core\.log:1: nothing is known of the plugin at 0x")

    def test_that_are_cut_anywhere_can_be_read(self):
        for size in range(500, len(PLAIN), 1501):
            for part in (PLAIN[size:], PLAIN[:size]):
                self.write(part)
                code, _, err = self.run_report("core.log", "--html", "x.html")
                self.assertEqual(code == 0, err == "", part[:200])

    def test_with_garbage_are_reported(self):
        noise = random.Random(4).randbytes(5000)
        out = self.report(PLAIN.encode() + noise + b"\n" + PLAIN.encode())
        self.assertIn("Not understood:", out)
        self.assertRegex(out, r"lines are not log lines: core\.log:\d+")
        self.write(noise)
        self.assertEqual((1, "", "ixla-report: core.log: contains no line of a core log; "
                                 "core.log.file names it\n"), self.run_report("core.log"))

    def test_with_invalid_figures_can_be_read(self):
        spoilt = (load(1, "liba.so").replace("4096", "lots")
                  + init(5, "liba.so", 5).replace("[1000000]", "[x]").replace("done.", "d")
                  + line(30, "[initPlugin][pg:0x1] Failed to init plugin err: often", "E")
                  + line(31, "[x").replace("2026-05-04", "2026-13-44"))
        self.assertIn("liba.so", self.report(begin(0) + spoilt))

    def test_in_another_encoding_can_be_read(self):
        out = self.report(begin(0).encode() + load(1, "libM\xfcnchen.so").encode("latin-1"))
        self.assertIn("libM\\xfcnchen.so", out)

    def test_of_other_processes_are_separate(self):
        self.write(line(0, "hello", tag="pgs"))
        code, _, err = self.run_report("core.log")
        self.assertEqual(1, code)
        self.assertIn("it has lines of other logs", err)
        out = self.report(PLAIN + line(0, "x", tag="pgs"))
        self.assertIn("1 lines are not those of a core", out)

    def test_of_a_clock_that_was_set_back_can_be_read(self):
        out = self.report(begin(5000) + load(10, "liba.so", 20))
        self.assertEqual(1, out.count("the clock was set back"))
        self.assertRegex(out, r"liba\.so +20 ms ")

    def test_that_are_huge_take_seconds(self):
        chatter = "".join(line(200 + i, f"[getInstanceInternal] Get instance for interface ID: {i}")
                          for i in range(200_000))
        self.write(PLAIN + chatter)
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
        self.assertEqual(0, self.run_report("core.log")[0])
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before, 5)


class Picture(ReportTest):
    def test_cuts_idle_times_out(self):
        log = PLAIN + init(3 * log_text.HOUR, "libb.so", 10)
        texts = [text.text for text in self.picture(log).iter(f"{SVG}text")]
        self.assertIn("idle 2 h 59 min", texts)
        self.assertIn("100 ms", texts)

    def test_shortens_long_names_and_keeps_them_as_titles(self):
        name = "lib" + "<&\"'>" * 20 + ".so"
        root = self.picture(begin(0) + load(1, name))
        self.assertIn(f"plugins/{name}", [title.text for title in root.iter(f"{SVG}title")])
        labels = [text.text for text in root.iter(f"{SVG}text") if "…" in text.text]
        self.assertEqual(1, len(labels))
        self.assertLessEqual(len(labels[0]), 30)

    def test_is_xml_for_every_log(self):
        root = self.picture(begin(0) + load(1, "lib\x00\x01\x7f\ufffe\udc80.so".encode(
            "utf-8", "replace").decode()) + line(2, "x\x00 (circle)", "E"))
        self.assertTrue(root.tag.endswith("svg"))

    def test_and_table_stand_on_one_page(self):
        self.assertEqual("", self.report(PLAIN, "--html", "x.html"))
        page = (self.dir / "x.html").read_text()
        self.assertIn("<svg", page)
        self.assertIn("<td>liba.so</td>", page)
        self.assertNotRegex(page, r"(src|href)=")


class CommandLine(ReportTest):
    def test_refuses_wrong_usage(self):
        for arguments in ((), ("--frob", "x"), ("x", "--start", "a"), ("x", "--sort", "x")):
            code, out, err = self.run_report(*arguments)
            self.assertEqual((2, ""), (code, out))
            self.assertRegex(err, r"^ixla-report: .*; see ixla-report --help\n$")

    def test_reports_files_that_cannot_be_read_or_written(self):
        self.write(PLAIN)
        for arguments, wanted in (
                (("none.log",), "none.log: cannot be read: No such file or directory"),
                (("core.log", "--svg", "no/x.svg"), "no/x.svg: cannot be written: No such file"),
                (("core.log", "--html", "."), ".: cannot be written: Is a directory")):
            code, _, err = self.run_report(*arguments)
            self.assertEqual(1, code)
            self.assertIn(f"ixla-report: {wanted}", err)

    def test_prints_its_version(self):
        self.assertRegex(self.run_report("--version")[1], r"^ixla-report \d+\.\d+\.\d+\n$")


if __name__ == "__main__":
    unittest.main()
