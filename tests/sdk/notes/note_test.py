# SPDX-License-Identifier: MIT
"""Tests of the macros that put notes into a library: note_test.py ROOT BITS COMPILER..."""

import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT, BITS = Path(sys.argv.pop(1)), sys.argv.pop(1)
COMPILERS = sys.argv[1:]
del sys.argv[1:]
LIMIT = 300  # seconds for a compiler

sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tools/inspect"))
from plugin_notes import read_notes  # noqa: E402 pylint: disable=wrong-import-position

WARNINGS = ("-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion", "-Werror")
FIRST = """
#include "helpers/PluginInfo.h"
IXLA_PLUGIN_INFO(IXLA_INFO_NAME("full"), IXLA_INFO_VERSION("1.0-beta 2"),
                 IXLA_INFO_DESCRIPTION("has every field: gr\\u00fcn, 100 %, \\"x\\""),
                 IXLA_INFO_AUTHOR("Ann Example"), IXLA_INFO_LICENSE("MIT"),
                 IXLA_INFO_URL("https://example.com/full?a=b"), IXLA_INFO_CORE("3.10.2"),
                 IXLA_INFO_OFFERS("com.example.one", "one"),
                 IXLA_INFO_OFFERS("com.example.two", "two, too"),
                 IXLA_INFO_REQUIRES("com.example.three"), IXLA_INFO_OPTIONAL("com.example.four"))
"""
SECOND = """
#include "helpers/PluginNote.h"
namespace example
{
IXLA_PLUGIN_NOTE(eIxlaNoteKeys, "a\\t" "1\\n") IXLA_PLUGIN_NOTE(eIxlaNoteKeys, "a\\t" "12\\n")
IXLA_PLUGIN_NOTE(eIxlaNoteKeys, "a\\t" "123\\n")
IXLA_PLUGIN_NOTE(eIxlaNoteKeys, "a\\t" "1234\\n")
}
__attribute__((visibility("default"))) int used();
int used() { return 1; }
"""
FIELDS = [
    ("name", ["full"]), ("version", ["1.0-beta 2"]),
    ("description", ["has every field: gr\u00fcn, 100 %, \"x\""]), ("author", ["Ann Example"]),
    ("license", ["MIT"]), ("url", ["https://example.com/full?a=b"]), ("core", ["3.10.2"]),
    ("offers", ["com.example.one", "one"]), ("offers", ["com.example.two", "two, too"]),
    ("requires", ["com.example.three"]), ("optional", ["com.example.four"])]
# Builds in which a note could get lost, and the compilers that have them.
BUILDS = (
    ("-O0",), ("-O2", "-ffunction-sections", "-fdata-sections", "-Wl,--gc-sections", "-Wl,-s"),
    ("-O1", "-g", "-fsanitize=address"), ("-O2", "-flto"))
NEEDS_PLUGIN = ("-flto",)  # of the linker, with clang

NAME, VERSION = 'IXLA_INFO_NAME("a")', 'IXLA_INFO_VERSION("1")'
MISTAKES = (
    (VERSION, "give IXLA_INFO_NAME once"),
    (f"{NAME}, {NAME}, {VERSION}", "give IXLA_INFO_NAME once"),
    (NAME, "give IXLA_INFO_VERSION once"),
    (f"{NAME}, {VERSION}, {VERSION}", "give IXLA_INFO_VERSION once"),
    *((f"{NAME}, {VERSION}, IXLA_INFO_{field}({text}), IXLA_INFO_{field}({text})",
       f"give IXLA_INFO_{field} once at most")
      for field, text in (("DESCRIPTION", '"d"'), ("AUTHOR", '"a"'), ("LICENSE", '"l"'),
                          ("URL", '"u"'), ("CORE", '"1.2.3"'))),
    (f'{VERSION}, IXLA_INFO_NAME("a\\tb")', "a text has a tab or a line break"),
    (f'{VERSION}, IXLA_INFO_NAME("a\\nb")', "a text has a tab or a line break"),
    (f'{VERSION}, IXLA_INFO_NAME("a\\nunknown\\tb")', "a text has a tab or a line break"),
    (f'{VERSION}, IXLA_INFO_NAME("")', "a text is empty or has a control character"),
    (f'{NAME}, {VERSION}, IXLA_INFO_OFFERS("", "x")', "a text is empty"),
    (f'{NAME}, {VERSION}, IXLA_INFO_OFFERS("x", "")', "a text is empty"),
    (f'{VERSION}, IXLA_INFO_NAME("a\\033[2J")', "a text is empty or has a control character"),
    (f'{VERSION}, IXLA_INFO_NAME("a\\0b")', "a text is empty or has a control character"),
    *((f'{NAME}, {VERSION}, IXLA_INFO_CORE("{text}")', "IXLA_INFO_CORE is not of the form 1.2.3")
      for text in ("3", "3.4", "3.4.", "3..5", "3.4.5.6", "v3.4.5", "3.4.5 ")),
    (f'{NAME}, {VERSION}, IXLA_INFO_OFFERS("a b", "x")', "an interface ID has a blank"),
    (f'{NAME}, {VERSION}, IXLA_INFO_REQUIRES("a ")', "an interface ID has a blank"),
    *((f"{NAME}, {VERSION}, {first}, {second}", "an interface ID is named twice")
      for first, second in (('IXLA_INFO_OFFERS("x", "1")', 'IXLA_INFO_OFFERS("x", "2")'),
                            ('IXLA_INFO_OFFERS("x", "1")', 'IXLA_INFO_REQUIRES("x")'),
                            ('IXLA_INFO_OPTIONAL("x")', 'IXLA_INFO_REQUIRES("x")'))),
    (", ".join([NAME, VERSION] + [f'IXLA_INFO_REQUIRES("x{i}")' for i in range(63)]),
     "IXLA_AT_MOST_64_"),
    (f'{VERSION}, IXLA_INFO_NAME(L"a")', ""))


class NoteTest(unittest.TestCase):
    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def compile(self, compiler, *arguments):
        return subprocess.run(
            [compiler, f"-m{BITS}", *WARNINGS, f"-I{ROOT / 'sdk'}", *arguments], check=False,
            capture_output=True, text=True, timeout=LIMIT, cwd=self.dir)

    def build(self, compiler, *flags):
        for name, text in (("first.cpp", FIRST), ("second.cpp", SECOND)):
            (self.dir / name).write_text(text, encoding="utf-8")
        done = self.compile(compiler, "-std=c++11", "-shared", "-fPIC", "-fvisibility=hidden",
                            *flags, "-o", "lib.so", "first.cpp", "second.cpp")
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        return self.dir / "lib.so"

    def test_notes_survive_every_build(self):
        for compiler in COMPILERS:
            for flags in BUILDS:
                if compiler.startswith("clang") and any(each in NEEDS_PLUGIN for each in flags):
                    continue
                with self.subTest(compiler=compiler, flags=flags):
                    found = read_notes(self.build(compiler, *flags))
                    self.assertEqual(("", []), (found.fault, found.damage))
                    info, *keys = sorted(found.notes, key=lambda note: note.type)
                    self.assertEqual(FIELDS, [tuple(field) for field in info.fields])
                    self.assertEqual([[("a", [text])] for text in ("1", "12", "123", "1234")],
                                     sorted([tuple(field) for field in note.fields]
                                            for note in keys))

    def test_notes_survive_strip_and_export_nothing(self):
        for compiler in COMPILERS:
            with self.subTest(compiler):
                path = self.build(compiler, "-O2", "-g")
                subprocess.run(["strip", "--strip-all", path], check=True, timeout=LIMIT)
                self.assertEqual(5, len(read_notes(path).notes))
                symbols = subprocess.run(["nm", "-D", "--defined-only", path], check=True,
                                         capture_output=True, text=True, timeout=LIMIT).stdout
                self.assertEqual(["_Z4usedv"], [line.split()[-1] for line in symbols.splitlines()])

    def write_infos(self, infos):
        """Each one in a line, from line 2."""
        lines = [f"IXLA_PLUGIN_INFO({fields})\n" for fields in infos]
        text = '#include "helpers/PluginInfo.h"\n' + "".join(lines)
        (self.dir / "info.cpp").write_text(text, encoding="utf-8")

    def test_64_fields_and_long_texts_are_accepted(self):
        fields = [NAME, VERSION, f'IXLA_INFO_DESCRIPTION("{"long " * 400}")',
                  *(f'IXLA_INFO_OFFERS("com.example.interface{i}", "text {i}")' for i in range(61))]
        self.write_infos([", ".join(fields)])
        for compiler in COMPILERS:
            with self.subTest(compiler):
                done = self.compile(compiler, "-std=c++11", "-fsyntax-only", "info.cpp")
                self.assertEqual((0, ""), (done.returncode, done.stderr))

    def test_mistakes_are_errors_of_the_compiler(self):
        self.write_infos([fields for fields, _ in MISTAKES] + [f"{NAME}, {VERSION}"])
        for compiler in COMPILERS:
            limit = "-ferror-limit=0" if compiler.startswith("clang") else "-fmax-errors=0"
            place = () if compiler.startswith("clang") else ("-ftrack-macro-expansion=0",)
            said = self.compile(compiler, "-std=c++11", "-fsyntax-only", limit, *place,
                                "info.cpp").stderr
            errors = {}
            for line, text in re.findall(r"^info.cpp:(\d+):\d+: error: (.*)$", said, re.M):
                errors.setdefault(int(line), []).append(text)
            for number, (fields, wanted) in enumerate(MISTAKES, 2):
                with self.subTest(compiler=compiler, fields=fields):
                    self.assertTrue(any(wanted in text for text in errors.get(number, [])),
                                    errors.get(number))
            self.assertNotIn(len(MISTAKES) + 2, errors)


if __name__ == "__main__":
    unittest.main()
