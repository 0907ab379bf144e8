# SPDX-License-Identifier: MIT
"""The fixture of the tests of ixla-host; the arguments of each are HOST PLUGIN."""

import os
import re
import resource
import shutil
import socket
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "shared"))
from other_user import (  # noqa: E402 pylint: disable=wrong-import-position
    readable_copy, readable_directory)

HOST, PLUGIN = sys.argv.pop(1), sys.argv.pop(1)
LIMIT = 30  # seconds for short operations


class HostTest(unittest.TestCase):
    def setUp(self):
        self.dir, self.mask = readable_directory(self)
        for name in ("plugins", "config", "log"):
            (self.dir / name).mkdir()
        shutil.copyfile(PLUGIN, self.dir / "plugins" / Path(PLUGIN).name)
        self.write("config/ixlap.configmanager.prs", "ixlap.configmanager.store.file = store.txt\n")
        self.write("core.prs", "core.plugins.dir = plugins\n"
                               "core.plugins.config.dir = config\n"
                               "core.plugins.log.dir = log\n"
                               "core.free.plugins.lib = false\n")

    def write(self, name, text):
        (self.dir / name).write_text(text)

    def launch(self, *arguments, behaviour="", **options):
        options.setdefault("stdout", subprocess.PIPE)
        environment = {**os.environ, "OBSTINATE": behaviour, **options.pop("environment", {})}
        program = options.pop("program", readable_copy(HOST) if "user" in options else HOST)
        host = subprocess.Popen([program, *arguments], cwd=self.dir, env=environment, text=True,
                                stderr=subprocess.PIPE, umask=self.mask, **options)
        self.addCleanup(self.end, host)
        return host

    @staticmethod
    def end(host):
        if host.poll() is None:
            host.kill()
        host.communicate()

    def run_host(self, *arguments, **options):
        host = self.launch(*arguments, **options)
        out, err = host.communicate(timeout=LIMIT)
        return host.returncode, out, err

    def serve(self, *arguments, **options):
        """A host that has reported that it is ready."""
        host = self.launch("--prs", "core.prs", *arguments, **options)
        self.await_line(host, f"ixla-host: ready, process {host.pid}\n")
        return host

    def await_line(self, host, wanted):
        for line in host.stdout:
            if line == wanted:
                return
        self.fail(f"never said {wanted!r}: {host.stderr.read()}")

    def finish(self, host):
        out, err = host.communicate(timeout=LIMIT)
        return host.returncode, out, err

    def wait_for_text(self, stream, wanted):
        """Reads until wanted arrives; returns the text."""
        text = ""
        while wanted not in text:
            line = stream.readline()
            self.assertTrue(line, f"never said {wanted!r}: {text}")
            text += line
        return text

    def nobody(self):
        """A user without rights in the directory of the test."""
        if os.geteuid() != 0:
            self.skipTest("only root can run the host as another user")
        (self.dir / "log").chmod(0o777)
        return "nobody"

    @staticmethod
    def without_room():
        """Lets every write to a file fail."""
        resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0))

    def make_pipe(self, name):
        os.mkfifo(self.dir / name)

    @staticmethod
    def library_of(name):
        """The path of a library that the host has loaded."""
        if "QEMU_LD_PREFIX" in os.environ:  # ldd runs no programs for other processors
            own = Path(HOST).parents[1] / "lib" / name
            return str(own if own.exists() else Path(os.environ["QEMU_LD_PREFIX"], "lib", name))
        listed = subprocess.run(["ldd", HOST], check=True, capture_output=True, text=True).stdout
        return re.search(rf"{re.escape(name)} => (\S+)", listed).group(1)

    def installed_copy(self, *helpers):
        """Copies the host, and these programs beside it, into a prefix. Returns the host and the
        environment that it needs."""
        (self.dir / "bin").mkdir()
        (self.dir / "libexec/ixlal").mkdir(parents=True)
        host = shutil.copy(HOST, self.dir / "bin/ixla-host")
        for name in helpers:
            shutil.copy(Path(HOST).parents[1] / "libexec" / name, self.dir / "libexec/ixlal")
        libraries = Path(self.library_of("libixlal.core.so")).parent
        return host, {"LD_LIBRARY_PATH": str(libraries)}


class ManagedTest(HostTest):
    """Has the socket of a service manager, in "notify"."""

    def setUp(self):
        super().setUp()
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(self.manager.close)
        self.manager.bind(str(self.dir / "notify"))
        self.manager.settimeout(LIMIT)

    def receive(self):
        return self.manager.recv(4096).decode()
