#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests of the files that ixla-validate writes and reads: reports_test.py PROGRAM FLAWED"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import urllib.parse
import xml.etree.ElementTree
from pathlib import Path

PROGRAM, FLAWED = (os.path.abspath(path) for path in sys.argv[1:3])

# The part of the schema of SARIF 2.1.0 for what the tool writes: for each object the type of each
# allowed property, "!" for a required one. A list has the type of its elements.
SARIF = {
    'log': {'$schema': str, '!version': str, '!runs': ['run']},
    'run': {'!tool': 'tool', 'invocations': ['invocation'], 'results': ['result']},
    'tool': {'!driver': 'driver'},
    'driver': {'!name': str, 'version': str, 'rules': ['rule']},
    'rule': {'!id': str, 'shortDescription': 'text', 'defaultConfiguration': 'configuration'},
    'configuration': {'level': str},
    'text': {'!text': str},
    'invocation': {'!executionSuccessful': bool},
    'result': {'ruleId': str, 'ruleIndex': int, 'level': str, '!message': 'text',
               'locations': ['location'], 'partialFingerprints': dict,
               'suppressions': ['suppression']},
    'suppression': {'!kind': str, 'justification': str},
    'location': {'physicalLocation': 'place'},
    'place': {'artifactLocation': 'file', 'region': 'region'},
    'file': {'uri': str},
    'region': {'startLine': int},
}


def check_sarif(value, kind, path='log'):
    """Raises AssertionError for the first property that the schema does not allow."""
    if isinstance(kind, list):
        assert isinstance(value, list), path
        for number, each in enumerate(value):
            check_sarif(each, kind[0], f'{path}[{number}]')
    elif isinstance(kind, str):
        properties = SARIF[kind]
        allowed = {name.lstrip('!'): each for name, each in properties.items()}
        assert isinstance(value, dict) and set(value) <= set(allowed), f'{path}: {value}'
        missing = {name[1:] for name in properties if name[0] == '!'} - set(value)
        assert not missing, f'{path}: {missing}'
        for name, each in value.items():
            check_sarif(each, allowed[name], f'{path}.{name}')
    else:
        assert isinstance(value, kind), f'{path}: {value}'


class ReportsTest(unittest.TestCase):
    def setUp(self):
        self.directory = Path(self.enterContext(tempfile.TemporaryDirectory()))
        shutil.copy(FLAWED, self.directory / 'lib<a>&"b: ä.so')
        shutil.copy(FLAWED, self.directory / 'libplain.so')

    def run_tool(self, *arguments, flaw=''):
        return subprocess.run([PROGRAM, *arguments], cwd=self.directory, timeout=120,
                              env={**os.environ, 'FLAW': flaw}, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                              encoding='utf-8')

    def write(self, name, text):
        (self.directory / name).write_text(text, encoding='utf-8')

    def read(self, name):
        return (self.directory / name).read_text(encoding='utf-8')

    def junit(self):
        return xml.etree.ElementTree.parse(self.directory / 'j.xml').getroot()

    def sarif(self):
        report = json.loads(self.read('s.json'))
        check_sarif(report, 'log')
        self.assertEqual('2.1.0', report['version'])
        (run,) = report['runs']
        rules = [rule['id'] for rule in run['tool']['driver']['rules']]
        self.assertEqual(len(rules), len(set(rules)))
        for result in run['results']:
            self.assertEqual(result['ruleId'], rules[result['ruleIndex']])
            self.assertEqual('error', result['level'])
            for location in result['locations']:
                uri = location['physicalLocation']['artifactLocation']['uri']
                self.assertRegex(uri, r"^(file://)?[-A-Za-z0-9._~/%]+$")
        return run

    def test_junit_has_each_library_and_check(self):
        done = self.run_tool('--junit', 'j.xml', '--only', 'init', '--only', 'unknown-id',
                             '--only', 'factory', 'libplain.so', 'lib<a>&"b: ä.so', flaw='noise')
        self.assertEqual(1, done.returncode, done.stdout)
        root = self.junit()
        self.assertEqual(('testsuites', '6', '2', '2'),
                         (root.tag, *(root.get(name) for name in ('tests', 'failures', 'skipped'))))
        self.assertEqual(['libplain.so', 'lib<a>&"b: ä.so'],
                         [suite.get('name') for suite in root.findall('testsuite')])
        cases = root.findall('testsuite')[1].findall('testcase')
        self.assertEqual(['factory', 'init', 'unknown-id'], [case.get('name') for case in cases])
        self.assertEqual([[], ['failure'], ['skipped']],
                         [[each.tag for each in case] for case in cases])
        failure = cases[1].find('failure')
        self.assertIn('was killed by SIGABRT', failure.get('message'))
        self.assertIn('\\x1b[31mred', failure.get('message'))
        self.assertIn('use a debugger', failure.text)
        self.assertTrue(all(float(case.get('time')) >= 0 for case in cases))

    def test_sarif_has_each_finding(self):
        done = self.run_tool('--sarif', 's.json', '--only', 'init', '--only', 'factory',
                             'libplain.so', 'lib<a>&"b: ä.so', FLAWED, flaw='noise')
        self.assertEqual(1, done.returncode, done.stdout)
        results = self.sarif()['results']
        self.assertEqual(['init'] * 3, [result['ruleId'] for result in results])
        self.assertIn('libplain.so: was killed by SIGABRT', results[0]['message']['text'])
        uris = [each['locations'][0]['physicalLocation']['artifactLocation']['uri']
                for each in results]
        self.assertEqual(['libplain.so', 'lib<a>&"b: ä.so', f'file://{FLAWED}'],
                         [urllib.parse.unquote(uri) for uri in uris])

    def test_reports_of_a_pass_have_no_findings(self):
        done = self.run_tool('--junit', 'j.xml', '--sarif', 's.json', '--only', 'file',
                             'libplain.so')
        self.assertEqual(0, done.returncode, done.stdout)
        self.assertEqual('libplain.so: 1 check passed', done.stdout.splitlines()[-1])
        self.assertEqual([], self.sarif()['results'])
        self.assertEqual(('1', '0'), (self.junit().get('tests'), self.junit().get('failures')))

    def test_files_that_cannot_be_written_or_read_are_errors(self):
        for option, path, text in (('--junit', '/nowhere/j', 'No such file'),
                                   ('--sarif', '/', 'Is a directory'),
                                   ('--junit', '/dev/full', 'No space left'),
                                   ('--write-baseline', '/dev/full', 'No space left'),
                                   ('--baseline', '/nowhere/b', 'No such file'),
                                   ('--baseline', '/', 'Is a directory')):
            with self.subTest(option=option, path=path):
                done = self.run_tool(option, path, '--only', 'file', 'libplain.so')
                self.assertEqual(4, done.returncode, done.stdout)
                self.assertRegex(done.stdout, f'ixla-validate: cannot (read|write) {path}: {text}')

    def test_a_written_baseline_accepts_the_same_findings(self):
        only = ('--only', 'init', '--only', 'unload', '--only', 'stop', 'libplain.so')
        for flaw in ('noise', 'thread'):
            with self.subTest(flaw=flaw):
                done = self.run_tool('--write-baseline', 'known', *only, flaw=flaw)
                self.assertEqual(0, done.returncode, done.stdout)
                self.assertIn('FAIL', done.stdout)
                self.assertNotRegex(self.read('known'), 'thread [0-9]')
                done = self.run_tool('--baseline', 'known', '--sarif', 's.json', '--junit', 'j.xml',
                                     *only, flaw=flaw)
                self.assertEqual(0, done.returncode, done.stdout)
                self.assertRegex(done.stdout, '(?m)^known (init|unload) ')
                self.assertIn(', 1 with known findings', done.stdout)
                self.assertNotIn('no longer found', done.stdout)
                self.assertEqual(['external'], [each['suppressions'][0]['kind']
                                                for each in self.sarif()['results']])
                self.assertEqual('0', self.junit().get('failures'))

    def test_other_findings_fail(self):
        self.write('known', 'libplain.so\tinit\twas killed by SIGSEGV*\n'
                            'libplain.so\tfactory\twas killed by SIGABRT*\n'
                            'other.so\tinit\twas killed by SIGABRT*\n')
        only = ('--only', 'init', '--baseline', 'known', 'libplain.so')
        done = self.run_tool(*only, flaw='crash in init')
        self.assertEqual(1, done.returncode, done.stdout)
        self.assertIn('FAIL  init', done.stdout)
        self.assertEqual(['libplain.so: init: was killed by SIGSEGV*'],
                         re.findall('no longer found: (.*)', done.stdout))
        self.write('known', 'libplain.so\tinit\twas * by SIGABRT*init*\n')
        done = self.run_tool(*only, flaw='crash in init')
        self.assertEqual(0, done.returncode, done.stdout)

    def test_only_the_asterisk_is_special(self):
        for text in ('w?s killed by SIGABRT*', '[w]as killed by SIGABRT*', 'was killed'):
            self.write('known', f'libplain.so\tinit\t{text}\n')
            done = self.run_tool('--only', 'init', '--baseline', 'known', 'libplain.so',
                                 flaw='crash in init')
            self.assertEqual(1, done.returncode, done.stdout)

    def test_json_names_known_findings_and_those_that_are_gone(self):
        self.write('known', '# a comment\n\nlibplain.so\tinit\twas killed*\n'
                            'libplain.so\tfile\tgone\nlibplain.so\tunload\tnot checked\n')
        done = self.run_tool('--json', '--only', 'init', '--only', 'file', '--baseline', 'known',
                             'libplain.so', flaw='crash in init')
        self.assertEqual(0, done.returncode, done.stdout)
        report = json.loads(done.stdout)
        self.assertEqual([('file', 'pass'), ('init', 'known')],
                         [(each['name'], each['result']) for each in report['checks']])
        self.assertEqual(['libplain.so: file: gone'], report['gone'])
        self.assertTrue(report['passed'])

    def test_a_damaged_baseline_is_an_error_with_the_line(self):
        for line in ('x', 'a\tb', '\tb\tc', 'a\t\tc', 'a\tb\t', 'a b c', 'a\tb\tc\0d'):
            with self.subTest(line=line):
                self.write('known', f'# comment\nlib.so\tinit\ttext\n{line}\n')
                done = self.run_tool('--baseline', 'known', 'libplain.so')
                self.assertEqual(4, done.returncode, done.stdout)
                self.assertEqual('ixla-validate: known:3: expected LIBRARY, CHECK and FINDING with '
                                 'tabs between them\n', done.stdout)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
