# SPDX-License-Identifier: MIT
"""A host with the control plugin, for tests. The arguments of the program are
CTL HOST CONTROL_PLUGIN TALKER_PLUGIN GREETER_PLUGIN KEYED_PLUGIN"""

import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

CTL, HOST, *PLUGINS = (sys.argv.pop(1) for _ in range(6))
LIMIT = 60  # seconds for what takes milliseconds on an idle machine
MANAGER = """\
test.talker = talker.prs
com.kelvora.ixla.control = control.prs
ixlap.configmanager.store.file = store.txt
"""
CORE = """\
core.plugins.dir = plugins
core.plugins.config.dir = config
core.plugins.log.dir = log
core.notify.exit.timeout = 20
core.autostart.list = ixlal-control, talker
"""


def wait_for(condition, what):
    """Waits until the condition returns something, and returns it."""
    end = time.monotonic() + LIMIT
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.01)
    raise AssertionError(f"never: {what}")


class Connection:
    """A client that sends what it likes."""

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(str(path))  # waits for a place in the queue of the host
        self.socket.settimeout(LIMIT)
        self.file = self.socket.makefile("rb")

    def send(self, data):
        self.socket.sendall(data)

    def line(self):
        """The next line as an object; None at the end."""
        try:
            line = self.file.readline()
        except ConnectionResetError:
            return None
        return json.loads(line) if line else None

    def ask(self, operation, **members):
        self.send(json.dumps({"v": 1, "op": operation, **members}).encode() + b"\n")
        return self.line()

    def close(self):
        self.file.close()
        self.socket.close()


class ControlTest(unittest.TestCase):
    """Each test has a directory, which the hosts and tools that it starts use as their own."""

    def setUp(self):
        self.dir = Path(self.enterContext(tempfile.TemporaryDirectory()))
        for name in ("plugins", "config", "log", "run"):
            (self.dir / name).mkdir()
        for plugin in PLUGINS:
            shutil.copy(plugin, self.dir / "plugins")
        self.write("config/ixlap.configmanager.prs", MANAGER)
        self.write("config/talker.prs", "size = 1\nport = 80\nport:const = true\n")
        self.write("config/control.prs", "")
        self.write("core.prs", CORE)
        self.arguments = ["core.log.file=core.log"]
        self.path = self.dir / "run/ixlal-control"
        self.environment = {"PATH": os.environ["PATH"], "XDG_RUNTIME_DIR": str(self.dir / "run")}
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS"):
            if name in os.environ:
                self.environment[name] = os.environ[name]

    def write(self, name, text):
        (self.dir / name).write_text(text)

    def launch(self, *arguments, **options):
        host = subprocess.Popen([HOST, "--prs", "core.prs", *self.arguments, *arguments],
                                cwd=self.dir, text=True, env=self.environment,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, **options)
        self.addCleanup(self.end, host)
        return host

    @staticmethod
    def end(host):
        if host.poll() is None:
            host.kill()
        host.communicate()

    def start(self, *arguments, **options):
        """A host that is ready."""
        host = self.launch(*arguments, **options)
        for line in host.stdout:
            if line.startswith("ixla-host: ready"):
                return host
        raise AssertionError(host.communicate()[1])

    def stop(self, host):
        """The exit code and the standard error stream of a host that is stopped."""
        host.send_signal(signal.SIGTERM)
        _, errors = host.communicate(timeout=LIMIT)
        return host.returncode, errors

    def connect(self, path=None):
        connection = Connection(path or self.path)
        self.addCleanup(connection.close)
        return connection

    def ctl(self, *arguments, **options):
        return subprocess.run([CTL, "--timeout", str(LIMIT), *arguments], cwd=self.dir, check=False,
                              env=self.environment, stdin=subprocess.DEVNULL, text=True,
                              capture_output=True, timeout=2 * LIMIT, **options)

    def result(self, *arguments):
        """The result of a request that succeeds."""
        done = self.ctl("--json", *arguments)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        return json.loads(done.stdout)

    def log(self, name="talk.log"):
        file = self.dir / "log" / name
        return file.read_text() if file.exists() else ""
