# SPDX-License-Identifier: MIT
"""Tests of ixla-inspect: inspect_test.py TOOL BUILD SOURCES"""

import json
import os
import pty
import random
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

TOOL, BUILD, SOURCES = sys.argv.pop(1), Path(sys.argv.pop(1)), sys.argv.pop(1)
PLUGINS, EXAMPLES = BUILD / "plugins", BUILD / "examples/plugins"
FACTORY = "_Z13ixlaGetPluginv"

sys.dont_write_bytecode = True
sys.path.insert(0, SOURCES)
from library import Inspector


class InspectTest(unittest.TestCase):
    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def add(self, source, name=None):
        return Path(shutil.copy(source, self.dir / (name or source.name)))

    def add_odd(self, name="libodd.so"):
        return self.add(PLUGINS / "odd/libodd.so", name)

    def run_tool(self, *arguments, odd="", ids="test.odd", **environment):
        environment = {**os.environ, "ODD": odd, "ODD_IDS": ids, **environment}
        done = subprocess.run([TOOL, *map(str, arguments)], capture_output=True, text=True,
                              env=environment, cwd=self.dir, timeout=60)
        self.assertNotIn("Traceback", done.stderr)
        return done.returncode, done.stdout, done.stderr

    def inspect(self, *arguments, **options):
        """The exit code, and the results for each library."""
        code, out, err = self.run_tool("--json", *arguments, **options)
        self.assertEqual("", err)
        return code, json.loads(out)["libraries"]

    def inspect_one(self, *arguments, **options):
        code, (library,) = self.inspect(*arguments, **options)
        self.assertEqual(library["verdict"] == "problem", code == 1)
        return library


class Reading(InspectTest):
    """With --static."""

    def read(self, path, **options):
        return self.inspect_one("--static", path, odd="abort in constructor", **options)

    def test_a_good_plugin_is_fine(self):
        library = self.read(EXAMPLES / "hello/libhello.so")
        self.assertEqual(("ok", [], []),
                         (library["verdict"], library["problems"], library["hints"]))
        self.assertEqual({"bits": 32, "machine": "i386", "type": "shared library", "soname": ""},
                         library["elf"])
        self.assertEqual({"symbol": FACTORY, "exported": True}, library["factory"])
        self.assertIsNone(library["loaded"])

    def test_needed_libraries_are_where_the_loader_finds_them(self):
        path = EXAMPLES / "sampler/libsampler.so"
        needed = self.read(path)["needed"]
        self.assertEqual(path.name, needed[0]["needed_by"])
        named = {each["name"]: each["path"] for each in needed}
        for line in subprocess.run(["ldd", path], capture_output=True, text=True,
                                   check=True).stdout.splitlines():
            name, arrow, place = line.strip().partition(" => ")
            if arrow:
                self.assertEqual(os.path.realpath(place.split(" (")[0]), named[name])

    def test_the_core_is_found_for_a_plugin_in_any_directory(self):
        self.assertEqual("ok", self.read(self.add(EXAMPLES / "sampler/libsampler.so"))["verdict"])

    def test_a_missing_library_is_named(self):
        library = self.read(self.add(PLUGINS / "small/libuser.so"))
        self.assertIn("needs libhelper.so, which the loader does not find", library["problems"])
        self.assertEqual([], library["undefined"])

    def test_a_needed_library_is_found_through_the_environment(self):
        path = self.add(PLUGINS / "small/libuser.so")
        library = self.read(path, LD_LIBRARY_PATH=f"/nowhere:{PLUGINS}/small")
        self.assertEqual(str(PLUGINS / "small/libhelper.so"), library["needed"][0]["path"])

    def test_a_needed_library_of_another_word_size_is_skipped(self):
        path = self.add(PLUGINS / "small/libuser.so")
        self.add(PLUGINS / "other_bits/libother_bits.so", "libhelper.so")
        library = self.read(path, LD_LIBRARY_PATH=f"{PLUGINS}/small")
        self.assertEqual(str(PLUGINS / "small/libhelper.so"), library["needed"][0]["path"])

    def test_an_undefined_symbol_is_named(self):
        library = self.read(PLUGINS / "missing_symbol/libmissing_symbol.so")
        self.assertEqual(["_Z25functionThatNobodyDefinesv"], library["undefined"])
        self.assertEqual(["undefined symbol, defined by none of its libraries: "
                          "_Z25functionThatNobodyDefinesv"], library["problems"])

    def test_a_symbol_is_named_without_section_headers(self):
        path = self.add(PLUGINS / "missing_symbol/libmissing_symbol.so")
        image = bytearray(path.read_bytes())
        image[32:36] = image[46:52] = b"\0" * 4  # their offset and number
        image[46:46] = b"\0" * 2
        path.write_bytes(image)
        self.assertEqual(["_Z25functionThatNobodyDefinesv"], self.read(path)["undefined"])

    def test_a_version_that_is_too_new_is_named(self):
        path = self.add(EXAMPLES / "hello/libhello.so")
        path.write_bytes(path.read_bytes().replace(b"\0CXXABI_1.3\0", b"\0CXXABI_9.3\0"))
        (problem,) = self.read(path)["problems"]
        self.assertRegex(problem, r"needs the version CXXABI_9.3 in \S*libstdc\+\+.so.6")

    def test_the_wrong_word_size_names_both(self):
        library = self.read(PLUGINS / "other_bits/libother_bits.so")
        self.assertEqual(["the file is 64-bit x86-64, the product is 32-bit i386"],
                         library["problems"])

    def test_a_program_is_not_a_library(self):
        self.assertEqual(["the file is a program, not a shared library"],
                         self.read(BUILD / "bin/ixla-host")["problems"])

    def test_further_exports_are_a_hint(self):
        library = self.read(PLUGINS / "many_ids/libmany_ids.so")
        self.assertEqual(1, len(library["exported"]))
        self.assertIn(f"exports more than the factory: {library['exported'][0]}", library["hints"])

    def test_a_library_without_factory_is_not_a_plugin(self):
        path = PLUGINS / "small/libhelper.so"
        self.assertEqual([f"has no factory {FACTORY} and is therefore not a plugin"],
                         self.read(path)["problems"])

    def test_a_library_without_factory_is_skipped_in_a_directory(self):
        self.add(PLUGINS / "small/libhelper.so")
        self.assertEqual("skipped", self.read(self.dir)["verdict"])

    def test_a_misdeclared_factory_is_named(self):
        for path, wanted in (("small/libhidden.so", "but defines it without exporting it"),
                             ("small/libc_factory.so", "but exports ixlaGetPlugin: "),
                             ("no_factory/libno_factory.so", "but exports _Z13ixlaGetPlugini: ")):
            with self.subTest(path):
                (problem,) = self.read((PLUGINS / path).parent if "no_" in path
                                       else PLUGINS / path)["problems"]
                self.assertIn(wanted, problem)

    def test_a_truncated_file_is_reported(self):
        whole = (EXAMPLES / "hello/libhello.so").read_bytes()
        path = self.dir / "libcut.so"
        path.write_bytes(whole[:4500])
        self.assertRegex(self.read(path)["problems"][0], r"cut short: \d+ bytes of it are missing")

    def test_files_that_are_not_libraries_are_reported(self):
        for content, wanted in ((b"", "is empty"), (b"text", "is not an ELF file"),
                                (b"\x7fELF", "is damaged"), (b"\x7fELF" + 60 * b"\xff", "the ")):
            with self.subTest(content):
                path = self.dir / "libx.so"
                path.write_bytes(content)
                self.assertIn(wanted, self.read(path)["problems"][0])

    def test_a_path_that_is_not_a_file_is_reported(self):
        os.mkfifo(self.dir / "libfifo.so")
        (self.dir / "liblink.so").symlink_to("nowhere")
        code, (fifo, link) = self.inspect(self.dir)
        self.assertEqual(1, code)
        self.assertEqual(["the file is not a regular file"], fifo["problems"])
        self.assertEqual(["the file cannot be read: No such file or directory"], link["problems"])

    def test_a_damaged_file_does_not_crash_it(self):
        whole = (EXAMPLES / "hello/libhello.so").read_bytes()
        chance = random.Random(7)
        path = self.dir / "libdamaged.so"
        inspector = Inspector(BUILD / "libexec/ixla-probe", limit=1, static=True,
                              product="32-bit i386")
        for i in range(150):
            image = bytearray(whole)
            # Mostly in headers and tables.
            for _ in range(chance.randint(1, 8)):
                image[chance.randrange(0x1000 if i % 3 else len(image))] = chance.randrange(256)
            path.write_bytes(image[:chance.randrange(len(image))] if i % 5 == 0 else image)
            inspector.inspect(path, named=True)


class Loading(InspectTest):
    def fails(self, odd, **options):
        (problem,) = self.inspect_one(self.add_odd(), odd=odd, **options)["problems"]
        return problem

    def test_shows_interfaces_time_and_memory(self):
        library = self.inspect_one(self.add_odd(), ids="test.one,test.two")
        self.assertEqual(("ok", []), (library["verdict"], library["problems"]))
        loaded = library["loaded"]
        self.assertEqual(["test.one", "test.two"], loaded["interfaces"])
        self.assertGreater(loaded["load_ms"], 0)
        self.assertGreater(loaded["memory_bytes"], 0)

    def test_reports_where_a_library_dies(self):
        for place, told in (("constructor", "while it was loaded"), ("factory", "in its factory"),
                            ("getInterfaces", "in getInterfaces"),
                            ("destructor", "while it was released")):
            with self.subTest(place):
                self.assertEqual(f"was killed by SIGABRT {told}", self.fails(f"abort in {place}"))

    def test_reports_a_library_that_ends_the_process(self):
        self.assertEqual("ended the process with exit code 3 in its factory",
                         self.fails("exit with 3 in factory"))
        self.assertEqual("ended the process while it was loaded",
                         self.fails("exit in constructor"))

    def test_ends_a_library_that_takes_too_long(self):
        path = self.add_odd()
        for place in ("constructor", "getInterfaces"):
            code, out, _ = self.run_tool("--limit", "0.2", path, odd=f"hang in {place}")
            self.assertEqual(1, code)
            self.assertIn("did not end within 0.2 s", out)

    def test_reports_the_result_of_the_core(self):
        self.assertRegex(self.fails("throw in factory"),
                         r"^the factory threw a stone; the core ends its start with -1009 ")
        self.assertRegex(self.fails("throw in getInterfaces"),
                         r"^getInterfaces threw a stone; the core ends its start with -2003 ")
        self.assertRegex(self.fails("null factory"),
                         r"^the factory returned null; the core ends its start with -1009 ")

    def test_reports_the_error_of_the_loader(self):
        path = self.add_odd()
        path.write_bytes(path.read_bytes().replace(b"GLIBCXX_3.4\0", b"GLIBCXX_9.4\0"))
        loaded = self.inspect_one(path)["loaded"]
        self.assertRegex(loaded["failure"], "GLIBCXX_9.4.* not found.*libodd.so")
        self.assertTrue(loaded["result"].startswith("-8 "))

    def test_loads_libraries_that_the_core_skips(self):
        self.add(PLUGINS / "small/libuser.so")
        library = self.inspect_one(self.dir)
        self.assertRegex(library["loaded"]["failure"], "libhelper.so: cannot open")
        self.assertEqual(1, len(library["problems"]))

    def test_hints_at_a_plugin_without_interfaces(self):
        library = self.inspect_one(self.add_odd(), ids="")
        self.assertEqual("ok", library["verdict"])
        self.assertIn("offers no interface, so it cannot be requested", library["hints"])

    def test_output_of_the_library_is_not_shown(self):
        _, out, err = self.run_tool(self.add_odd(), odd="chatter")
        self.assertNotIn("xxx", out + err)

    def test_a_library_that_disturbs_its_trial_is_a_problem(self):
        library = self.inspect_one(PLUGINS / "watched_scribble/libwatched_scribble.so")
        self.assertIn("writes to a handle that it has not opened", library["problems"])

    def test_processes_of_the_library_are_killed(self):
        path = self.add_odd()
        self.assertEqual("ok", self.inspect_one(path, odd="child")["verdict"])
        end = time.monotonic() + 60
        while self.is_running(path):
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)

    @staticmethod
    def is_running(path):
        for process in Path("/proc").glob("[0-9]*/cmdline"):
            try:
                if os.fsencode(path) in process.read_bytes():
                    return True
            except OSError:
                pass  # it has ended
        return False

    def test_many_interfaces_are_listed(self):
        ids = [f"test.{i:05}" for i in range(9000)]
        library = self.inspect_one(self.add_odd(), ids=",".join(ids))
        self.assertEqual(ids, library["loaded"]["interfaces"])


class Comparing(InspectTest):
    def test_an_interface_of_two_libraries_names_both(self):
        first, second = self.add_odd("liba.so"), self.add_odd("libb.so")
        code, libraries = self.inspect(self.dir, ids="test.one,test.one")
        self.assertEqual(1, code)
        self.assertEqual([], libraries[0]["problems"])
        self.assertEqual([f"offers test.one, which {first} offers already; the core does not start "
                          "with both"], libraries[1]["problems"])
        self.assertEqual(str(second), libraries[1]["path"])

    def test_an_interface_of_the_core_is_taken(self):
        for name in ("config.manager", "eventdispatcher", "logger"):
            with self.subTest(name):
                library = self.inspect_one(self.add_odd(), ids=f"com.kelvora.ixla.{name}")
                self.assertIn("which the core itself offers already", library["problems"][0])

    def test_inspects_the_files_of_the_core_in_its_order(self):
        for name in ("libb.so", "Z.so", "liba.so", ".so", "libc.so.1", "plugin.txt"):
            self.add(PLUGINS / "small/libhelper.so", name)
        (self.dir / "dir.so").mkdir()
        (self.dir / "link.so").symlink_to("dir.so")
        _, libraries = self.inspect("--static", self.dir)
        self.assertEqual([".so", "Z.so", "liba.so", "libb.so"],
                         [Path(library["path"]).name for library in libraries])


class Printing(InspectTest):
    def test_shows_a_table(self):
        self.add(EXAMPLES / "hello/libhello.so")
        self.add(EXAMPLES / "broken/libbroken.so")
        code, out, err = self.run_tool(self.dir)
        self.assertEqual((1, ""), (code, err))
        lines = out.splitlines()
        self.assertRegex(lines[0], "^LIBRARY +VERDICT +KIND +LOAD +MEMORY +INTERFACES$")
        self.assertRegex(lines[1], "^libbroken.so  problem  32-bit i386 +- +-  -$")
        self.assertRegex(lines[2], r"^libhello.so   ok       32-bit i386  [\d.]+ ms +\d+ KiB  "
                                   "com.example.ixla.hello$")
        self.assertIn("libbroken.so:\n  problem: undefined symbol", out)
        self.assertEqual("2 libraries, 1 with problems", lines[-1])

    def test_shows_more_with_verbose(self):
        path = self.add(EXAMPLES / "sampler/libsampler.so")
        self.assertNotIn("libc.so.6", self.run_tool(path)[1])
        self.assertRegex(self.run_tool("-v", path)[1], r"\n  needs libc.so.6: /\S+\n")

    def test_truncates_long_texts(self):
        path = self.add_odd()
        ids = ",".join(["x" * 10000] + [f"test.{i}" for i in range(20)])
        out = self.run_tool(path, ids=ids)[1]
        self.assertLessEqual(max(map(len, out.splitlines())), 160)
        self.assertIn(" and 14 more\n", out)
        self.assertNotIn("more\n", self.run_tool("-v", path, ids=ids)[1])

    def test_control_characters_in_names_are_escaped(self):
        path = self.add_odd("lib\033[31m\n\udcff.so")
        out = self.run_tool(path, ids="test.\033[2J")[1]
        self.assertNotIn("\033", out)
        self.assertIn(r"lib\x1b[31m\n\udcff.so", out)
        self.assertIn(r"test.\x1b[2J", out)

    def on_terminal(self, **environment):
        try:
            reading, writing = pty.openpty()
        except OSError as problem:
            self.skipTest(f"no pseudo terminal: {problem}")
        subprocess.run([TOOL, self.add_odd()], stdout=writing, timeout=60,
                       env={**os.environ, "TERM": "xterm", "ODD_IDS": "test.odd", **environment})
        os.close(writing)
        with os.fdopen(reading, "rb") as terminal:
            return terminal.read1(100000).decode()

    def test_colours_are_only_for_terminals_without_no_color(self):
        self.assertIn("\033[32mok", self.on_terminal())
        self.assertNotIn("\033", self.on_terminal(NO_COLOR="1"))
        self.assertNotIn("\033", self.on_terminal(TERM="dumb"))


class CommandLine(InspectTest):
    def test_that_is_wrong_is_refused(self):
        for arguments, wanted in (((), "DIR|FILE"), (("--limit", "0", "x"), "'0' is not a number"),
                                  (("--limit", "nan", "x"), "'nan' is not a number"),
                                  (("--limit", "x", "x"), "'x' is not a number"),
                                  (("--unknown", "x"), "--unknown"), (("",), "cannot be empty"),
                                  (("none.so",), "none.so: No such file or directory")):
            with self.subTest(arguments):
                code, out, err = self.run_tool(*arguments)
                self.assertEqual((2, ""), (code, out))
                self.assertRegex(err, r"^ixla-inspect: [^\n]*\n$")
                self.assertIn(wanted, err)

    def test_a_directory_without_libraries_fails(self):
        self.assertEqual((1, "", f"ixla-inspect: {self.dir}: contains no library (*.so)\n"),
                         self.run_tool(self.dir))

    def test_a_reader_that_exits_does_not_crash_it(self):
        self.add_odd()
        done = subprocess.run(["bash", "-c", f"'{TOOL}' -v '{self.dir}' | true"],
                              capture_output=True, text=True, timeout=60)
        self.assertEqual("", done.stderr)

    def install(self, program):
        """An installed tool with another ixla-probe."""
        shutil.copytree(BUILD / "share/ixlal/ixla-inspect", self.dir / "share/ixlal/ixla-inspect")
        if program:
            (self.dir / "libexec").mkdir()
            (self.dir / "libexec/ixla-probe").write_bytes(program)
            (self.dir / "libexec/ixla-probe").chmod(0o755)
        return self.dir / "share/ixlal/ixla-inspect/ixla-inspect"

    def run_installed(self, tool, *arguments):
        done = subprocess.run([tool, *arguments, EXAMPLES / "hello/libhello.so"], text=True,
                              capture_output=True, timeout=60)
        self.assertNotIn("Traceback", done.stderr)
        return done.returncode, done.stdout + done.stderr

    def test_static_works_without_its_program(self):
        tool = self.install(None)
        self.assertEqual((1, "ixla-inspect: its program ixla-probe is not installed; --static does "
                             "not need it\n"), self.run_installed(tool))
        code, said = self.run_installed(tool, "--static")
        self.assertEqual(0, code, said)

    def test_reports_that_its_program_does_not_run(self):
        program = (BUILD / "libexec/ixla-probe").read_bytes()
        interpreter = b"/lib/ld-linux.so.2\0"
        self.assertIn(interpreter, program)
        tool = self.install(program.replace(interpreter, b"/lib/ld-nowhere.so\0"))
        code, said = self.run_installed(tool)
        self.assertEqual(1, code)
        self.assertRegex(said, "problem: cannot be tried, because .*/ixla-probe does not run: "
                               "No such file or directory\n")

    def test_reports_that_its_program_is_damaged(self):
        code, said = self.run_installed(self.install(b"#!/bin/true"))
        self.assertEqual(1, code)
        self.assertRegex(said, "^ixla-inspect: .*/ixla-probe: the file is not an ELF file\n$")

    def test_reports_that_pyelftools_is_missing(self):
        done = subprocess.run(["/usr/bin/python3", "-S", TOOL, "--help"], capture_output=True,
                              text=True, timeout=60)
        self.assertEqual((1, "", "ixla-inspect: the Python module elftools is missing; install "
                                 "python3-pyelftools\n"),
                         (done.returncode, done.stdout, done.stderr))

    def test_prints_its_version(self):
        self.assertRegex(self.run_tool("--version")[1], r"^ixla-inspect \d+\.\d+\.\d+\n$")


if __name__ == "__main__":
    unittest.main(verbosity=2)
