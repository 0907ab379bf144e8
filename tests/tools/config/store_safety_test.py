# SPDX-License-Identifier: MIT
"""Tests that ixla-config replaces the store safely: store_safety_test.py CONFIG HOST"""

import errno
import fcntl
import os
import signal
import struct
import subprocess
import sys
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "shared"))
from other_user import (  # noqa: E402 pylint: disable=wrong-import-position
    readable_copy, readable_directory)

CONFIG, HOST = sys.argv.pop(1), sys.argv.pop(1)
LIMIT = 30  # seconds
ID = "com.example.net"
OTHER = 54321  # a user without files of its own
needs_root = unittest.skipUnless(os.geteuid() == 0, "only root can change owners")


def access_list(*entries):
    """An access control list in the form of the attribute; entries are (tag, permissions, id)."""
    nobody = 0xFFFFFFFF
    return struct.pack("<I", 2) + b"".join(
        struct.pack("<HHI", tag, allowed, nobody if owner is None else owner)
        for tag, allowed, owner in entries)


class StoreSafety(unittest.TestCase):
    def setUp(self):
        self.dir, self.mask = readable_directory(self)
        self.make_directory("config")
        self.store = self.dir / "config/store.txt"

    def make_directory(self, name):
        (self.dir / name).mkdir()
        (self.dir / name / "ixlap.configmanager.prs").write_text(
            f"{ID} = net.prs\nixlap.configmanager.store.file = store.txt\n")
        (self.dir / name / "net.prs").write_text("port = 80\n")

    def tool(self, *arguments, directory="config", **options):
        program = readable_copy(CONFIG) if "user" in options else CONFIG
        done = subprocess.run([program, "--dir", directory, *arguments], cwd=self.dir, text=True,
                              capture_output=True, timeout=LIMIT, check=False,
                              **({"umask": self.mask} | options))
        return done.returncode, done.stdout, done.stderr

    def set_port(self, value="9000", **options):
        return self.tool("store", ID, "port", value, **options)

    def names(self):
        return sorted(path.name for path in (self.dir / "config").iterdir())


class Status(StoreSafety):
    def setUp(self):
        super().setUp()
        self.store.write_text(f"{ID}|port = 1\n")

    def status(self):
        now = self.store.stat()
        return now.st_uid, now.st_gid, now.st_mode & 0o7777

    def set_attribute(self, path, name, value):
        try:
            os.setxattr(path, name, value)
        except OSError as error:
            if error.errno not in (errno.ENOTSUP, errno.EPERM):
                raise
            self.skipTest(f"no attribute {name} on this disk")

    @needs_root
    def test_owner_group_and_mode_stay(self):
        os.chown(self.store, OTHER, OTHER + 1)
        self.store.chmod(0o640)
        for change in (("store", ID, "port", "2"), ("remove", ID, "port")):
            self.assertEqual(0, self.tool(*change)[0])
            self.assertEqual((OTHER, OTHER + 1, 0o640), self.status())
        self.assertEqual("", self.store.read_text())

    def test_mode_stays_for_any_umask(self):
        self.store.chmod(0o666)
        self.assertEqual(0, self.set_port(umask=0o077)[0])
        self.assertEqual(0o666, self.status()[2])

    def test_extended_attributes_stay(self):
        self.set_attribute(self.store, "user.note", b"a\0b")
        self.assertEqual(0, self.set_port()[0])
        self.assertEqual(b"a\0b", os.getxattr(self.store, "user.note"))

    def test_access_list_stays(self):
        # Owner rw, user OTHER r, group none, mask r, others none.
        entries = access_list((1, 6, None), (2, 4, OTHER), (4, 0, None), (16, 4, None),
                              (32, 0, None))
        self.set_attribute(self.store, "system.posix_acl_access", entries)
        before = self.status()
        self.assertEqual(0, self.set_port()[0])
        self.assertEqual(entries, os.getxattr(self.store, "system.posix_acl_access"))
        self.assertEqual(before, self.status())

    def test_access_list_of_the_directory_is_not_inherited(self):
        entries = access_list((1, 6, None), (2, 6, OTHER), (4, 0, None), (16, 6, None),
                              (32, 0, None))
        self.set_attribute(self.store.parent, "system.posix_acl_default", entries)
        self.assertEqual(0, self.set_port()[0])
        self.assertNotIn("system.posix_acl_access", os.listxattr(self.store))

    @needs_root
    def test_refuses_when_the_owner_cannot_be_kept(self):
        self.store.parent.chmod(0o777)
        self.store.chmod(0o644)
        before = self.store.stat()
        code, out, err = self.set_port(user=OTHER, group=OTHER, extra_groups=[])
        self.assertEqual((1, ""), (code, out))
        self.assertIn("its owner 0 and group 0 cannot be kept; run the tool as the owner of the "
                      "file; nothing was changed\n", err)
        self.assertEqual(before, self.store.stat())
        self.assertNotIn("store.txt.new", self.names())

    @needs_root
    def test_new_store_belongs_to_the_owner_of_its_directory(self):
        self.store.unlink()
        os.chown(self.store.parent, OTHER, OTHER + 1)
        self.assertEqual(0, self.set_port()[0])
        self.assertEqual((OTHER, OTHER + 1, 0o600), self.status())

    @needs_root
    def test_service_reads_what_root_has_stored(self):
        for path in (self.store.parent, *self.store.parent.iterdir()):
            os.chown(path, OTHER, OTHER)
        self.store.chmod(0o600)
        self.assertEqual(0, self.set_port()[0])
        # The other user may write the counters of a coverage build here only.
        environment = {**os.environ, "GCOV_PREFIX": str(self.store.parent)}
        self.assertEqual((0, "9000\n", ""), self.tool("get", ID, "port", user=OTHER, group=OTHER,
                                                      extra_groups=[], env=environment))


class Failures(StoreSafety):
    def setUp(self):
        super().setUp()
        self.store.write_text(f"{ID}|port = 1\n")

    def expect_refusal(self, wanted, result):
        self.assertEqual((1, ""), result[:2])
        self.assertIn(wanted, result[2])
        self.assertEqual(f"{ID}|port = 1\n", self.store.read_text())
        self.assertNotIn("store.txt.new", self.names())

    @needs_root
    def test_unwritable_directory(self):
        os.chown(self.store, OTHER, OTHER)
        self.expect_refusal("config/store.txt.new: -13 (Permission denied); its directory must be "
                            "writable\n",
                            self.set_port(user=OTHER, group=OTHER, extra_groups=[]))

    @needs_root
    def test_unreadable_store(self):
        self.store.chmod(0o600)
        self.expect_refusal("config/store.txt: -13 (Permission denied); the file must be readable",
                            self.set_port(user=OTHER, group=OTHER, extra_groups=[]))

    def test_symbolic_link(self):
        self.store.rename(self.dir / "real.txt")
        self.store.symlink_to("../real.txt")
        self.expect_refusal("config/store.txt: -40 (Too many levels of symbolic links); a symbolic "
                            "link would be replaced; name the file itself\n", self.set_port())

    def test_directory_in_place_of_the_store(self):
        self.store.unlink()
        self.store.mkdir()
        self.assertIn("config/store.txt: -22 (Invalid argument); it is not a regular file",
                      self.set_port()[2])

    @needs_root
    def test_full_disk(self):
        script = (f"mount -t tmpfs -o size=16k none config && cp kept/* config/ && "
                  f"! dd if=/dev/zero of=config/filler bs=1k 2>/dev/null && "
                  f"{{ '{CONFIG}' --dir config store {ID} port 2; echo $?; ls config; "
                  f"cat config/store.txt; }}")
        (self.dir / "config").rename(self.dir / "kept")
        (self.dir / "config").mkdir()
        done = subprocess.run(["unshare", "-m", "sh", "-c", script], cwd=self.dir, text=True,
                              capture_output=True, timeout=LIMIT, check=False)
        if "mount:" in done.stderr or "unshare:" in done.stderr:
            self.skipTest("no disk can be mounted")
        self.assertIn("config/store.txt.new: -28 (No space left on device); the disk needs space "
                      "for it; nothing was changed\n", done.stderr)
        self.assertEqual(f"1\nfiller\nixlap.configmanager.prs\nnet.prs\nstore.txt\n{ID}|port = 1\n",
                         done.stdout)

    def test_another_tool_that_changes_the_directory(self):
        directory = os.open(self.dir / "config", os.O_RDONLY)
        self.addCleanup(os.close, directory)
        fcntl.flock(directory, fcntl.LOCK_EX)
        self.expect_refusal("config: -11 (Resource temporarily unavailable); another tool changes "
                            "files of this directory; try again\n", self.set_port())


class Users(StoreSafety):
    """Warnings of processes that use the directory."""

    def start_host(self, *arguments, cwd=".", stdin=subprocess.DEVNULL):
        for name in ("plugins", "log"):
            (self.dir / name).mkdir(exist_ok=True)
        ready = self.dir / "ready"
        host = subprocess.Popen(
            [HOST, f"core.plugins.dir={self.dir}/plugins", f"core.plugins.log.dir={self.dir}/log",
             "core.free.plugins.lib=false", "--ready-file", str(ready), *arguments],
            cwd=self.dir / cwd, stdin=stdin, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(host.wait)
        self.addCleanup(host.send_signal, signal.SIGKILL)
        end = time.monotonic() + LIMIT
        while not ready.exists():
            self.assertIsNone(host.poll())
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)
        return host

    def expect_warning_of(self, host):
        code, _, err = self.set_port()
        self.assertEqual((0, f"ixla-config: warning: ixla-host ({host.pid}) uses this directory "
                             "and may write the same store, which has no lock\n"), (code, err))

    def test_by_an_argument(self):
        self.expect_warning_of(self.start_host("core.plugins.config.dir=config"))

    def test_by_a_path_with_another_name(self):
        (self.dir / "link").symlink_to("config")
        self.expect_warning_of(self.start_host("core.plugins.config.dir=plugins/../link"))

    def test_by_the_property_file(self):
        (self.dir / "core.prs").write_text("core.plugins.config.dir = config\n")
        self.expect_warning_of(self.start_host("--prs", "core.prs"))

    def test_by_the_working_directory(self):
        self.expect_warning_of(self.start_host("core.plugins.config.dir=.", cwd="config"))

    def test_by_an_open_file(self):
        self.make_directory("other")
        with open(self.dir / "config/net.prs", encoding="utf-8") as file:
            self.expect_warning_of(self.start_host("core.plugins.config.dir=other", stdin=file))

    def test_not_of_a_process_with_another_directory(self):
        self.make_directory("other")
        self.start_host("core.plugins.config.dir=config/../other")
        code, _, err = self.set_port()
        self.assertEqual((0, ""), (code, err))


if __name__ == "__main__":
    unittest.main(verbosity=1)
