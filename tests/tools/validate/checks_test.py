# SPDX-License-Identifier: MIT
"""Tests of checks of ixla-validate with plugins that have exactly one flaw each, and none:
checks_test.py PROGRAM PLUGINS_DIR CONTROL_PLUGIN"""

import json
import os
import subprocess
import sys
import unittest
from concurrent.futures import ThreadPoolExecutor

PROGRAM, PLUGINS, CONTROL = (os.path.abspath(path) for path in sys.argv[1:4])

# The plugin, the flaw, the check that finds it, its message, and options.
FLAWS = [
    ('constructor', 'output', 'constructor', 'writes to the standard streams'),
    ('constructor', 'environment', 'constructor', 'changes the environment'),
    ('constructor', 'signal', 'constructor', 'sets a signal handler'),
    ('constructor', 'file', 'constructor', '(/dev/zero)'),
    ('constructor', 'core', 'constructor', 'calls ixlaIsInterfaceAvailable("test.constructor")'),
    ('constructor', 'thread', 'constructor', 'leaves thread '),
    ('destructor', 'look-up', 'destructor',
     'the lock of the core held: ixlaGetInstance("com.kelvora.ixla.eventdispatcher")'),
    ('destructor', 'waiting', 'destructor',
     'did not end within 10 s while unloading the plugin, which the core destroys with its lock',
     '--limit', '10', '--only', 'destructor'),
    ('exports', '', 'symbols', 'exports exporting::exportedFunction(), sExportedNumber'),
    ('undeclared', 'value', 'keys', 'reads "size" of "test.keyed", which it does not declare'),
    ('undeclared', 'attribute', 'keys', 'reads "size" of "test.keyed", which it does not declare'),
    ('leftover', 'thread', 'unload', 'leaves behind: thread '),
    ('leftover', 'descriptor', 'unload', '(/dev/zero)'),
    ('leftover', 'timer descriptor', 'unload', '(anon_inode:[timerfd])'),
    ('leftover', 'alarm', 'unload', 'timer real (setitimer)'),
    ('leftover', 'file', 'unload', 'temporary file leftover.tmp'),
    ('reference', 'leaked dispatcher', 'references', 'leaks 1 reference to the event dispatcher'),
    ('reference', 'leaked configuration', 'references',
     'leaks 1 reference to the configuration manager'),
    ('reference', 'leaked service', 'references', 'leaks 1 reference to its own "test.reference"'),
    # In other checks these destroy an object that is used later.
    ('reference', 'dropped logger', 'references', 'drops the logger once too often',
     '--only', 'references'),
    ('reference', 'dropped service', 'references',
     'drops its own "test.reference" once too often', '--only', 'references'),
    ('slow_init', 'slow', 'init-time', 'init took ', '--init-limit', '1'),
    ('listener', 'subscribed', 'listeners', 'stays subscribed to "test.removed"'),
]

# Some kernels do not list these timers.
if os.path.exists('/proc/self/timers'):
    FLAWS.append(('leftover', 'timer', 'unload', '(timer_create)'))


def checks_of(plugin, flaw, *options):
    """The checks of the report."""
    library = CONTROL if plugin == 'control' else f'{PLUGINS}/{plugin}/lib{plugin}.so'
    done = subprocess.run([PROGRAM, '--json', *(options or ('--limit', '100')), library],
                          env={**os.environ, 'FLAW': flaw}, stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, timeout=600, check=False)
    return json.loads(done.stdout)['checks']


class Checks(unittest.TestCase):

    def expect_flaw(self, plugin, flaw, check, text, *options):
        found = [each for each in checks_of(plugin, flaw, *options) if each['result'] != 'pass']
        self.assertEqual([(check, 'fail')], [(each['name'], each['result']) for each in found],
                         (plugin, flaw, found))
        self.assertIn(text, found[0]['reason'])

    def expect_none(self, plugin):
        found = [each for each in checks_of(plugin, '') if each['result'] != 'pass']
        self.assertEqual([], found, plugin)

    def test_a_flaw_fails_its_check_only(self):
        with ThreadPoolExecutor(4) as pool:
            for found in [pool.submit(self.expect_flaw, *flaw) for flaw in FLAWS]:
                found.result()

    def test_the_same_plugins_without_flaws_and_the_control_plugin_pass(self):
        with ThreadPoolExecutor(4) as pool:
            plugins = {flaw[0] for flaw in FLAWS} - {'exports'} | {'exporting', 'control'}
            for found in pool.map(self.expect_none, sorted(plugins)):
                self.assertIsNone(found)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
