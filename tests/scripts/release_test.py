# SPDX-License-Identifier: MIT
"""scripts/release.sh in a copy of the tree: release_test.py ROOT LIBRARIES
LIBRARIES has the built libraries, which the copy freezes instead of building its own."""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT, LIBRARIES = Path(sys.argv.pop(1)), Path(sys.argv.pop(1))
IDENTITY = {f"GIT_{who}_{what}": text for who in ("AUTHOR", "COMMITTER")
            for what, text in (("NAME", "Test"), ("EMAIL", "test@example.org"))}
ENVIRONMENT = {**os.environ, **IDENTITY, "GIT_CONFIG_NOSYSTEM": "1", "GIT_CONFIG_GLOBAL": "/dev/null",
               "SOURCE_DATE_EPOCH": "1800000000"}
BUILD = f"mkdir -p build/release && rm -rf build/release/lib && cp -r '{LIBRARIES}' build/release/lib"
ENTRY = "## [Unreleased]\n\n### Fixed\n\n- A defect.\n\n"


class ReleaseTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tree = Path(tempfile.mkdtemp(prefix="ixlal release ")) / "tree"
        shutil.copytree(ROOT, cls.tree, symlinks=True,
                        ignore=lambda at, _: {"build", ".git"} if Path(at) == ROOT else set())
        cls.git("init", "-q")
        cls.git("add", "-A")
        cls.git("commit", "-q", "-m", "start")
        cls.start = cls.git("rev-parse", "HEAD")
        cls.present = re.search(r"project\(ixlal VERSION (\d+)\.(\d+)\.(\d+)",
                                cls.read("CMakeLists.txt")).groups()
        major, minor, patch = map(int, cls.present)
        cls.next = f"{major}.{minor}.{patch + 1}"

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.tree.parent)

    def setUp(self):
        self.git("reset", "-q", "--hard", self.start)
        self.git("clean", "-fdqx")
        for tag in self.git("tag").split():
            self.git("tag", "-d", tag)

    @classmethod
    def git(cls, *arguments) -> str:
        done = subprocess.run(["git", *arguments], cwd=cls.tree, env=ENVIRONMENT, check=True,
                              stdout=subprocess.PIPE, text=True)
        return done.stdout.strip()

    @classmethod
    def read(cls, name: str) -> str:
        return (cls.tree / name).read_text(encoding="utf-8")

    def add_entry(self):
        text = self.read("CHANGELOG.md")
        (self.tree / "CHANGELOG.md").write_text(text.replace("\n## [", f"\n{ENTRY}## [", 1), "utf-8")
        self.git("commit", "-q", "-a", "-m", "fix: a defect")

    def release(self, *arguments, check="true", build=BUILD):
        done = subprocess.run(
            [self.tree / "scripts/release.sh", *arguments, "--check", check, "--build", build,
             "--architectures", "i386"],
            cwd=self.tree, env=ENVIRONMENT, check=False, timeout=500, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return done.returncode, done.stdout

    def check_refused(self, why: str, *arguments, **commands):
        before = self.git("rev-parse", "HEAD"), self.git("status", "--porcelain")
        code, text = self.release(*arguments, **commands)
        self.assertEqual(1, code, text)
        self.assertTrue(text.endswith(f"release: refused: {why}\n"), text)
        self.assertEqual(before, (self.git("rev-parse", "HEAD"), self.git("status", "--porcelain")))
        self.assertEqual("", self.git("tag"))
        self.assertFalse((self.tree / "tests/abi/frozen" / self.next).exists())

    def test_commits_and_tags_a_version(self):
        self.add_entry()
        code, text = self.release(self.next)
        self.assertEqual(0, code, text)
        self.assertEqual("", self.git("status", "--porcelain"))
        self.assertEqual(f"release: version {self.next}", self.git("log", "-1", "--format=%s"))
        self.assertEqual(self.git("rev-parse", "HEAD"),
                         self.git("rev-parse", f"v{self.next}^{{commit}}"))
        self.assertIn(f"project(ixlal VERSION {self.next} ", self.read("CMakeLists.txt"))
        self.assertIn(f'kCoreVersion[] = L"{self.next}";', self.read("core/PStartFlow.cpp"))
        self.assertIn(f"Core v{self.next}\"", self.read("tests/core/StartTest.cpp"))
        self.assertIn(f"## [{self.next}] - 2027-01-15\n\n### Fixed\n\n- A defect.\n",
                      self.read("CHANGELOG.md"))
        self.assertIn(f"ixlal ({self.next}) unstable", self.read("packaging/changelog"))
        frozen = self.tree / "tests/abi/frozen" / self.next
        self.assertTrue((frozen / "i386/host").is_file())
        self.assertIn("./i386/host\n", (frozen / "SHA256SUMS").read_text(encoding="utf-8"))
        code, text = self.release(self.next)
        self.assertEqual(1, code, text)

    def test_refuses_a_tree_with_changes(self):
        self.add_entry()
        (self.tree / "new").touch()
        self.check_refused("the tree has changes: commit them first", self.next)

    def test_refuses_a_version_that_does_not_grow(self):
        self.add_entry()
        present = ".".join(self.present)
        for version in (present, "0.9.99"):
            self.check_refused(f"{version} is not higher than {present}", version)

    def test_refuses_a_tag_that_exists(self):
        self.add_entry()
        self.git("tag", f"v{self.next}")
        code, text = self.release(self.next)
        self.assertEqual((1, f"release: refused: v{self.next} is a tag already\n"), (code, text))

    def test_refuses_a_changelog_without_entries(self):
        self.check_refused('CHANGELOG.md has no entries below "## [Unreleased]"', self.next)

    def test_refuses_when_the_gate_fails(self):
        self.add_entry()
        self.check_refused("the gate failed", self.next, check="false")

    def test_refuses_when_the_build_fails(self):
        self.add_entry()
        self.check_refused("building failed", self.next, build="false")

    def test_refuses_wrong_arguments(self):
        for arguments in ((), ("3.4",), ("03.4.0",), (self.next, "--unknown", "x")):
            code, text = self.release(*arguments)
            self.assertEqual(2, code, text)
            self.assertIn("release.sh VERSION [--check COMMAND]", text)


if __name__ == "__main__":
    unittest.main()
