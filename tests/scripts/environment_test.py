# SPDX-License-Identifier: MIT
"""The environment that scripts/demo.sh and scripts/test.sh pass on, and their report of
skipped tests: environment_test.py SCRIPTS SKIPPING_TEST
They work on a small project that writes down what it is run with."""

import os
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPTS, SKIPPING_TEST = sys.argv.pop(1), sys.argv.pop(1)
KEPT = {"PATH", "HOME", "TERM", "LANG"}
OF_TOOLS = {"PWD", "OLDPWD", "SHLVL", "_", "CTEST_INTERACTIVE_DEBUG_MODE"}
FOREIGN = {"PYTHONUNBUFFERED": "1", "IXLAL_SOMETHING": "1", "LOG_IXLACORE": "1", "LC_ALL": "C",
           "CXXFLAGS": "-wrong", "CFLAGS": "-wrong", "LDFLAGS": "-wrong", "TMPDIR": "/nowhere",
           "CTEST_PARALLEL_LEVEL": "1", "TZ": "Asia/Tokyo", "LD_LIBRARY_PATH": "/nowhere"}

PRESETS = """{
    "version": 6,
    "configurePresets": [
        {"name": "release", "generator": "Ninja", "binaryDir": "${sourceDir}/build/release"}],
    "buildPresets": [{"name": "release", "configurePreset": "release"}],
    "testPresets": [{"name": "release", "configurePreset": "release"}]
}
"""
NOTE = """#!/bin/sh
mkdir -p "$(dirname "$0")/seen"
env >"$(dirname "$0")/seen/$1"
umask >"$(dirname "$0")/seen/$1.umask"
"""
PARTLY = """
import sys, unittest
class Partly(unittest.TestCase):
    def test_works(self):
        pass
    @unittest.skip("no pseudo terminal")
    def test_needs_a_terminal(self):
        pass
unittest.main(argv=sys.argv[:1], verbosity=int(sys.argv[1]))
"""
PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(small NONE)
enable_testing()
set(note ${{PROJECT_SOURCE_DIR}}/note.sh)
execute_process(COMMAND ${{note}} configure)
add_custom_target(build ALL ${{note}} build)
add_test(NAME Small.Notes COMMAND ${{note}} test)
add_test(NAME Small.Script COMMAND sh -c "echo 'SKIPPED: no browser'; exit 77")
set_tests_properties(Small.Script PROPERTIES SKIP_RETURN_CODE 77)
add_test(NAME Small.Mount COMMAND {skipping})
set_tests_properties(Small.Mount PROPERTIES SKIP_REGULAR_EXPRESSION "\\\\[  SKIPPED \\\\]")
add_test(NAME Small.Partly COMMAND python3 ${{PROJECT_SOURCE_DIR}}/partly.py 2)
add_test(NAME Small.Silent COMMAND python3 ${{PROJECT_SOURCE_DIR}}/partly.py 1)
add_custom_target(ixlal_core_tests ${{note}} build-core)
add_test(NAME Small.Core COMMAND ${{note}} test-core)
set_tests_properties(Small.Core PROPERTIES LABELS core-core)
add_custom_target(ixlal_core_tests_port ${{note}} build-port)
add_test(NAME Small.Port COMMAND ${{note}} test-port)
set_tests_properties(Small.Port PROPERTIES LABELS core-port)
"""


class EnvironmentTest(unittest.TestCase):
    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))
        shutil.copytree(SCRIPTS, self.dir / "scripts")
        self.write("CMakeLists.txt", PROJECT.format(skipping=SKIPPING_TEST))
        self.write("CMakePresets.json", PRESETS)
        self.write("partly.py", PARTLY)
        self.write("note.sh", NOTE)
        self.write("examples/run-demo.sh", '#!/bin/sh\nexec "$(dirname "$0")/../note.sh" demo\n')
        self.write("bin/dpkg-query", "#!/bin/sh\necho installed\n")  # nothing is to be installed

    def write(self, name, text):
        path = self.dir / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(path.stat().st_mode | stat.S_IXUSR)

    def run_script(self, *command, **variables):
        environment = {"PATH": f"{self.dir}/bin:{os.environ['PATH']}", "HOME": str(self.dir),
                       "TERM": "vt100", "LANG": "C.UTF-8", **FOREIGN, **variables}
        done = subprocess.run([self.dir / "scripts" / command[0], *command[1:]], text=True,
                              capture_output=True, timeout=60, check=False, env=environment)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        return done.stdout

    def seen(self, step):
        text = (self.dir / "seen" / step).read_text(encoding="utf-8")
        variables = dict(line.split("=", 1) for line in text.splitlines())
        return {name: value for name, value in variables.items() if name not in OF_TOOLS}

    def umask(self, step):
        return int((self.dir / "seen" / f"{step}.umask").read_text(encoding="utf-8"), 8)

    def test_the_suite_gets_four_variables(self):
        self.run_script("test.sh")
        for step in ("configure", "build", "test"):
            self.assertEqual(KEPT, set(self.seen(step)), step)
        self.assertEqual(("vt100", "C.UTF-8"), (self.seen("test")["TERM"],
                                                self.seen("test")["LANG"]))

    def test_the_demo_gets_four_variables(self):
        self.run_script("demo.sh")
        for step in ("configure", "build", "demo"):
            self.assertEqual(KEPT, set(self.seen(step)), step)

    def test_the_hostile_suite_has_another_umask_and_a_blank_in_the_temporary_directory(self):
        self.run_script("test.sh", "--hostile")
        for step in ("configure", "build", "test"):
            self.assertEqual(KEPT - {"LANG"} | {"TMPDIR"}, set(self.seen(step)), step)
            self.assertIn(" ", self.seen(step)["TMPDIR"])
            self.assertFalse(Path(self.seen(step)["TMPDIR"]).exists())
            self.assertEqual(0o077, self.umask(step))

    def steps(self):
        return {path.name for path in (self.dir / "seen").iterdir() if not path.suffix}

    def test_the_libraries_are_built_and_tested_alone(self):
        out = self.run_script("test.sh", "--core", "release")
        self.assertEqual({"configure", "build-core", "test-core", "test-port"}, self.steps())
        self.assertTrue(out.endswith("Skipped, fully or partly: 0\n"), out)

    def test_one_directory_of_the_libraries_is_built_and_tested_alone(self):
        self.run_script("test.sh", "--hostile", "--core=port")
        self.assertEqual({"configure", "build-port", "test-port"}, self.steps())

    def test_the_end_lists_skipped_tests_with_reasons(self):
        out = self.run_script("test.sh")
        self.assertTrue(out.endswith(
            "Skipped, fully or partly: 4\n"
            "  Small.Mount: no disk can be mounted: Operation not permitted\n"
            "  Small.Partly: no pseudo terminal\n"
            "  Small.Script: no browser\n"
            "  Small.Silent: no reason given\n"), out)


if __name__ == "__main__":
    unittest.main()
