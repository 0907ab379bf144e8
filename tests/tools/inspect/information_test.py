# SPDX-License-Identifier: MIT
"""Tests of plugin information in ixla-inspect: information_test.py TOOL BUILD"""

import json
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from xml.etree import ElementTree

TOOL, BUILD = sys.argv.pop(1), Path(sys.argv.pop(1))
NOTED, SILENT = BUILD / "plugins/noted/libnoted.so", BUILD / "examples/plugins/hello/libhello.so"

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "shared"))
from noted import write_noted, write_text  # noqa: E402 pylint: disable=wrong-import-position

GREETER = BUILD / "examples/plugins/greeter/libgreeter.so"
GREETER_INFO = """\
libgreeter.so:
  name         greeter
  version      1.0.0
  description  Greets with the text of its configuration
  author       The ixlal authors
  license      MIT
  core         3.3.0
  offers       com.example.greeter: makes greetings
"""
SVG = "{http://www.w3.org/2000/svg}"


class InformationTest(unittest.TestCase):
    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def add(self, name, *lines, **options):
        return write_noted(NOTED, self.dir / f"lib{name}.so", *lines, **options)

    def add_silent(self):
        """A plugin without information; it offers com.example.ixla.hello."""
        shutil.copy(SILENT, self.dir / "libsilent.so")

    def run_tool(self, *arguments):
        done = subprocess.run([TOOL, *map(str, arguments)], capture_output=True, text=True,
                              cwd=self.dir, timeout=120, check=False)
        self.assertNotIn("Traceback", done.stderr)
        return done.returncode, done.stdout, done.stderr

    def inspect(self, *arguments):
        """The exit code, and the results by name of the library."""
        code, out, err = self.run_tool("--json", *arguments)
        self.assertNotIn("Traceback", err)
        return code, {Path(each["path"]).name: each for each in json.loads(out)["libraries"]}

    def problems(self, *arguments):
        """Those of all libraries, and the hints."""
        code, libraries = self.inspect(*arguments, self.dir)
        found = [(name, text) for name, each in libraries.items() for text in each["problems"]]
        self.assertEqual(1 if found else 0, code)
        return found, [text for each in libraries.values() for text in each["hints"]]

    def names(self, *arguments):
        """Of the libraries that a search finds."""
        return sorted(self.inspect("--static", *arguments, self.dir)[1])


class Showing(InformationTest):
    def test_information_is_shown_without_running_code(self):
        self.assertEqual((0, GREETER_INFO, ""), self.run_tool("--info", GREETER))

    def test_every_field_is_shown(self):
        self.add("a", "description\td", "author\tAnn", "license\tMIT", "url\thttp://x", "core\t1.2.3",
                 "offers\ttest.a\tfor b", "offers\ttest.aa\t", "optional\ttest.b", "requires\ttest.a2")
        self.add("a2", "offers\ttest.a2\ttwo")
        code, out, _ = self.run_tool("--info", self.dir)
        self.assertEqual(0, code)
        self.assertEqual(["name a", "version 1.0", "description d", "author Ann", "license MIT",
                          "url http://x", "core 1.2.3", "offers test.a: for b", "offers test.aa",
                          "requires test.a2", "optional test.b"],
                         [" ".join(line.split()) for line in out.split("\n\n")[0].splitlines()[1:]])

    def test_json_has_the_information(self):
        _, libraries = self.inspect("--static", GREETER)
        self.assertEqual(
            {"name": "greeter", "version": "1.0.0", "author": "The ixlal authors", "url": "",
             "description": "Greets with the text of its configuration", "license": "MIT",
             "core": "3.3.0", "requires": [], "optional": [],
             "offers": [{"id": "com.example.greeter", "text": "makes greetings"}]},
            libraries["libgreeter.so"]["info"])

    def test_a_plugin_without_information_is_inspected_as_before(self):
        self.add_silent()
        code, libraries = self.inspect(self.dir)
        found = libraries["libsilent.so"]
        self.assertEqual((0, "ok", [], None),
                         (code, found["verdict"], found["problems"], found["info"]))
        self.assertEqual((0, "libsilent.so:\n  no plugin information\n", ""),
                         self.run_tool("--info", self.dir))

    def test_control_characters_are_escaped(self):
        self.add("a", "author\t\033[31m", "offers\ttest.\033[2J\tx")
        for arguments in (("--info",), ("--static",), ("--graph", "dot"), ("--graph", "svg")):
            with self.subTest(arguments):
                self.assertNotIn("\033", "".join(self.run_tool(*arguments, self.dir)[1:]))

    def test_damage_is_a_problem(self):
        write_text(NOTED, self.dir / "liba.so", b"1\nname\ta\nversion\t1\nurl\n")
        self.assertEqual([("liba.so", "its note 1 of type 1 is damaged: line 4 is not a field")],
                         self.problems("--static")[0])

    def test_newer_information_is_a_hint(self):
        self.add("a", "something else", "offers\ttest.a\tx", version="2")
        self.assertEqual(([], ["has a note that is newer than this tool"]), self.problems())

    def test_differences_to_the_loaded_plugin_are_hints(self):
        self.add("a", "offers\ttest.a\tx", "offers\ttest.b\tx", "really\ttest.b", "really\ttest.c")
        self.assertEqual(([], ["offers test.c, which its plugin information does not name",
                               "does not offer test.a, which its plugin information names"]),
                         self.problems())


class Comparing(InformationTest):
    def test_a_missing_interface_is_a_problem(self):
        self.add("a", "requires\ttest.b", "requires\tcom.kelvora.ixla.eventdispatcher",
                 "optional\ttest.c")
        for arguments in ((), ("--static",)):
            with self.subTest(arguments):
                self.assertEqual([("liba.so", "requires test.b, which no plugin offers")],
                                 self.problems(*arguments)[0])

    def test_others_of_a_named_library_are_not_searched(self):
        path = self.add("a", "requires\ttest.b", "offers\ttest.a\tx")
        self.assertEqual(0, self.run_tool("--static", path)[0])

    def test_a_loaded_plugin_without_information_offers_what_is_required(self):
        self.add_silent()
        self.add("a", "requires\tcom.example.ixla.hello", "offers\ttest.a\tx")
        self.assertEqual(([], []), self.problems())

    def test_a_plugin_without_information_leaves_a_doubt(self):
        self.add_silent()
        self.add("a", "requires\ttest.b", "offers\ttest.a\tx")
        self.assertEqual(([], ["requires test.b, which no plugin information offers; libsilent.so "
                               "has none and may offer it"]), self.problems("--static"))
        self.assertEqual([("liba.so", "requires test.b, which no plugin offers")],
                         self.problems()[0])

    def test_an_interface_of_two_plugins_is_a_problem_without_running_them(self):
        self.add("a", "offers\ttest.a\tx")
        self.add("b", "offers\ttest.a\tx")
        self.assertEqual([("libb.so", f"offers test.a, which {self.dir}/liba.so offers already; the "
                                      "core does not start with both")],
                         self.problems("--static")[0])

    def test_an_interface_of_the_core_is_a_problem_without_running_it(self):
        self.add("a", "offers\tcom.kelvora.ixla.logger\tx")
        self.assertIn("which the core itself offers already", self.problems("--static")[0][0][1])

    def test_a_circle_is_a_problem(self):
        self.add("a", "offers\ttest.a\tx", "requires\ttest.b")
        self.add("b", "offers\ttest.b\tx", "requires\ttest.c")
        self.add("c", "offers\ttest.c\tx", "requires\ttest.a")
        self.add("user", "offers\ttest.user\tx", "requires\ttest.a")
        self.assertEqual(
            [("liba.so", f"requires test.b of {self.dir}/libb.so, which requires test.c of "
                         f"{self.dir}/libc.so, which requires test.a of {self.dir}/liba.so: a "
                         "circle, in which no plugin can initialise")], self.problems("--static")[0])

    def test_a_circle_of_optional_interfaces_is_fine(self):
        self.add("a", "offers\ttest.a\tx", "requires\ttest.b")
        self.add("b", "offers\ttest.b\tx", "optional\ttest.a")
        self.assertEqual([], self.problems("--static")[0])

    def test_an_older_core_is_a_problem(self):
        self.add("a", "core\t999.0.0")
        version = self.run_tool("--version")[1].split()[1]
        self.assertEqual(
            [("liba.so", f"needs version 999.0.0 of the core, which is {version}")],
            self.problems("--static")[0])


class Searching(InformationTest):
    def setUp(self):
        super().setUp()
        self.add("a", "offers\ttest.a\tx", "author\tAnn Example")
        self.add("b", "offers\tother.b\tx", "requires\ttest.a", "author\tBob EXAMPLE")
        self.add("c", "optional\ttest.a")

    def test_libraries_are_found(self):
        for arguments, wanted in (
                (("--offers", "test.a"), ["liba.so"]), (("--offers", "*.?"), ["liba.so", "libb.so"]),
                (("--requires", "test.*"), ["libb.so", "libc.so"]),
                (("--author", "example"), ["liba.so", "libb.so"]),
                (("--author", "ann", "--offers", "*"), ["liba.so"]),
                (("--author", "bob", "--requires", "test.a"), ["libb.so"])):
            with self.subTest(arguments):
                self.assertEqual(wanted, self.names(*arguments))

    def test_all_libraries_count_as_offering(self):
        code, out, _ = self.run_tool("--static", "--author", "bob", self.dir)
        self.assertEqual(0, code)
        self.assertNotIn("liba.so", out)

    def test_nothing_found_is_a_failure(self):
        self.assertEqual((1, "", "ixla-inspect: no library has what was searched for\n"),
                         self.run_tool("--static", "--offers", "test.none", self.dir))


class Drawing(InformationTest):
    def setUp(self):
        super().setUp()
        self.add("a", "offers\ttest.a\tx", "description\tall <&> sundry")
        self.add("b", "offers\ttest.b\tx", "requires\ttest.a", "optional\ttest.c",
                 "requires\tcom.kelvora.ixla.logger")
        self.add("c", "offers\ttest.c\tx", "optional\ttest.nobody")
        self.add("d", "offers\ttest.d\tx", "requires\ttest.e", "requires\ttest.none")
        self.add("e", "offers\ttest.e\tx", "requires\ttest.d")
        self.add("user", "requires\ttest.b", "requires\ttest.a")

    def draw(self, form):
        code, out, err = self.run_tool("--static", "--graph", form, self.dir)
        self.assertEqual(1, code)
        self.assertIn("ixla-inspect: libd.so: requires test.none, which no plugin offers\n", err)
        return out

    def test_dot_has_all_plugins_and_requirements(self):
        text = self.draw("dot")
        names = dict(re.findall(r'^    (n\d+) \[label="([^\\"]*)', text, re.M))
        edges = {(names[user], names[owner], label, style) for user, owner, label, style in
                 re.findall(r'^    (n\d+) -> (n\d+) \[label="([^"]*)"([^\]]*)\];$', text, re.M)}
        self.assertEqual({
            ("b 1.0", "a 1.0", "test.a", ""), ("b 1.0", "c 1.0", "test.c", ", style=dashed"),
            ("c 1.0", "test.nobody", "test.nobody", ", style=dashed"),
            ("d 1.0", "e 1.0", "test.e", ", color=red"), ("e 1.0", "d 1.0", "test.d", ", color=red"),
            ("d 1.0", "test.none", "test.none", ", color=red"),
            ("user 1.0", "b 1.0", "test.b", ""), ("user 1.0", "a 1.0", "test.a", "")}, edges)
        self.assertTrue(text.startswith("digraph plugins {\n") and text.endswith("}\n"))

    def test_svg_has_all_plugins_and_requirements(self):
        picture = ElementTree.fromstring(self.draw("svg"))
        texts = {text.text for text in picture.iter(f"{SVG}text")}
        self.assertLessEqual({"a 1.0", "liba.so", "test.a", "user 1.0", "test.nobody"}, texts)
        titles = {title.text for title in picture.iter(f"{SVG}title")}
        self.assertIn("all <&> sundry", titles)
        kinds = sorted(path.get("class") for path in picture.iter(f"{SVG}path")
                       if path.get("class").startswith("edge"))
        self.assertEqual(["edge"] * 3 + ["edge circle"] * 2 + ["edge lost"] + ["edge optional"] * 2,
                         kinds)

    def test_boxes_of_the_picture_do_not_overlap(self):
        picture = ElementTree.fromstring(self.draw("svg"))
        boxes = [[float(box.get(name)) for name in ("x", "y", "width", "height")]
                 for box in picture.iter(f"{SVG}rect") if box.get("class") in ("box", "missing")]
        self.assertEqual(8, len(boxes))
        width, height = float(picture.get("width")), float(picture.get("height"))
        for number, (x, y, wide, high) in enumerate(boxes):
            self.assertTrue(0 <= x and 0 <= y and x + wide <= width and y + high <= height)
            for other_x, other_y, other_wide, other_high in boxes[:number]:
                self.assertTrue(x + wide <= other_x or other_x + other_wide <= x
                                or y + high <= other_y or other_y + other_high <= y)

    def test_users_are_left_of_what_they_use(self):
        picture = ElementTree.fromstring(self.draw("svg"))
        places = {text.text: float(text.get("x")) for text in picture.iter(f"{SVG}text")}
        self.assertLess(places["libuser.so"], places["libb.so"])
        self.assertLess(places["libb.so"], places["liba.so"])

    def test_many_plugins_are_drawn(self):
        for i in range(40):
            self.add(f"m{i}", f"offers\ttest.m{i}\tx", f"requires\ttest.m{i // 2}"
                     if i > 1 else "optional\ttest.a", f"optional\ttest.m{i * 7 % 40 + 1}")
        ElementTree.fromstring(self.draw("svg"))

    def test_a_graph_of_nothing_is_drawn(self):
        empty = self.dir / "empty"
        empty.mkdir()
        for form in ("svg", "dot"):
            with self.subTest(form):
                code, out, err = self.run_tool("--graph", form, empty)
                self.assertEqual(1, code)
                self.assertIn("contains no library", err)
                self.assertNotEqual("", out)

    def test_wrong_forms_are_refused(self):
        for arguments in (("--graph", "png"), ("--graph", "svg", "--json"), ("--info", "--json"),
                          ("--offers",)):
            with self.subTest(arguments):
                code, out, err = self.run_tool(*arguments, self.dir)
                self.assertEqual((2, ""), (code, out))
                self.assertRegex(err, r"^ixla-inspect: [^\n]*\n$")


if __name__ == "__main__":
    unittest.main()
