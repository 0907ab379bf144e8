# SPDX-License-Identifier: MIT
"""Tests of both readers of notes in plugin libraries: notes_test.py DUMP SOURCES SDK
DUMP prints what the reader in C++ finds. Every file gives the same with both."""

import json
import os
import random
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

DUMP, SOURCES, SDK = sys.argv.pop(1), sys.argv.pop(1), sys.argv.pop(1)
LIMIT = 60  # seconds for a program

sys.dont_write_bytecode = True
sys.path.insert(0, SOURCES)
from plugin_info import TEXTS, plugin_info  # noqa: E402 pylint: disable=wrong-import-position
from plugin_notes import INFO, KEYS, read_notes  # noqa: E402 pylint: disable=wrong-import-position

PLUGIN = """
#include "helpers/PluginInfo.h"
IXLA_PLUGIN_INFO(IXLA_INFO_NAME("mixer"), IXLA_INFO_VERSION("1.2"),
                 IXLA_INFO_OFFERS("com.example.mixer", "mixes Gr\\u00fcn"))
namespace { IXLA_PLUGIN_NOTE(eIxlaNoteKeys, "id\\tcom.example.mixer\\n") }
IXLA_PLUGIN_NOTE(77, "id\\tfor others\\n")
"""
WHOLE = [[INFO, [["name", ["mixer"]], ["version", ["1.2"]],
                 ["offers", ["com.example.mixer", "mixes Gr\u00fcn"]]]],
         [KEYS, [["id", ["com.example.mixer"]]]]]


def note(kind, content, owner=b"ixlal\0"):
    def padded(data):
        return data + bytes(-len(data) % 4)
    return padded(struct.pack("<III", len(owner), len(content), kind) + owner) + padded(content)


def library(notes, phnum=1, entry_size=32, size=None, offset=84):
    """A 32-bit file with one note segment."""
    header = struct.pack("<16sHHIIIIIHHHHHH", b"\x7fELF\1\1\1", 3, 3, 1, 0, 52, 0, 0, 52,
                         entry_size, phnum, 0, 0, 0)
    size = len(notes) if size is None else size
    return header + struct.pack("<IIIIIIII", 4, offset, 0, 0, size, size, 4, 4) + notes


class NotesTest(unittest.TestCase):
    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def build(self, bits):
        """A library with three notes."""
        (self.dir / "plugin.cpp").write_text(PLUGIN, encoding="utf-8")
        path = self.dir / f"lib{bits}.so"
        subprocess.run(["g++", f"-m{bits}", "-std=c++11", "-shared", "-fPIC", "-nostdlib", f"-I{SDK}",
                        "-o", path, self.dir / "plugin.cpp"], check=True, timeout=LIMIT)
        return path

    def read_all(self, paths):
        """What both readers find in each file."""
        done = subprocess.run([DUMP, *paths], check=True, capture_output=True, timeout=LIMIT)
        lines = done.stdout.decode().splitlines()
        self.assertEqual(len(paths), len(lines))
        results = []
        for path, line in zip(paths, lines):
            found = read_notes(path)
            result = {"fault": found.fault, "damage": found.damage, "newer": found.has_newer,
                      "notes": [[each.type, [list(field) for field in each.fields]]
                                for each in found.notes]}
            other = json.loads(line)
            self.assertEqual(other.pop("info"), self.info_of(found), path)
            self.assertEqual(other, result, path)
            results.append(result)
        return results

    @staticmethod
    def info_of(found):
        info, damage = plugin_info(found)
        return info and {"offered": info.offered, "required": info.required,
                         "optional": info.optional, "damage": damage,
                         "works": [info.works_with("3.3.32"), info.works_with("3.4.0")],
                         **{name: info.texts.get(name, "") for name in TEXTS}}

    def read(self, content):
        path = self.dir / "lib.so"
        path.write_bytes(content)
        return self.read_all([path])[0]

    def damage(self, text):
        """What is wrong with a text, and the fields that are read."""
        result = self.read(library(note(INFO, text)))
        self.assertEqual("", result["fault"])
        fields = [list(field) for _, fields in result["notes"] for field in fields]
        return [line.removeprefix("its note 1 of type 1 is damaged: ")
                for line in result["damage"]], fields


class Whole(NotesTest):
    def test_notes_of_both_word_sizes_are_read(self):
        for bits in (32, 64):
            with self.subTest(bits):
                self.assertEqual([{"fault": "", "damage": [], "newer": False, "notes": WHOLE}],
                                 self.read_all([self.build(bits)]))

    def test_notes_remain_without_section_headers(self):
        data = bytearray(self.build(32).read_bytes())
        data[32:36] = bytes(4)  # e_shoff
        data[46:52] = bytes(6)  # the size and number of section headers
        self.assertEqual(WHOLE, self.read(bytes(data))["notes"])

    def test_a_library_without_notes_is_whole(self):
        self.assertEqual({"fault": "", "damage": [], "newer": False, "notes": []},
                         self.read(library(b"", phnum=0, entry_size=0)))

    def test_notes_of_other_owners_are_skipped(self):
        foreign = note(INFO, b"1\nname\tother\n\0", b"GNU\0") + note(3, b"\1\2\3\4\5")
        self.assertEqual(([], []), (lambda found: (found["damage"], found["notes"]))(
            self.read(library(foreign))))

    def test_a_newer_format_is_read_as_far_as_it_is_known(self):
        result = self.read(library(note(INFO, b"2\nname\tnew\nsomething else\ncolour\tred\n\0")))
        self.assertEqual((True, []), (result["newer"], result["damage"]))
        self.assertEqual([[INFO, [["name", ["new"]], ["colour", ["red"]]]]], result["notes"])


class Information(NotesTest):
    def info(self, *lines):
        """The plugin information of these lines, and what is wrong with it."""
        text = "\n".join(("1", *lines, "")).encode() + b"\0"
        path = self.dir / "lib.so"
        path.write_bytes(library(note(INFO, text)))
        self.read_all([path])
        return plugin_info(read_notes(path))

    def test_unknown_fields_and_values_are_skipped(self):
        info, damage = self.info("name\ta\tmore", "version\t1", "colour\tred",
                                 "offers\tx\tfor all\tmore", "offers\ty", "requires\tz\tmore")
        self.assertEqual([], damage)
        self.assertEqual({"name": "a", "version": "1"}, info.texts)
        self.assertEqual([("x", "for all"), ("y", "")], info.offers)
        self.assertEqual(["z"], info.required)

    def test_older_cores_are_refused(self):
        for core, wanted in (("3.3.32", True), ("3.3.33", False), ("3.10.0", False),
                             ("2.99.99", True), ("new", True), ("3.3.999999999", False)):
            with self.subTest(core):
                info, _ = self.info("name\ta", "version\t1", f"core\t{core}")
                self.assertEqual(wanted, info.works_with("3.3.32"))

    def test_wrong_fields_are_described(self):
        its = "its plugin information"
        core = f"{its} has a version of the core that is not of the form 1.2.3"
        for lines, wanted in (
                (("name\ta",), [f"{its} has no version"]),
                (("name\t", "version\t1"), [f"{its} has no name"]),
                (("name\ta", "version\t1", "name\tb"),
                 [f"{its} has the field name twice; the first one counts"]),
                (("name\ta", "version\t1", "core\t3"), [core]),
                (("name\ta", "version\t1", "core\t1.2.3.4"), [core]),
                (("name\ta", "version\t1", "core\t1.2.1234567890"), [core]),
                (("name\ta", "version\t1", "offers\tx\t1", "requires\tx"),
                 [f"{its} names the interface x twice"]),
                (("name\ta", "version\t1", "optional\t"),
                 [f"{its} has an empty interface ID"])):
            with self.subTest(lines):
                self.assertEqual(wanted, self.info(*lines)[1])

    def test_the_first_of_several_counts(self):
        text = b"1\nname\t%s\nversion\t1\n\0"
        path = self.dir / "lib.so"
        path.write_bytes(library(note(INFO, text % b"a") + note(INFO, text % b"b")))
        self.read_all([path])
        info, damage = plugin_info(read_notes(path))
        self.assertEqual("a", info.texts["name"])
        self.assertEqual(["it has 2 notes of plugin information; the first one counts"], damage)


class Damaged(NotesTest):
    def test_text_is_described(self):
        for text, wanted, fields in (
                (b"1\nname\ta\n", "it does not end with a zero", []),
                (b"", "it does not end with a zero", []),
                (b"1\nname\t\xff\n\0", "it is not a text in UTF-8", []),
                (b"1\nname\ta\0b\n\0", "it is not a text in UTF-8", []),
                (b"name\ta\n\0", "its first line is not the version of the format", []),
                (b"0\nname\ta\n\0", "its first line is not the version of the format", []),
                (b"1234567890\nname\ta\n\0", "its first line is not the version of the format", []),
                (b"1\nname\ta\nurl\n\0", "line 3 is not a field", [["name", ["a"]]]),
                (b"1\n\tname\nurl\tb\n\0", "line 2 is not a field", [["url", ["b"]]]),
                (b"1\nname\ta\nurl\tb\0", "line 3 is cut", [["name", ["a"]]])):
            with self.subTest(text):
                self.assertEqual(([wanted], fields), self.damage(text))

    def test_sizes_are_described(self):
        text = b"1\nname\ta\n\0"
        whole = note(INFO, text)
        for data, wanted in (
                (library(whole + whole[:8]), "it ends within the header of a note"),
                (library(whole[:4] + b"\xff\xff\xff\xff" + whole[8:]),
                 "a note is larger than the segment"),
                (library(b"\xff\xff\xff\xff" + whole[4:]), "a note is larger than the segment"),
                (library(whole)[:-4], "the end of the file cuts it"),
                (library(whole, offset=0xffffffff), "the end of the file cuts it")):
            with self.subTest(wanted):
                (line,) = self.read(data)["damage"]
                self.assertRegex(line, rf"^its note segment at offset \d+ is damaged: {wanted}$")

    def test_segments_beyond_all_measure_are_refused(self):
        self.assertEqual(["its note segments are larger than 4 MiB"],
                         self.read(library(b"", size=0xfffffff0))["damage"])

    def test_damage_of_other_owners_is_no_damage(self):
        self.assertEqual([], self.read(library(b"\xff" * 20))["damage"])

    def test_a_note_after_a_damaged_one_is_read(self):
        result = self.read(library(note(INFO, b"bad\0") + note(KEYS, b"1\nid\tx\n\0")))
        self.assertEqual([[KEYS, [["id", ["x"]]]]], result["notes"])
        self.assertEqual(1, len(result["damage"]))

    def test_files_that_are_no_libraries_are_faults(self):
        whole = library(b"")
        for data, wanted in ((b"", "is not an ELF file"), (b"text " * 9, "is not an ELF file"),
                             (whole[:5] + b"\2" + whole[6:], "the byte order of another machine"),
                             (whole[:4] + b"\7" + whole[5:], "neither a 32-bit nor a 64-bit"),
                             (whole[:40], "its header is cut"),
                             (library(b"", entry_size=56), "another size of segment headers"),
                             (library(b"", phnum=3), "its segment headers are missing")):
            with self.subTest(wanted):
                result = self.read(data)
                self.assertIn(wanted, result["fault"])
                self.assertEqual([], result["notes"])

    def test_paths_that_are_no_files_are_faults(self):
        os.mkfifo(self.dir / "fifo")
        results = self.read_all([self.dir / "nowhere", self.dir, self.dir / "fifo"])
        self.assertEqual(["cannot be read: No such file or directory", "is not a regular file",
                          "is not a regular file"], [each["fault"] for each in results])

    def test_any_damage_gives_the_same_with_both_readers(self):
        """Drawn by seed: bytes of headers and notes, and where the file ends."""
        chance = random.Random(16)
        paths = []
        for bits in (32, 64):
            whole = self.build(bits).read_bytes()
            notes = whole.index(b"ixlal\0")
            for i in range(400):
                data = bytearray(whole)
                for _ in range(chance.randint(1, 6)):
                    begin, size = chance.choice(((0, 0x200), (notes - 20, 260)))
                    data[begin + chance.randrange(size)] = chance.choice(
                        (0, 1, 4, 8, 9, 10, 0x7f, 0xff, chance.randrange(256)))
                paths.append(self.dir / f"{bits}-{i}.so")
                paths[-1].write_bytes(data[:chance.randrange(len(data))] if i % 9 == 0 else data)
        results = self.read_all(paths)
        damaged = sum(bool(each["damage"] or each["fault"]) for each in results)
        self.assertGreater(damaged, 100)
        self.assertGreater(sum(each["notes"] != WHOLE for each in results), 100)


if __name__ == "__main__":
    unittest.main()
