#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Files of earlier versions work with this one: frozen_test.py FROZEN ARCHITECTURE VERSION BUILD
[EMULATOR...]
FROZEN has a directory for each version, written by scripts/freeze.sh. VERSION is that of the build
tree BUILD, which has a host, plugins and, for i386, the tools."""

import hashlib
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from kept_host import CONFIG, Run, frozen_plugins

FROZEN, ARCHITECTURE = Path(sys.argv[1]).resolve(), sys.argv[2]
VERSION, BUILD = sys.argv[3], Path(sys.argv[4]).resolve()
EMULATOR = sys.argv[5:]
LIBRARIES = BUILD / "lib"
# With an emulator, kept_host is a script that starts it.
NEW_HOST = BUILD / ("bin/kept_host.elf" if EMULATOR else "bin/kept_host")
SETS = sorted(path for path in FROZEN.iterdir() if (path / "SHA256SUMS").exists())
CHECKS = re.compile(r"^(\w+): (\d+) checks$", re.MULTILINE)
LOG_LINE = re.compile(r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \d+:\d+ ([IED] .*)$")
MEBIBYTES = 1.5


def new_plugins() -> list[Path]:
    names = ("gxx_cxx11", "gxx_cxx20", "clang_O0", "clang_O2", "kept")
    return [BUILD / f"plugins/{name}/lib{name}.so" for name in names]


def wrong_hashes(version: Path) -> list[str]:
    """The files that are missing from a set, changed, or not listed."""
    listed = {}
    for line in (version / "SHA256SUMS").read_text(encoding="utf-8").splitlines():
        digest, name = line.split("  ")
        listed[name] = digest
    found = {f"./{path.relative_to(version)}": path
             for path in version.rglob("*") if path.is_file() and path.name != "SHA256SUMS"}
    found.update({name: version / name for name in listed if (version / name).is_file()})
    return sorted(name for name in found.keys() | listed.keys()
                  if name not in found or name not in listed
                  or hashlib.sha256(found[name].read_bytes()).hexdigest() != listed[name])


def texts(log: str) -> list[str]:
    """The lines of the greeter in a log, without their times."""
    matches = [LOG_LINE.match(line) for line in log.splitlines()]
    return [match[1] for match in matches if match and "[greeter]" in match[1]]


class FrozenCase(unittest.TestCase):
    def frozen(self):
        """Each set, with the directory of this architecture."""
        self.assertTrue(SETS)
        return [(version, version / ARCHITECTURE) for version in SETS]


class FrozenTest(FrozenCase):
    def check_all(self, run: Run, text: str):
        """Each plugin called every operation and was unloaded, and no operation failed."""
        self.assertEqual([(name, "269") for name in run.checked], CHECKS.findall(text))
        self.assertTrue(text.startswith("start: 0\nstored: 0\n"), text)
        self.assertTrue(text.endswith("\nstop: 0\n"), text)
        for name in run.checked:
            self.assertIn(f"{name}: 269 checks\nstep: ", text)
            self.assertIn(f"step: {name}.destroyed\nstep: {name}.unmapped\n"
                          f"unload {name}: 0, available: 0\n", text)
        self.assertIn("event: kept.greeted 2\ngreet: 0 Guten Tag, size 9, changes 1\n", text)
        self.assertEqual(["I pgs [greeter] greeting 1", "I pgs [greeter] greeting 2"],
                         texts(run.plugins_log.read_text(encoding="utf-8")))

    def test_sets_are_unchanged(self):
        for version, _ in self.frozen():
            self.assertEqual([], wrong_hashes(version))
            size = sum(path.stat().st_size for path in version.rglob("*") if path.is_file())
            self.assertLess(size, MEBIBYTES * 2**20)

    def test_a_changed_set_is_found(self):
        with tempfile.TemporaryDirectory() as copy:
            for name, change in (("kept", b"changed"), ("more", b"")):
                (Path(copy) / name).write_bytes(change)
            (Path(copy) / "SHA256SUMS").write_text(
                f"{hashlib.sha256(b'kept').hexdigest()}  ./kept\n{'0' * 64}  ./gone\n", "utf-8")
            self.assertEqual(["./gone", "./kept", "./more"], wrong_hashes(Path(copy)))

    def test_frozen_host_and_plugins_run_with_the_new_libraries(self):
        for version, binaries in self.frozen():
            with Run(binaries / "host", frozen_plugins(binaries), LIBRARIES, EMULATOR) as run:
                text = run.run(*run.actions())
                self.check_all(run, text)
                self.assertEqual((binaries / "output.txt").read_text(encoding="utf-8"), text)
                if ARCHITECTURE == "i386":
                    self.assertEqual((version / "data/store.txt").read_text(encoding="utf-8"),
                                     run.store.read_text(encoding="utf-8"))

    def test_new_host_runs_frozen_plugins(self):
        for _, binaries in self.frozen():
            with Run(NEW_HOST, frozen_plugins(binaries), LIBRARIES, EMULATOR) as run:
                self.check_all(run, run.run(*run.actions()))

    def test_frozen_host_runs_new_plugins(self):
        for _, binaries in self.frozen():
            with Run(binaries / "host", new_plugins(), LIBRARIES, EMULATOR) as run:
                self.check_all(run, run.run(*run.actions()))

    def test_new_host_and_plugins_run_with_libraries_of_the_same_minor_version(self):
        for version, binaries in self.frozen():
            if version.name.split(".")[:2] == VERSION.split(".")[:2]:
                with Run(NEW_HOST, new_plugins(), binaries, EMULATOR) as run:
                    self.check_all(run, run.run(*run.actions()))

    def test_frozen_files_are_read(self):
        for version, binaries in self.frozen():
            for host in (binaries / "host", NEW_HOST):
                with Run(host, [], LIBRARIES, EMULATOR) as run:
                    run.store.write_bytes((version / "data/store.txt").read_bytes())
                    self.assertEqual((version / "data/read.txt").read_text(encoding="utf-8"),
                                     run.run("read"))

    def test_a_plugin_with_other_slots_is_found(self):
        swapped = BUILD / "plugins/swapped_slots/libswapped_slots.so"
        for _, binaries in self.frozen():
            with Run(binaries / "host", [swapped], LIBRARIES, EMULATOR) as run:
                self.assertIn("INT_MIN", run.run("check:swapped_slots"))


@unittest.skipUnless((BUILD / "bin/ixla-config").exists(), "this build has no tools")
class FrozenToolsTest(FrozenCase):
    """The tools read what the version left."""

    def tool(self, name: str, *arguments) -> str:
        done = subprocess.run([BUILD / "bin" / name, *arguments], timeout=100, check=False,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE)
        self.assertEqual((0, b""), (done.returncode, done.stderr), name)
        return done.stdout.decode()

    def test_report_reads_the_log(self):
        for version, _ in self.frozen():
            shown = self.tool("ixla-report", version / "data/core.log")
            self.assertIn(version.name, shown)
            self.assertRegex(shown, r"(?m)\blibkept\b|\bkept\b")

    def test_config_reads_the_files_and_the_store(self):
        for version, _ in self.frozen():
            with tempfile.TemporaryDirectory() as directory:
                for path in (*CONFIG.iterdir(), version / "data/store.txt"):
                    (Path(directory) / path.name).write_bytes(path.read_bytes())
                for key, value in (("later", "second"), ("both", "2"), ("file.int32", "-17"),
                                   ("stored.text", "three words, ä€ = ; |")):
                    self.assertEqual(value + "\n", self.tool("ixla-config", "--dir", directory,
                                                             "get", "kept.values", key))

    @unittest.skipIf(EMULATOR, "ixla-inspect cannot read ixla-probe, a script with the emulator")
    def test_information_and_keys_of_plugins_are_read(self):
        for _, binaries in self.frozen():
            shown = self.tool("ixla-inspect", "--info", binaries / "libkept.so")
            self.assertRegex(shown, r"(?m)^  offers +kept\.greeter: makes greetings$")
            shown = self.tool("ixla-config", "--plugins", binaries / "libkept.so", "describe",
                              "kept.greeter")
            self.assertIn("number from 1 to 10 (m); default: 5; changes at run time", shown)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
