#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests of ixla-validate with several libraries, directories and packages:
several_test.py PROGRAM FLAWED NOTED PLUGINS_DIR"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM, FLAWED, NOTED, PLUGINS = (os.path.abspath(path) for path in sys.argv[1:5])

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / 'shared'))
from noted import write_noted  # noqa: E402 pylint: disable=wrong-import-position


class SeveralTest(unittest.TestCase):
    def setUp(self):
        self.directory = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.plugins = self.directory / 'plugins'
        self.plugins.mkdir()

    def run_tool(self, *arguments, **environment):
        """Runs it with a temporary directory of its own, which must be empty at the end."""
        scratch = self.directory / 'scratch'
        scratch.mkdir(exist_ok=True)
        done = subprocess.run([PROGRAM, *arguments], cwd=self.directory, text=True, timeout=120,
                              env={**os.environ, 'TMPDIR': str(scratch), **environment},
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False)
        self.assertEqual([], list(scratch.iterdir()))
        return done

    def add(self, name, *lines):
        return write_noted(NOTED, self.plugins / f'lib{name}.so', *lines)

    def add_two(self):
        self.add('b', 'offers\ttest.b\tx')
        self.add('a', 'offers\ttest.a\tx')

    def package(self, files):
        """A package with these files, by their names in it."""
        root = self.directory / 'root'
        (root / 'DEBIAN').mkdir(parents=True)
        (root / 'DEBIAN/control').write_text(
            'Package: sample\nVersion: 1\nArchitecture: all\nMaintainer: a <a@example.com>\n'
            'Description: sample\n', encoding='utf-8')
        for name, source in files.items():
            (root / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, root / name)
        for directory in (root, *(each for each in root.rglob('*') if each.is_dir())):
            directory.chmod(0o755)
        subprocess.run(['dpkg-deb', '--root-owner-group', '-b', root, 'sample.deb'], check=True,
                       cwd=self.directory, stdout=subprocess.DEVNULL)

    def test_a_directory_stands_for_its_plugins_by_name(self):
        self.add_two()
        done = self.run_tool('--only', 'interfaces', '--only', 'init', 'plugins')
        self.assertEqual(0, done.returncode, done.stdout)
        self.assertEqual(['plugins/liba.so: 2 checks passed', 'plugins/libb.so: 2 checks passed',
                          '2 libraries passed'], re.findall('^.* passed$', done.stdout, re.M))

    def test_the_output_is_the_same_for_each_number_of_jobs(self):
        self.add_two()
        self.add('c', 'offers\ttest.c\tx', 'really\ttest.d')
        arguments = ('--only', 'file', '--only', 'interfaces', '--only', 'init', 'plugins', FLAWED)
        outputs = [self.run_tool('--jobs', str(jobs), *arguments) for jobs in (1, 2, 4, 50)]
        self.assertEqual(1, len({each.stdout for each in outputs}), outputs)
        self.assertEqual({1}, {each.returncode for each in outputs})
        self.assertIn('\n1 of 4 libraries failed\n', outputs[0].stdout)

    def test_two_jobs_validate_at_the_same_time(self):
        meeting = self.directory / 'meeting'
        meeting.mkdir()
        copies = [shutil.copy(FLAWED, self.plugins / f'lib{name}.so') for name in 'ab']
        arguments = ('--only', 'init', *copies)
        done = self.run_tool('--jobs', '2', *arguments, FLAW='meets another', MEETING=str(meeting))
        self.assertEqual(0, done.returncode, done.stdout)
        for file in meeting.iterdir():
            file.unlink()
        done = self.run_tool('--jobs', '1', '--limit', '1', *arguments,
                             FLAW='meets another', MEETING=str(meeting))
        self.assertIn('did not end within 1 s', done.stdout)

    def test_a_process_that_a_plugin_leaves_behind_delays_nothing(self):
        done = subprocess.run([PROGRAM, '--only', 'init', FLAWED, FLAWED], timeout=50, text=True,
                              env={**os.environ, 'FLAW': 'daemon'}, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, check=False)
        self.assertEqual(0, done.returncode, done.stdout)

    def test_other_files_of_a_directory_are_skipped(self):
        self.add('a', 'offers\ttest.a\tx')
        (self.plugins / 'readme.txt').write_text('text', encoding='utf-8')
        (self.plugins / 'libtext.so').write_text('text', encoding='utf-8')
        (self.plugins / 'libgone.so').symlink_to('nowhere')
        shutil.copy(f'{PLUGINS}/no_factory/libno_factory.so', self.plugins)
        nested = self.plugins / 'nested'
        nested.mkdir()
        shutil.copy(FLAWED, nested)
        done = self.run_tool('--only', 'factory', 'plugins')
        self.assertEqual(0, done.returncode, done.stdout)
        self.assertTrue(done.stdout.endswith(
            'plugins/libno_factory.so: skipped, it exports no ixlaGetPlugin\n'
            'plugins/libtext.so: skipped, it exports no ixlaGetPlugin\n'
            '1 library passed\n'), done.stdout)

    def test_a_damaged_library_is_skipped(self):
        whole = Path(FLAWED).read_bytes()
        self.add('a', 'offers\ttest.a\tx')
        for size in (0, 3, 16, 51, 52, 100, 5000, len(whole) // 2):
            (self.plugins / 'libdamaged.so').write_bytes(whole[:size])
            done = self.run_tool('--only', 'file', 'plugins')
            self.assertEqual(0, done.returncode, done.stdout)
            self.assertIn('1 library passed', done.stdout)

    def test_a_plugin_of_the_other_word_size_fails(self):
        source = self.directory / 'other.cpp'
        source.write_text('struct IPlugin; IPlugin* ixlaGetPlugin() { return nullptr; }\n',
                          encoding='utf-8')
        subprocess.run(['g++', '-m64', '-shared', '-fPIC', '-o', self.plugins / 'libother.so',
                        source], check=True)
        done = self.run_tool('plugins')
        self.assertEqual(1, done.returncode, done.stdout)
        self.assertIn('FAIL  file        is a 64-bit file', done.stdout)

    def test_no_plugin_in_a_directory_fails(self):
        done = self.run_tool('plugins')
        self.assertEqual(1, done.returncode)
        self.assertEqual('FAIL  file        contains no plugin library\n'
                         '                  pass a directory or package with libraries that export '
                         'ixlaGetPlugin\n'
                         'plugins: 1 of 1 check failed\n\n1 of 1 library failed\n', done.stdout)

    def test_plugins_of_a_directory_are_there_for_each_other(self):
        copies = [shutil.copy(FLAWED, self.plugins / f'lib{name}.so') for name in 'ab']
        done = self.run_tool('--only', 'init', 'plugins')
        self.assertEqual(2, done.stdout.count('the core does not start: -1007'), done.stdout)
        self.assertEqual(0, self.run_tool('--only', 'init', *copies).returncode)
        empty = self.directory / 'empty'
        empty.mkdir()
        done = self.run_tool('--only', 'init', '--plugins', 'empty', 'plugins')
        self.assertEqual(0, done.returncode, done.stdout)

    def test_a_package_stands_for_all_plugins_in_it(self):
        self.add_two()
        self.package({'usr/lib/one/liba.so': self.plugins / 'liba.so',
                      'opt/libb.so': self.plugins / 'libb.so',
                      'usr/lib/libno_factory.so': f'{PLUGINS}/no_factory/libno_factory.so'})
        done = self.run_tool('--only', 'init', 'sample.deb')
        self.assertEqual(0, done.returncode, done.stdout)
        self.assertEqual(['sample.deb:opt/libb.so: 1 check passed',
                          'sample.deb:usr/lib/one/liba.so: 1 check passed',
                          'sample.deb:usr/lib/libno_factory.so: skipped, it exports no '
                          'ixlaGetPlugin', '2 libraries passed'],
                         re.findall(r'^[^ \n]*: .*$|^2 .*$', done.stdout, re.M))

    def test_a_package_that_cannot_be_unpacked_fails(self):
        (self.directory / 'damaged.deb').write_bytes(b'!<arch>\ndebian-binary   x')
        done = self.run_tool('damaged.deb')
        self.assertEqual(1, done.returncode)
        self.assertRegex(done.stdout, 'FAIL  file        cannot be unpacked: dpkg-deb: .+\n')
        done = self.run_tool('damaged.deb', PATH='/nowhere')
        self.assertIn('cannot be unpacked: dpkg-deb: No such file or directory', done.stdout)

    def test_json_has_each_library(self):
        self.add_two()
        shutil.copy(f'{PLUGINS}/no_factory/libno_factory.so', self.plugins)
        done = self.run_tool('--json', '--only', 'file', 'plugins', '/nowhere')
        self.assertEqual(1, done.returncode)
        report = json.loads(done.stdout)
        self.assertFalse(report['passed'])
        self.assertEqual([('plugins/liba.so', True), ('plugins/libb.so', True),
                          ('/nowhere', False)],
                         [(each['plugin'], each['passed']) for each in report['plugins']])
        self.assertEqual(['file'], [each['name'] for each in report['plugins'][0]['checks']])
        self.assertEqual(['plugins/libno_factory.so'], report['skipped'])


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
