# SPDX-License-Identifier: MIT
"""Tests of ixla-report: report_test.py REPORT HOST PLUGIN CIRCLE_LOG"""

import json
import random
import re
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

# libb.so is initialised on a thread of its own, and liba.so waits for it.
TWO_THREADS = begin(0) + load(1, "liba.so", 2) + load(3, "libb.so") + init(
    10, "liba.so", 90, inside=line(
        15, f"[initPlugin][pg:{log_text.address('libb.so')}] Init plugin in thread ID: 0xf6",
        thread=101) + line(20, f"[intiPlugin][pg:{log_text.address('libb.so')}] Waiting other "
                               "thread to init plugin...")
    + line(90, f"[initPlugin][pg:{log_text.address('libb.so')}] Init plugin done.", thread=101)
    + line(90, f"[intiPlugin][pg:{log_text.address('libb.so')}] Waiting finished "
               "iCorePg.fInitState: 2")) + done(105)


class ReportTest(unittest.TestCase):
    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))

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

    def picture(self, content, *arguments):
        self.report(content, "--svg", "x.svg", *arguments)
        return ElementTree.parse(self.dir / "x.svg").getroot()

    def texts(self, content, kind):
        """The texts of a class in the picture."""
        return [text.text for text in self.picture(content).iter(f"{SVG}text")
                if kind in text.get("class").split()]

    def lines(self, content, kind):
        """The lines of a class in the picture, without that of the legend."""
        return [line.get("d") for line in self.picture(content).iter(f"{SVG}path")
                if line.get("class") == kind and "h" not in line.get("d")]


class RealCore(ReportTest):
    @classmethod
    def setUpClass(cls):
        pace = {"disk": "touch disk,await net,ask net,grow 8",
                "net": "touch net,sleep 1000,ask store", "store": "sleep 40",
                "audio": "sleep 5,fail",
                "ui": "thread disk,await disk,thread net,ask disk,ask audio"}
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
        self.assertGreaterEqual(net["own"], 999)
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
        self.assertRegex(out, r"libui\.so( +[\d.]+ m?s){4} for libdisk\.so .* initialised\n")
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

Critical path:
  45 ms: own work of liba.so
  30 ms: own work of libb.so
  25 ms: the core
  25 ms: waiting in liba.so
  3 ms: loading libb.so
  1 ms: loading liba.so
  1 ms: 1 more
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
                           ("begin", "libz.so"), ("init", "libz.so")):
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

    def test_does_not_count_the_line_of_every_stop_as_an_error(self):
        stop = "[stopFlow] Failed to get core.notify.exit.timeout from config use default: 300 err: "
        self.assertEqual([], self.data(PLAIN + line(140, f"{stop}-504", "E"))["errors"])
        self.assertEqual([f"core.log:{PLAIN.count(chr(10)) + 1}: {stop}-3002"],
                         self.data(PLAIN + line(140, f"{stop}-3002", "E"))["errors"])

    def test_accepts_a_library_that_is_not_a_plugin(self):
        other = (line(1, "[loadPluginLib] in library: plugins/libx.so")
                 + line(1, "[startFlow] Failed to get plugin function from lib", "E")
                 + line(2, "[startFlow] Library is not a plugin ignore it: plugins/libx.so"))
        data = self.data(begin(0) + other)
        self.assertEqual(("not a plugin", False), (data["plugins"][0]["problem"], data["failed"]))

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
                if bar.get("class") == "circle"]
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
        self.assertIn("5.001 s for liba.so", texts)


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

    def test_of_a_clock_before_1970_can_be_read(self):
        self.assertIn("the core", self.report(PLAIN.replace("2026", "0026", 3)))

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

    def test_has_the_order_of_initialisation(self):
        log = begin(0) + load(1, "liba.so") + load(2, "libb.so") + load(3, "libc.so") + init(
            10, "libc.so", 5) + init(20, "liba.so", 50)
        self.assertEqual(["libc.so", "liba.so", "libb.so"], self.texts(log, "name"))
        names = [text.text for text in self.picture(log, "--sort", "own").iter(f"{SVG}text")
                 if text.get("class") == "name"]
        self.assertEqual(["liba.so", "libc.so", "libb.so"], names)

    def test_labels_each_kind_of_time(self):
        log = begin(0) + load(0, "liba.so", 40) + load(40, "libb.so", 0) + init(
            50, "liba.so", 100, inside=init(60, "libb.so", 30) + wait(100, "libc.so", 40)) + done(200)
        labels = [text.text for text in self.picture(log).iter(f"{SVG}text")
                  if text.get("class").split()[0] in ("on", "on-nested", "label")]
        for wanted in ("40 ms", "<1 ms", "10 ms", "30 ms", "40 ms for plug…"):
            self.assertIn(wanted, [label.replace("40 ms for plugin", "40 ms for plug…")[:15]
                                   if label.startswith("40 ms for") else label
                                   for label in labels])
        row = [text.text for text in self.picture(log).iter(f"{SVG}text")
               if text.get("class") == "faint end"]
        self.assertEqual(["40 ms", "30 ms", "40 ms"], row[:3])

    def test_places_bars_within_a_millisecond_by_the_order_of_their_lines(self):
        log = begin(0) + "".join(load(1, f"lib{i}.so", 0) for i in range(5)) + done(2)
        bars = [float(bar.get("x")) for bar in self.picture(log).iter(f"{SVG}rect")
                if bar.get("class") == "load" and bar.get("height") == "14"]
        self.assertEqual(5, len(bars))
        self.assertEqual(sorted(set(bars)), bars)

    def test_has_an_arrow_from_the_plugin_that_requested_another(self):
        self.assertEqual(1, len(self.lines(PLAIN, "request")))
        self.assertEqual("liba.so", next(plugin for plugin in self.data(PLAIN)["plugins"]
                                         if plugin["name"] == "libb.so")["inits"][0]["requestedBy"])

    def test_names_the_plugin_that_requested_one_far_away(self):
        names = [f"lib{i}.so" for i in range(12)]
        log = begin(0) + "".join(load(1, name) for name in ["liba.so", *names])
        inside = "".join(init(10 + 10 * i, name, 10) for i, name in enumerate(names))
        log += init(10, "liba.so", 130, inside=inside) + done(200)
        self.assertEqual(["from liba.so"] * 4, [text for text in self.texts(log, "label")
                                                if text.startswith("from")])
        self.assertEqual(12, len(self.lines(log, "request")))

    def test_has_an_arrow_to_the_plugin_that_is_waited_for(self):
        self.assertEqual(1, len(self.lines(TWO_THREADS, "waits")))

    def test_shortens_many_long_arrows(self):
        names = [f"lib{i:02}.so" for i in range(24)]
        log = begin(0) + load(1, "liba.so") + "".join(load(2, name) for name in names) + init(
            3, "liba.so", 200, thread=101) + "".join(
            init(5 + i, name, 10, 102 + i, inside=wait(6 + i, "liba.so", 8, 102 + i))
            for i, name in enumerate(names)) + done(300)
        lengths = [abs(float(first) - float(last)) for first, last in
                   (re.findall(r" ([\d.]+)V([\d.]+)", line)[0] for line in self.lines(log, "waits"))]
        # 7 are long, one leads to the next row, and 16 are shortened.
        self.assertEqual((24, 7), (len(lengths), sum(length > 10 for length in lengths)))

    def test_shows_the_code_of_a_failure(self):
        failed = begin(0) + load(1, "liba.so") + init(5, "liba.so", 50, result=-42)
        self.assertIn("50 ms, failed with -42", self.texts(failed + done(60), "on"))
        failed += done(90)
        self.assertEqual(["liba.so", "failed with -42", "-42"],
                         [text.text for text in self.picture(failed).iter(f"{SVG}text")
                          if {"warn", "failed-text"} & set(text.get("class").split())
                          and text.text != "50 ms"])
        refused = (line(1, "[loadPluginLib] in library: plugins/libx.so")
                   + line(2, "[loadPluginLib] Cannot load library: plugins/libx.so reason: "
                             "libx.so: undefined symbol: f", "E")
                   + line(2, "[startFlow] Failed to load lib err: -8", "E"))
        texts = self.texts(begin(0) + refused, "end")
        self.assertIn("-8", texts)
        self.assertIn("libx.so: undefined symbol: f",
                      self.texts(begin(0) + refused, "failed-text"))

    def test_is_xml_for_every_log(self):
        root = self.picture(begin(0) + load(1, "lib\x00\x01\x7f\ufffe\udc80.so".encode(
            "utf-8", "replace").decode()) + line(2, "x\x00 (circle)", "E"))
        self.assertTrue(root.tag.endswith("svg"))

    def test_and_table_stand_on_one_page(self):
        self.assertEqual("", self.report(PLAIN, "--html", "x.html"))
        page = (self.dir / "x.html").read_text()
        self.assertIn("<svg", page)
        self.assertIn("<td>liba.so</td>", page)
        self.assertIn('data-label="Own">45 ms</td>', page)
        self.assertNotRegex(page, r"(src|href)=")


class CriticalPath(ReportTest):
    def path(self, log):
        return [(step["plugin"], step["kind"], step["begin"], step["end"])
                for step in self.data(log)["criticalPath"]]

    def test_follows_the_thread_that_was_waited_for(self):
        self.assertEqual([
            (None, "core", 0, 1), ("liba.so", "load", 1, 3), ("libb.so", "load", 3, 4),
            (None, "core", 4, 10), ("liba.so", "own", 10, 15), ("libb.so", "own", 15, 90),
            ("liba.so", "wait", 90, 90), ("liba.so", "own", 90, 100), (None, "core", 100, 105)],
            [step for step in self.path(TWO_THREADS) if step[2] < step[3] or step[1] == "wait"])

    def test_has_no_gap(self):
        for log in (PLAIN, TWO_THREADS, Path(CIRCLE).read_text()):
            steps = self.path(log)
            self.assertEqual(0, steps[0][2])
            for (*_, end), (_, _, begin_of_next, _) in zip(steps, steps[1:]):
                self.assertEqual(end, begin_of_next)

    def test_ends_in_a_deadlock(self):
        self.assertIn(("libdisk.so", "wait"),
                      {step[:2] for step in self.path(Path(CIRCLE).read_text())})

    def test_is_marked_in_the_picture(self):
        self.assertLess(3, len([line for line in self.picture(TWO_THREADS).iter(f"{SVG}path")
                                if line.get("class") == "path"]))
        self.assertIn("Critical path: own work of libb.so 75 ms, own work of liba.so 15 ms, the core "
                      "12 ms, loading liba.so 2 ms, loading libb.so 1 ms",
                      self.texts(TWO_THREADS, "path-text"))

    def test_of_many_plugins_takes_seconds(self):
        names = [f"lib{i}.so" for i in range(3000)]
        inside = "".join(init(10 + i, name, 1) for i, name in enumerate(names))
        self.write(begin(0) + "".join(load(1, name, 0) for name in names)
                   + init(9, "libx.so", 3010, inside=inside) + done(3020))
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
        self.assertEqual(0, self.run_report("core.log", "--html", "x.html")[0])
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before, 20)


class Comparison(ReportTest):
    OLD = begin(0) + load(1, "liba.so", 2) + load(3, "libb.so") + load(4, "libold.so") + init(
        10, "liba.so", 20) + init(30, "libb.so", 9) + done(40)
    NEW = begin(0) + load(1, "liba.so", 2) + load(3, "libb.so") + load(4, "libnew.so") + init(
        10, "liba.so", 80) + init(90, "libb.so", 4, result=-42) + done(100)

    def compare(self, *arguments):
        self.write(self.OLD, "old.log")
        self.write(self.NEW, "new.log")
        code, out, err = self.run_report("--compare", *arguments)
        self.assertEqual((0, ""), (code, err))
        return out

    def test_shows_what_became_slower_first(self):
        self.assertEqual("""\
new.log, compared with old.log
start over after 100 ms instead of 40 ms: 60 ms slower

Slower:
PLUGIN   WHAT    OLD    NEW  CHANGE
liba.so   own  20 ms  80 ms  +60 ms

Faster:
PLUGIN   WHAT   OLD   NEW  CHANGE
libb.so   own  9 ms  4 ms  -5 ms

Other results:
  libb.so: failed with -42, before initialised

Only in the new start:
  libnew.so

Only in the old start:
  libold.so
""", self.compare("old.log", "new.log"))

    def test_has_the_same_in_json(self):
        data = json.loads(self.compare("old.log", "new.log", "--json"))
        self.assertEqual([{"plugin": "liba.so", "what": "own", "old": 20, "new": 80, "change": 60}],
                         data["slower"])
        self.assertEqual([-5], [change["change"] for change in data["faster"]])
        self.assertEqual((40, 100), (data["old"]["length"], data["new"]["length"]))
        self.assertEqual((["libnew.so"], ["libold.so"]), (data["added"], data["removed"]))

    def test_has_both_pictures_in_one_scale_on_a_page(self):
        page = self.compare("old.log", "new.log", "--html", "-")
        self.assertEqual(2, page.count("<svg "))
        own = re.findall(r'width="([\d.]+)" height="14" class="own"><title>liba', page)
        self.assertAlmostEqual(4, float(own[0]) / float(own[1]), places=1)

    def test_of_one_log_takes_its_last_two_starts(self):
        self.write(self.OLD + self.NEW, "both.log")
        self.assertIn("start over after 100 ms instead of 40 ms", self.compare("both.log", "both.log"))
        self.assertIn("instead of 40 ms",
                      self.compare("both.log", "new.log", "--old-start", "1"))
        self.assertEqual((1, "", "ixla-report: both.log: has no start before start 1; --old-start or "
                                 "another log names what to compare with\n"),
                         self.run_report("--compare", "both.log", "both.log", "--start", "1"))

    def test_of_equal_starts_shows_no_change(self):
        self.assertEqual("old.log, compared with ./old.log\n"
                         "start over after 40 ms instead of 40 ms: no slower and no faster\n",
                         self.compare("./old.log", "old.log"))

    def test_of_a_start_that_did_not_end_has_both_summaries(self):
        self.write(begin(0), "cut.log")
        self.assertIn("new: 0 plugins loaded, 0 initialised, start not over in the log",
                      self.compare("old.log", "cut.log"))


class CommandLine(ReportTest):
    def test_refuses_wrong_usage(self):
        for arguments in ((), ("--frob", "x"), ("x", "--start", "a"), ("x", "--sort", "x"),
                          ("x", "--svg", "-", "--json"), ("x", "--html", "-", "--svg", "-"),
                          ("--compare", "x"), ("--compare", "-", "-"), ("--compare", "x", "y", "z"),
                          ("--compare", "x", "y", "--svg", "z"), ("x", "--old-start", "1")):
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

    def test_reads_the_standard_input_and_writes_the_standard_output(self):
        def run(*arguments, **options):
            done = subprocess.run([REPORT, *arguments], cwd=self.dir, capture_output=True, timeout=60,
                                  check=False, **options)
            return done.returncode, done.stdout.decode(), done.stderr.decode()

        content = PLAIN.encode()
        table = self.report(content).replace("core.log", "standard input")
        self.assertEqual((0, table, ""), run("-", input=content))
        self.assertEqual((0, self.report(content, "--svg", "-"), ""),
                         run("-", "--svg", "-", input=content))
        self.assertIn("</html>", run("-", "--html", "-", input=content)[1])
        self.assertIn("instead of 130 ms", run("--compare", "core.log", "-", input=content)[1])
        closed = subprocess.run(f"exec {REPORT} - <&-", shell=True, capture_output=True, timeout=60,
                                check=False)
        self.assertEqual((1, b"ixla-report: standard input: cannot be read: Bad file descriptor\n"),
                         (closed.returncode, closed.stderr))

    def test_prints_its_version(self):
        self.assertRegex(self.run_report("--version")[1], r"^ixla-report \d+\.\d+\.\d+\n$")


if __name__ == "__main__":
    unittest.main()
