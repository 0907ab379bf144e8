#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests of ixla-validate, with plugins that have one flaw each and with other files:
validate_test.py PROGRAM FLAWED EXAMPLES_DIR PLUGINS_DIR"""

import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor

PROGRAM, FLAWED, EXAMPLES, PLUGINS = (os.path.abspath(path) for path in sys.argv[1:5])

CHECKS = ['file', 'symbols', 'loads', 'constructor', 'factory', 'counts', 'interfaces', 'init',
          'init-time', 'unknown-id', 'threads', 'keys', 'listeners', 'references', 'destructor',
          'stop', 'unload']

# The flaw, the check that finds it, and its message.
QUICK_FLAWS = [
    ('no plugin', 'factory', 'ixlaGetPlugin returned null'),
    ('exception in factory', 'factory', 'no factory today'),
    ('born counted', 'counts', 'the first incRef of a new plugin returned 2 instead of 1'),
    ('count without array', 'interfaces', 'returned null and a count of 3'),
    ('array without count', 'interfaces', 'returned an array and a count of 0'),
    ('count above array', 'interfaces', 'says 3 for an array of 2'),
    ('duplicate ID', 'interfaces', 'lists "test.flawed" more than once'),
    ('empty ID', 'interfaces', 'lists an empty interface ID'),
    ('built-in ID', 'interfaces', 'lists "com.kelvora.ixla.logger", which the core itself'),
    ('changing IDs', 'interfaces', 'the second call of getInterfaces listed other IDs'),
    ('failed init', 'init', '"test.flawed" is refused: -42'),
    ('exception in init', 'init', 'refused: -2003 (eIxlaInitFailed'),
    ('exception in init', 'init', 'E pgs [init] Exception: init gave up'),
    ('crash in init', 'init', 'was killed by SIGABRT (Aborted) while initialising the plugin'),
    ('exit in init', 'init', 'ended the process with exit code 3 while initialising'),
    ('noise', 'init', r'its last output:'),
    ('noise', 'init', r'\x1b[31mred'),
    ('instance is null', 'init', 'getInstance returned 0 and null'),
    ('instance anew', 'init', 'a second request returned another instance'),
    ('instance counted', 'init', 'adds a reference to the instance of "test.flawed"'),
    ('instance anew', 'threads', 'different instances of "test.flawed"'),
    ('unknown is served', 'unknown-id', 'returned 0 (eIxlaOk: done) instead of -2001'),
    ('unknown is not null', 'unknown-id', 'did not set the instance to null'),
]

SLOW_FLAWS = [
    ('hang in init', 'init', 'did not end within 1 s while initialising the plugin'),
    ('slow exit', 'stop', 'a listener of event.core.exit did not return in time'),
    ('thread', 'unload', 'leaves behind: thread '),
    ('handle', 'unload', '(/dev/zero)'),
    ('mapped', 'unload', 'its library stays mapped'),
]


def run(*arguments, flaw='', cwd=None, handles=(), **environment):
    """Runs the program; the output of both streams is in one text."""
    return subprocess.run([PROGRAM, *arguments], cwd=cwd, pass_fds=handles,
                          env={**os.environ, 'FLAW': flaw, **environment},
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=100, check=False)


class Flaws(unittest.TestCase):

    def expect_flaw(self, flaw, check, text):
        limit = '1' if flaw == 'hang in init' else '20'
        result = run(FLAWED, '--only', check, '--limit', limit, flaw=flaw)
        self.assertEqual(1, result.returncode, result.stdout)
        self.assertIn(f'FAIL  {check}', result.stdout)
        self.assertIn(text, result.stdout)

    def test_each_is_found_by_its_check(self):
        for flaw, check, text in QUICK_FLAWS:
            with self.subTest(flaw=flaw):
                self.expect_flaw(flaw, check, text)

    def test_waiting_for_them_ends(self):
        with ThreadPoolExecutor(len(SLOW_FLAWS)) as pool:
            for found in [pool.submit(self.expect_flaw, *flaw) for flaw in SLOW_FLAWS]:
                found.result()

    def test_inherited_handle_whose_file_is_removed_is_not_left_behind(self):
        with tempfile.NamedTemporaryFile(delete=False) as file:
            result = run(FLAWED, '--only', 'unload', flaw='removed file', handles=[file.fileno()],
                         FILE_TO_REMOVE=file.name)
        self.assertFalse(os.path.exists(file.name))
        self.assertEqual(0, result.returncode, result.stdout)

    def test_checks_after_a_failed_one_are_skipped(self):
        result = run(FLAWED, flaw='exception in init')
        self.assertIn('skip  unload      needs the check "init"', result.stdout)
        later = len(CHECKS) - CHECKS.index('init') - 1
        self.assertIn(f'1 of {len(CHECKS)} checks failed, {later} skipped\n', result.stdout)

    def test_no_interface_is_not_a_flaw(self):
        result = run(FLAWED, '--only', 'interfaces', '--only', 'init', '--only', 'stop',
                     flaw='no interfaces')
        self.assertEqual(0, result.returncode, result.stdout)

    def test_plugin_without_interfaces_is_initialised(self):
        with tempfile.TemporaryDirectory() as directory:
            library = shutil.copy(FLAWED, os.path.join(directory, 'libflawed.so'))
            result = run(library, '--only', 'init', flaw='no interfaces')
            self.assertIn('0 instances', result.stdout)

    def test_plugin_without_interfaces_passes_the_checks_with_a_core(self):
        result = run(FLAWED, *(f'--only={check}' for check in CHECKS[CHECKS.index('init'):]),
                     flaw='no interfaces')
        self.assertEqual(0, result.returncode, result.stdout)


class Files(unittest.TestCase):

    def expect(self, text, *arguments):
        result = run(*arguments)
        self.assertEqual(1, result.returncode, result.stdout)
        self.assertIn(text, result.stdout)

    def test_a_file_that_is_not_a_library_is_reported(self):
        self.expect('FAIL  file        No such file or directory', '/nowhere/lib.so')
        self.expect('is not a regular file', '/dev/null')
        self.expect('it does not start with an ELF header', __file__)
        self.expect('not a shared library', PROGRAM.replace(PROGRAM, self.object_file()))

    def object_file(self):
        directory = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, directory)
        with open(FLAWED, 'rb') as library:
            header = bytearray(library.read(64))
        header[16] = 1  # a relocatable file
        path = os.path.join(directory, 'some.o')
        with open(path, 'wb') as file:
            file.write(header)
        return path

    def test_a_library_that_is_not_a_plugin_is_reported(self):
        self.expect('is a 64-bit file, the core is a 32-bit one',
                    f'{PLUGINS}/other_bits/libother_bits.so')
        self.expect('undefined symbol: _Z25functionThatNobodyDefinesv',
                    f'{PLUGINS}/missing_symbol/libmissing_symbol.so')
        self.expect('exports no factory _Z13ixlaGetPluginv',
                    f'{PLUGINS}/no_factory/libno_factory.so')
        self.expect('exports no factory _Z13ixlaGetPluginv',
                    f'{PLUGINS}/borrower/libborrower.so')

    def test_name_without_so_ending_is_accepted(self):
        with tempfile.TemporaryDirectory() as directory:
            shutil.copy(FLAWED, os.path.join(directory, 'flawed.so.1'))
            result = run('flawed.so.1', '--only', 'threads', cwd=directory)
            self.assertEqual(0, result.returncode, result.stdout)


class Examples(unittest.TestCase):

    def test_all_pass(self):
        libraries = glob.glob(f'{EXAMPLES}/*/lib*.so')
        libraries = [library for library in libraries if 'broken' not in library]
        self.assertGreaterEqual(len(libraries), 5)
        needed = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, needed)
        for library in libraries:
            # No other plugin needs these two, and both offer the same interface ID.
            if not re.search('lib(hello|short)', library):
                shutil.copy(library, needed)
        with ThreadPoolExecutor(len(libraries)) as pool:
            for result in pool.map(lambda library: run(library, '--plugins', needed), libraries):
                self.assertEqual(0, result.returncode, result.stdout)
                self.assertIn(f'{len(CHECKS)} checks passed', result.stdout)

    def test_missing_dependency_is_reported(self):
        result = run(f'{EXAMPLES}/reporter/libreporter.so', '--only', 'init')
        self.assertEqual(1, result.returncode, result.stdout)
        self.assertIn('Unknown interface ID: com.example.ixla.alarm', result.stdout)
        self.assertIn('--plugins', result.stdout)

    def test_configuration_is_read_and_not_changed(self):
        with tempfile.TemporaryDirectory() as directory:
            with open(f'{directory}/ixlap.configmanager.prs', 'w', encoding='utf-8') as file:
                file.write('com.example.greeter = broken.prs\n'
                           f'ixlap.configmanager.store.file = {directory}/store.txt\n')
            with open(f'{directory}/broken.prs', 'w', encoding='utf-8') as file:
                file.write('greeting = Hi\n')
            before = sorted(os.listdir(directory))
            result = run(f'{EXAMPLES}/greeter/libgreeter.so', '--config-dir', directory,
                         '--only', 'init')
            self.assertEqual(0, result.returncode, result.stdout)
            self.assertEqual(before, sorted(os.listdir(directory)))


class CommandLine(unittest.TestCase):

    def test_json_has_every_check(self):
        result = run(FLAWED, '--json', flaw='no plugin')
        self.assertEqual(1, result.returncode)
        report = json.loads(result.stdout)
        self.assertEqual(FLAWED, report['plugin'])
        self.assertFalse(report['passed'])
        self.assertEqual(CHECKS, [check['name'] for check in report['checks']])
        failed = CHECKS.index('factory')
        self.assertEqual(['pass'] * failed + ['fail'] + ['skip'] * (len(CHECKS) - failed - 1),
                         [check['result'] for check in report['checks']])
        self.assertIn('returned null', report['checks'][failed]['reason'])
        self.assertIn('return a new plugin', report['checks'][failed]['advice'])

    def test_list_names_every_check(self):
        result = run('--list')
        self.assertEqual(0, result.returncode)
        self.assertEqual(CHECKS, [line.split()[0] for line in result.stdout.splitlines()])

    def test_version_is_printed(self):
        self.assertRegex(run('--version').stdout, r'^ixla-validate \d+\.\d+\.\d+\n$')

    def test_wrong_arguments_are_refused(self):
        for arguments in ([], ['--what'], ['--limit', '0', FLAWED], ['--limit', 'x', FLAWED],
                          ['--init-limit', '0', FLAWED],
                          ['--only', 'nothing', FLAWED], ['--config-dir', '/nowhere', FLAWED],
                          ['--plugins', '/etc/passwd', FLAWED], ['--jobs', '0', FLAWED],
                          ['--jobs', 'x', FLAWED]):
            with self.subTest(arguments=arguments):
                result = run(*arguments)
                self.assertEqual(2, result.returncode, result.stdout)
                self.assertTrue(result.stdout.startswith('ixla-validate: '), result.stdout)
                self.assertIn('see ixla-validate --help', result.stdout)

    def test_nothing_is_left_in_the_temporary_directory(self):
        with tempfile.TemporaryDirectory() as directory:
            environment = {**os.environ, 'TMPDIR': directory, 'FLAW': 'crash in init'}
            subprocess.run([PROGRAM, FLAWED], env=environment, stdout=subprocess.DEVNULL,
                           check=False)
            self.assertEqual([], os.listdir(directory))


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
