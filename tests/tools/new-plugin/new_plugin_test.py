# SPDX-License-Identifier: MIT
"""Tests of ixla-new-plugin: new_plugin_test.py PROGRAM
scripts/check-install.sh tests that its projects can be built."""

import argparse
import importlib.machinery
import importlib.util
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM = os.path.abspath(sys.argv.pop(1))
ID = "com.example.load"


def load_program():
    """The program as a module, because a process for each of many names takes long."""
    sys.dont_write_bytecode = True
    sys.path.insert(0, os.path.dirname(os.path.realpath(PROGRAM)))
    loader = importlib.machinery.SourceFileLoader("new_plugin", PROGRAM)
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("new_plugin", loader))
    loader.exec_module(module)
    return module


class NewPluginTest(unittest.TestCase):
    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def run_tool(self, *arguments, **options):
        return subprocess.run([PROGRAM, *arguments], cwd=self.dir, text=True, check=False,
                              capture_output=True, timeout=30, **options)

    def files(self):
        return sorted(str(path.relative_to(self.dir)) for path in self.dir.rglob("*")
                      if not path.is_dir())

    def assert_refused(self, code, wanted, *arguments):
        before = self.files()
        done = self.run_tool(*arguments)
        self.assertEqual(done.returncode, code, done)
        self.assertIn(wanted, done.stderr)
        self.assertTrue(done.stderr.splitlines()[-1].startswith("ixla-new-plugin: "), done.stderr)
        self.assertNotIn("Traceback", done.stderr)
        self.assertEqual(self.files(), before)

    def test_writes_the_project_into_a_directory_of_its_name(self):
        done = self.run_tool("load-sampler", "--id", ID)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.files(), [
            "load-sampler/.clang-tidy",
            "load-sampler/.clangd",
            "load-sampler/.github/workflows/ci.yml",
            "load-sampler/.gitignore",
            "load-sampler/CMakeLists.txt",
            "load-sampler/CMakePresets.json",
            "load-sampler/ILoadSamplerService.h",
            "load-sampler/LoadSamplerPlugin.cpp",
            "load-sampler/README.md",
            "load-sampler/ci.sh",
            "load-sampler/config/ixlap.configmanager.prs",
            "load-sampler/config/load-sampler.prs",
            "load-sampler/core.prs",
            "load-sampler/test/LoadSamplerTest.cpp"])

    def test_adds_a_client_and_a_host_on_request(self):
        self.assertEqual(self.run_tool("greeter", "--id", ID).returncode, 0)
        for option, names in (("client", ["CMakeLists.txt", "GreeterClient.cpp",
                                          "GreeterClientTest.cpp"]),
                              ("host", ["CMakeLists.txt", "GreeterHost.cpp"])):
            with self.subTest(option):
                self.run_tool("greeter", "--id", ID, f"--with-{option}", "--dir", option)
                self.assertEqual(
                    [name for name in self.files() if name.startswith(f"{option}/{option}/")],
                    [f"{option}/{option}/{name}" for name in names])
                for name, line in (("README.md", f"`{option}/` is"),
                                   ("CMakeLists.txt", f"\nadd_subdirectory({option})\n")):
                    self.assertIn(line, (self.dir / option / name).read_text(encoding="utf-8"))
                    self.assertNotIn(
                        line, (self.dir / "greeter" / name).read_text(encoding="utf-8"))

    def test_makes_the_script_executable(self):
        self.run_tool("greeter", "--id", ID)
        self.assertEqual([name for name in self.files() if os.access(self.dir / name, os.X_OK)],
                         ["greeter/ci.sh"])

    def test_lists_the_files_and_the_next_steps(self):
        done = self.run_tool("greeter", "--id", ID, "--dir", "my plugins/greeter")
        self.assertIn("Wrote to my plugins/greeter:\n", done.stdout)
        self.assertIn("  cd 'my plugins/greeter'\n", done.stdout)
        for name in self.files():
            self.assertIn(f"  {name.removeprefix('my plugins/greeter/')}\n", done.stdout)

    def run_complete(self):
        self.run_tool("greeter", "--id", ID, "--with-client", "--with-host")

    def test_imposes_no_license(self):
        self.run_complete()
        for name in self.files():
            text = (self.dir / name).read_text(encoding="utf-8")
            self.assertNotRegex(text, r"(?i)spdx|license|copyright", name)

    def test_replaces_all_placeholders(self):
        self.run_complete()
        for name in self.files():
            text = (self.dir / name).read_text(encoding="utf-8")
            self.assertNotRegex(text, r"@[\w?]+@", name)

    def test_puts_name_and_id_where_they_belong(self):
        self.run_tool("my_Plugin2", "--id", ID)
        header = (self.dir / "my_Plugin2/IMyPlugin2Service.h").read_text(encoding="utf-8")
        self.assertIn("#ifndef MY_PLUGIN2_SERVICE_H", header)
        self.assertIn(f'constexpr wchar_t kMyPlugin2Id[] = L"{ID}";', header)
        manager = self.dir / "my_Plugin2/config/ixlap.configmanager.prs"
        self.assertIn(f"{ID} = my_Plugin2.prs\n", manager.read_text(encoding="utf-8"))

    def test_writes_into_an_empty_directory(self):
        (self.dir / "empty").mkdir()
        self.assertEqual(self.run_tool("greeter", "--id", ID, "--dir", "empty").returncode, 0)
        self.assertIn("empty/CMakeLists.txt", self.files())

    def test_refuses_a_directory_that_is_not_empty(self):
        (self.dir / "greeter").mkdir()
        (self.dir / "greeter/mine.txt").write_text("mine")
        self.assert_refused(1, "greeter: is not empty", "greeter", "--id", ID)

    def test_refuses_a_path_that_is_not_a_directory(self):
        (self.dir / "file").write_text("mine")
        (self.dir / "dangling").symlink_to("nowhere")
        for name in ("file", "dangling"):
            self.assert_refused(1, f"{name}: exists and is not a directory",
                                "greeter", "--id", ID, "--dir", name)
        self.assert_refused(1, "file", "greeter", "--id", ID, "--dir", "file/below")

    def test_removes_its_files_when_one_cannot_be_written(self):
        # With a limit on file sizes the first small files can be written, a larger one cannot.
        command = f"ulimit -f 1; trap '' XFSZ; exec {PROGRAM} greeter --id {ID} --dir a/b"
        done = subprocess.run(["bash", "-c", command], cwd=self.dir, text=True, check=False,
                              capture_output=True, timeout=30)
        self.assertEqual(done.returncode, 1, done)
        self.assertIn("File too large: make sure that it can be written", done.stderr)
        self.assertEqual(list(self.dir.iterdir()), [])

    def assert_all_refused(self, check, wanted, *texts):
        for text in texts:
            with self.subTest(text), self.assertRaisesRegex(argparse.ArgumentTypeError, wanted):
                check(text)

    def test_refuses_invalid_names(self):
        self.assert_refused(2, "'../up' is not a plugin name", "../up", "--id", ID)
        self.assert_all_refused(
            load_program().plugin_name, "is not a plugin name",
            "", "x", "2fast", "-", "a b", "a/b", "a--b", "tail-", "_a", "größe", "a" * 101,
            "a\nb", "ab\n", "a;b", "$(x)", "a.b")

    def test_refuses_names_reserved_by_the_build(self):
        self.assert_refused(2, "'test' is reserved by the build", "test", "--id", ID)
        self.assert_all_refused(load_program().plugin_name, "is reserved by the build",
                                "all", "install", "Package", "ixlal")

    def test_refuses_invalid_ids(self):
        self.assert_refused(2, "'greeter' is not an interface ID", "greeter", "--id", "greeter")
        self.assert_all_refused(
            load_program().interface_id, "is not an interface ID",
            "", "com..example", ".com.example", "com.example.", "com.ex=am", "com.ex:am",
            "com.ex|am", "com.ex am", "com.ex\"am", "com.ex\\am", "com.exämple", "1.2",
            "com.example\n", "com." + "a" * 100)

    def test_refuses_the_ids_of_the_core(self):
        self.assert_refused(2, "is reserved for the core",
                            "greeter", "--id", "com.kelvora.ixla.logger")
        self.assert_all_refused(load_program().interface_id, "is reserved for the core",
                                "com.Kelvora.ixla.other", "ixlap.global", "ixlap.configmanager")

    def test_refuses_missing_and_unknown_arguments(self):
        self.assert_refused(2, "--id", "greeter")
        self.assert_refused(2, "NAME", "--id", ID)
        self.assert_refused(2, "--unknown", "greeter", "--id", ID, "--unknown")

    def test_accepts_paths_that_are_not_utf_8(self):
        done = subprocess.run([PROGRAM, b"greeter", b"--id", ID.encode(), b"--dir", b"a\xff"],
                              cwd=self.dir, check=False, capture_output=True, timeout=30)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertIn(b"Wrote to a\xff:\n", done.stdout)

    def test_prints_its_version(self):
        self.assertRegex(self.run_tool("--version").stdout, r"\Aixla-new-plugin \d+\.\d+\.\d+\n\Z")

    def test_sources_follow_the_formatting_rules(self):
        formatter = shutil.which("clang-format")
        if not formatter:
            self.skipTest("clang-format is not installed")
        self.run_complete()
        shutil.copy(Path(__file__).parents[3] / ".clang-format", self.dir)
        for name in self.files():
            if re.search(r"\.(h|cpp)$", name):
                subprocess.run([formatter, "--dry-run", "--Werror", name], cwd=self.dir, check=True)


if __name__ == "__main__":
    unittest.main(verbosity=2)
