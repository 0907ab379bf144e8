#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests of the memory errors that ixla-validate finds: memory_test.py PROGRAM PLUGINS_DIR LIBC_DIR
LIBC_DIR is made by scripts/valgrind-libc.sh, and needed if valgrind has no symbols of the system's
C library."""

import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM, PLUGINS, LIBC = (os.path.abspath(path) for path in sys.argv[1:4])
PLAIN = f'{PLUGINS}/memory/libmemory.so'
SANITIZED = f'{PLUGINS}/memory_asan/libmemory_asan.so'


def run_tool(*arguments, **environment):
    return subprocess.run([PROGRAM, *arguments], env={**os.environ, **environment}, text=True,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=600, check=False)


def valgrind_path():
    """A PATH with a valgrind that runs the tool; None without one."""
    for path in (os.environ['PATH'], f"{LIBC}:{os.environ['PATH']}"):
        if subprocess.run(['valgrind', '-q', PROGRAM, '--version'], env={**os.environ, 'PATH': path},
                          stdin=subprocess.DEVNULL, capture_output=True, timeout=300,
                          check=False).returncode == 0:
            return path
    return None


class MemoryTest(unittest.TestCase):
    def findings(self, done):
        """The texts of the check "memory"."""
        return re.findall('(?m)^FAIL  memory      (.*)$', done.stdout)


class Sanitizer(MemoryTest):
    def test_a_sound_plugin_passes_all_checks(self):
        done = run_tool(SANITIZED)
        self.assertEqual(0, done.returncode, done.stdout)
        self.assertIn('pass  memory      no errors under the address sanitizer\n', done.stdout)

    def test_an_error_is_a_finding_and_fails_its_check(self):
        for flaw, text in (('overflow', 'heap-buffer-overflow in '),
                           ('freed', 'heap-use-after-free in ')):
            with self.subTest(flaw=flaw):
                done = run_tool('--only', 'init', '--only', 'factory', SANITIZED, FLAW=flaw)
                self.assertEqual(1, done.returncode, done.stdout)
                self.assertIn('FAIL  init        was ended by the address sanitizer while '
                              'initialising the plugin\n', done.stdout)
                (found,) = self.findings(done)
                self.assertTrue(found.startswith(text), found)
                self.assertRegex(found, r'\(MemoryPlugin\.cpp:\d+\)$')
                self.assertIn('found by the address sanitizer in: init\n', done.stdout)

    def test_undefined_behaviour_is_a_finding(self):
        done = run_tool('--only', 'init', SANITIZED, FLAW='number')
        self.assertEqual(1, done.returncode, done.stdout)
        (found,) = self.findings(done)
        self.assertRegex(found, r'^signed integer overflow: .* \(MemoryPlugin\.cpp:\d+\)$')
        self.assertIn('pass  init ', done.stdout)

    def test_a_leak_is_a_finding_of_the_checks_that_destroy_the_plugin(self):
        done = run_tool('--only', 'init', '--only', 'stop', SANITIZED, FLAW='leak')
        self.assertEqual(1, done.returncode, done.stdout)
        (found,) = self.findings(done)
        self.assertTrue(found.startswith('Direct leak of 77 byte(s) in 1 object(s) in '), found)
        self.assertIn('found by the address sanitizer in: stop\n', done.stdout)
        self.assertIn('pass  stop ', done.stdout)

    def test_reports_have_the_line_of_the_source(self):
        with tempfile.TemporaryDirectory() as directory:
            done = run_tool('--only', 'init', '--sarif', f'{directory}/s', '--junit',
                            f'{directory}/j', SANITIZED, FLAW='overflow')
            self.assertEqual(1, done.returncode, done.stdout)
            (run,) = json.loads(Path(directory, 's').read_text(encoding='utf-8'))['runs']
        result = run['results'][-1]
        self.assertEqual('memory', run['tool']['driver']['rules'][result['ruleIndex']]['id'])
        place = result['locations'][0]['physicalLocation']
        self.assertTrue(place['artifactLocation']['uri'].endswith('/MemoryPlugin.cpp'), place)
        self.assertGreater(place['region']['startLine'], 1)

    def test_options_of_the_user_stay(self):
        done = run_tool('--only', 'init', SANITIZED, FLAW='freed', ASAN_OPTIONS='abort_on_error=1')
        self.assertIn('FAIL  init        was killed by SIGABRT', done.stdout)
        self.assertIn('heap-use-after-free', self.findings(done)[0])

    def test_a_missing_runtime_is_a_finding(self):
        with tempfile.TemporaryDirectory() as directory:
            text = Path(SANITIZED).read_bytes()
            (name,) = set(re.findall(rb'libasan\.so\.\d', text))
            library = Path(directory, 'liblost.so')
            library.write_bytes(text.replace(name, b'libasan.so.x'))
            done = run_tool('--only', 'file', str(library))
        self.assertEqual(1, done.returncode, done.stdout)
        self.assertIn('was built with the address sanitizer, and libasan.so.x is not found',
                      done.stdout)

    def test_a_library_that_does_not_load_is_not_passed(self):
        with tempfile.TemporaryDirectory() as directory:
            library = Path(directory, 'libcut.so')
            library.write_bytes(Path(SANITIZED).read_bytes().replace(b'libixlal.core.so',
                                                                     b'libixlal.gone.so'))
            done = run_tool('--only', 'loads', str(library))
        self.assertEqual(1, done.returncode, done.stdout)
        self.assertIn('skip  memory      needs the check "loads"\n', done.stdout)

    def test_a_plugin_without_it_has_no_such_check(self):
        done = run_tool('--only', 'init', PLAIN)
        self.assertEqual(0, done.returncode, done.stdout)
        self.assertNotIn('memory  ', done.stdout)


class Valgrind(MemoryTest):
    def setUp(self):
        self.path = valgrind_path()
        if not self.path:
            self.skipTest('valgrind cannot run the tool, see scripts/valgrind-libc.sh')

    def test_errors_are_findings(self):
        done = run_tool('--valgrind', '--only', 'init', '--only', 'stop', PLAIN, PATH=self.path,
                        FLAW='uninitialised, overflow, freed, leak')
        self.assertEqual(1, done.returncode, done.stdout)
        found = [re.sub(r' in [^ ]+ \(MemoryPlugin\.cpp:\d+\)$', '', text)
                 for text in self.findings(done)]
        self.assertEqual(['Conditional jump or move depends on uninitialised value(s)',
                          'Invalid write of size 1', 'Invalid read of size 1',
                          '77 bytes in 1 blocks are definitely lost'], found)
        self.assertEqual(['init, stop'] * 3 + ['stop'],
                         re.findall('found by valgrind in: (.*)', done.stdout))
        self.assertIn('1 of 3 checks failed', done.stdout)

    def test_a_sound_plugin_passes(self):
        done = run_tool('--valgrind', '--only', 'counts', '--only', 'stop', '--only', 'unload',
                        PLAIN, PATH=self.path)
        self.assertEqual(0, done.returncode, done.stdout)
        self.assertIn('pass  memory      no errors under valgrind\n', done.stdout)
        self.assertIn('4 checks passed', done.stdout)


class NoValgrind(unittest.TestCase):
    def expect(self, text, script=None):
        """The error with another valgrind; without one if there is no script."""
        with tempfile.TemporaryDirectory() as directory:
            if script:
                program = Path(directory, 'valgrind')
                program.write_text(script, encoding='utf-8')
                program.chmod(0o755)
            done = run_tool('--valgrind', PLAIN, PATH=directory)
        self.assertEqual(3, done.returncode, done.stdout)
        self.assertRegex(done.stdout, f'^ixla-validate: {text}.*\n$')

    def test_a_missing_one_is_an_error(self):
        self.expect('cannot run valgrind: valgrind: No such file or directory; the package')

    def test_one_that_fails_is_an_error(self):
        self.expect('cannot run valgrind: valgrind: broken; ', '#!/bin/sh\necho broken\nexit 1\n')

    def test_missing_symbols_are_an_error_with_the_package(self):
        self.expect('valgrind cannot run (32|64)-bit programs here, .* libc6-dbg',
                    '#!/bin/sh\necho "Fatal error at startup: a function redirection"\n'
                    'echo "which is mandatory for this platform"\nexit 1\n')


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
