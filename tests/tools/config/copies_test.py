# SPDX-License-Identifier: MIT
"""Tests of the copies of the store: copies_test.py CONFIG HOST
backup, restore and repair of ixla-config, and --keep-store of ixla-host."""

import os
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "shared"))
from other_user import (  # noqa: E402 pylint: disable=wrong-import-position
    readable_copy, readable_directory)

CONFIG, HOST = sys.argv.pop(1), sys.argv.pop(1)
LIMIT = 30  # seconds
OTHER = 54321  # a user without files of its own
needs_root = unittest.skipUnless(os.geteuid() == 0, "only root can change owners")
WHOLE = "net|a = 1\nnet|b = 2\nnet|b:unit = s\nnet|c = 3\n"


class Copies(unittest.TestCase):
    def setUp(self):
        self.dir, self.mask = readable_directory(self)
        for name in ("config", "plugins", "log"):
            (self.dir / name).mkdir()
        self.write("ixlap.configmanager.prs",
                   "net = net.prs\nixlap.configmanager.store.file = store.txt\n")
        self.write("net.prs", "")
        self.write("store.txt", WHOLE)

    def write(self, name, text):
        (self.dir / "config" / name).write_text(text)

    def read(self, name="store.txt"):
        return (self.dir / "config" / name).read_text()

    def names(self):
        return [name for name in sorted(path.name for path in (self.dir / "config").iterdir())
                if name.startswith("store.txt")]

    def run_program(self, *command, **options):
        if "user" in options:
            command = [readable_copy(command[0]), *command[1:]]
        done = subprocess.run(command, cwd=self.dir, text=True, capture_output=True, timeout=LIMIT,
                              check=False, umask=self.mask, **options)
        return done.returncode, done.stdout, done.stderr

    def tool(self, *arguments, **options):
        return self.run_program(CONFIG, "--dir", "config", *arguments, **options)

    def start(self, copies, *arguments, **options):
        """Starts and stops a host; returns its warnings."""
        code, _, err = self.run_program(
            HOST, "--keep-store", str(copies), "--seconds", "0", "core.plugins.dir=plugins",
            "core.plugins.config.dir=config", "core.plugins.log.dir=log",
            "core.free.plugins.lib=false", *arguments, **options)
        self.assertEqual(0, code, err)
        return err

    def on_full_disk(self, command):
        """Runs a shell command with config/ on a full disk; its result, and names of the files."""
        (self.dir / "config").rename(self.dir / "kept")
        (self.dir / "config").mkdir()
        result = self.run_program(
            "unshare", "-m", "sh", "-c",
            "mount -t tmpfs -o size=24k none config && cp kept/* config/ && "
            f"! dd if=/dev/zero of=config/filler bs=1k 2>/dev/null && {{ {command}; echo $?; "
            "ls config | grep store; cat config/store.txt; }")
        if "mount:" in result[2] or "unshare:" in result[2]:
            self.skipTest("no disk can be mounted")
        return result


class Backup(Copies):
    def test_copies_to_numbered_files(self):
        for number in range(1, 5):
            self.write("store.txt", f"net|a = {number}\n")
            self.assertEqual((0, "config/store.txt: copied to config/store.txt.1\n", ""),
                             self.tool("backup"))
        self.assertEqual(["store.txt", "store.txt.1", "store.txt.2", "store.txt.3"], self.names())
        self.assertEqual(["net|a = 4\n", "net|a = 3\n", "net|a = 2\n"],
                         [self.read(name) for name in self.names()[1:]])

    def test_keeps_as_many_copies_as_asked(self):
        for number in range(1, 5):
            self.write("store.txt", f"net|a = {number}\n")
            self.tool("backup", "--copies", "4")
        self.tool("backup", "--copies", "2")
        self.assertEqual(["store.txt", "store.txt.1", "store.txt.2"], self.names())
        for wrong in ("0", "100", "x"):
            self.assertEqual(2, self.tool("backup", "--copies", wrong)[0])

    def test_does_not_copy_the_same_again(self):
        self.tool("backup")
        self.tool("backup")
        self.assertEqual(["store.txt", "store.txt.1"], self.names())

    def test_copies_to_a_new_file(self):
        for path in ("copy.txt", "config/copy.txt"):
            self.assertEqual((0, f"config/store.txt: copied to {path}\n", ""),
                             self.tool("backup", path))
            self.assertEqual(WHOLE, (self.dir / path).read_text())
        code, out, err = self.tool("backup", "copy.txt")
        self.assertEqual((1, "", "ixla-config: copy.txt: the file exists; choose another name\n"),
                         (code, out, err))

    @needs_root
    def test_keeps_owner_and_mode(self):
        os.chown(self.dir / "config/store.txt", OTHER, OTHER)
        (self.dir / "config/store.txt").chmod(0o640)
        self.tool("backup")
        status = (self.dir / "config/store.txt.1").stat()
        self.assertEqual((OTHER, OTHER, 0o640),
                         (status.st_uid, status.st_gid, status.st_mode & 0o777))

    def test_refuses_a_store_that_is_missing_or_damaged(self):
        self.write("store.txt", "net|a = 1\nnet|b\n")
        self.assertEqual((1, "", "ixla-config: config/store.txt: line 2 cannot be read, so the core "
                                 "ignores the store; repair or restore it first\n"),
                         self.tool("backup"))
        self.write("store.txt", "net|a = 1\nnet|b = 1")
        self.assertIn("its last line has no line break, so the store is cut short; repair or",
                      self.tool("backup")[2])
        (self.dir / "config/store.txt").unlink()
        self.assertEqual((1, "", "ixla-config: config/store.txt: there is no store to copy\n"),
                         self.tool("backup"))
        self.assertEqual([], self.names())

    def test_refuses_missing_directories(self):
        self.assertIn("ixla-config: nowhere: -2 (No such file or directory); the directory must "
                      "exist and be readable\n", self.tool("backup", "nowhere/copy")[2])
        self.write("ixlap.configmanager.prs", "net = net.prs\n")
        code, _, err = self.tool("backup")
        self.assertEqual(1, code)
        self.assertIn("config: no ixlap.configmanager.prs with a line \"ixlap.configmanager.store."
                      "file = store.txt\" that a core can read", err)

    @needs_root
    def test_refuses_a_full_disk(self):
        code, out, err = self.on_full_disk(f"'{CONFIG}' --dir config backup")
        self.assertEqual((0, "1\nstore.txt\n" + WHOLE), (code, out))
        self.assertIn("config/store.txt.0.new: -28 (No space left on device); the disk needs space "
                      "for it; nothing was changed", err)


class Restore(Copies):
    def test_takes_the_newest_copy_and_keeps_the_store(self):
        self.write("store.txt.1", "net|a = 5\n")
        self.write("store.txt.2", "net|a = 4\n")
        self.assertEqual((0, "config/store.txt: restored 1 entries from config/store.txt.1\n"
                             "config/store.txt: the replaced store is config/store.txt.replaced\n",
                          ""), self.tool("restore"))
        self.assertEqual(("net|a = 5\n", WHOLE), (self.read(), self.read("store.txt.replaced")))

    def test_takes_a_given_copy(self):
        for name in ("config/store.txt.2", "copy"):
            (self.dir / name).write_text("net|a = 4\n")
            self.assertEqual(0, self.tool("restore", name)[0])
            self.assertEqual("net|a = 4\n", self.read())
            self.write("store.txt", WHOLE)

    def test_takes_a_copy_whose_rotation_was_not_finished(self):
        self.write("store.txt.0", "net|a = 6\n")
        self.write("store.txt.1", "net|a = 5\n")
        self.assertEqual(0, self.tool("restore")[0])
        self.assertEqual("net|a = 6\n", self.read())

    def test_creates_a_missing_store_as_private_as_its_copy(self):
        (self.dir / "config/store.txt").rename(self.dir / "config/store.txt.1")
        (self.dir / "config/store.txt.1").chmod(0o640)
        self.assertEqual(0, self.tool("restore")[0])
        self.assertEqual(WHOLE, self.read())
        self.assertEqual(0o640, (self.dir / "config/store.txt").stat().st_mode & 0o777)
        self.assertNotIn("store.txt.replaced", self.names())

    @needs_root
    def test_keeps_the_owner_of_the_store(self):
        self.write("store.txt.1", "net|a = 5\n")
        os.chown(self.dir / "config/store.txt", OTHER, OTHER)
        self.assertEqual(0, self.tool("restore")[0])
        self.assertEqual(OTHER, (self.dir / "config/store.txt").stat().st_uid)

    def test_refuses_a_copy_that_is_missing_or_damaged(self):
        self.assertEqual((1, "", "ixla-config: config/store.txt: there is no copy of it; name "
                                 "one\n"), self.tool("restore"))
        self.assertIn("gone: -2 (No such file or directory); the file must exist and be readable",
                      self.tool("restore", "gone")[2])
        self.write("store.txt.1", "net|a = 5\nnet")
        self.assertIn("config/store.txt.1: line 2 cannot be read, so the core ignores the store; "
                      "choose another copy", self.tool("restore")[2])
        self.assertEqual(WHOLE, self.read())

    @needs_root
    def test_leaves_the_store_on_a_full_disk(self):
        self.write("store.txt.1", "net|a = 5\n")
        code, out, err = self.on_full_disk(f"'{CONFIG}' --dir config restore")
        self.assertEqual((0, "1\nstore.txt\nstore.txt.1\n" + WHOLE), (code, out))
        self.assertIn("-28 (No space left on device)", err)

    @needs_root
    def test_leaves_the_store_in_an_unwritable_directory(self):
        self.write("store.txt.1", "net|a = 5\n")
        code, _, err = self.tool("restore", user=OTHER, group=OTHER, extra_groups=[])
        self.assertEqual(1, code)
        self.assertIn("-13 (Permission denied); its directory must be writable", err)
        self.assertEqual(WHOLE, self.read())


class Repair(Copies):
    DAMAGED = "# mine\nnet|a = 1\n  net|b\n\n = 4\nnet|c = \xff5\nnet|d = 6"

    def test_keeps_every_line_that_can_be_read_and_shows_the_rest(self):
        self.write("store.txt", self.DAMAGED)
        self.assertEqual((0, "config/store.txt:3: removed:   net|b\n"
                             "config/store.txt:5: removed:  = 4\n"
                             "config/store.txt:7: kept, but its value may be cut short: net|d = 6\n"
                             "config/store.txt: the damaged store is config/store.txt.damaged\n",
                          ""), self.tool("repair"))
        self.assertEqual("# mine\nnet|a = 1\n\nnet|c = \xff5\nnet|d = 6\n", self.read())
        self.assertEqual(self.DAMAGED, self.read("store.txt.damaged"))
        self.assertEqual((0, "config/store.txt: every line can be read\n", ""), self.tool("repair"))

    def test_never_replaces_an_earlier_damaged_store(self):
        for number in range(3):
            self.write("store.txt", f"net|a = {number}\nx\n")
            self.assertEqual(0, self.tool("repair")[0])
        self.assertEqual(["net|a = 0\nx\n", "net|a = 1\nx\n", "net|a = 2\nx\n"],
                         [self.read("store.txt.damaged" + end) for end in ("", ".2", ".3")])

    def test_makes_a_store_that_a_core_uses(self):
        self.write("store.txt", "net|a = 1\nnet|b\n")
        self.assertEqual(1, self.tool("get", "net", "a")[0])
        self.tool("repair")
        self.assertEqual((0, "1\n", ""), self.tool("get", "net", "a"))

    def test_refuses_a_missing_store(self):
        (self.dir / "config/store.txt").unlink()
        self.assertEqual((1, "", "ixla-config: config/store.txt: there is no store to repair; "
                                 "restore a copy\n"), self.tool("repair"))

    @needs_root
    def test_leaves_the_store_on_a_full_disk(self):
        self.write("store.txt", "net|a = 1\nnet|b\n")
        code, out, err = self.on_full_disk(f"'{CONFIG}' --dir config repair")
        self.assertEqual((0, "1\nstore.txt\nnet|a = 1\nnet|b\n"), (code, out))
        self.assertIn("-28 (No space left on device)", err)


class KeepStore(Copies):
    def test_copies_the_store_of_every_start(self):
        for number in range(4):
            self.write("store.txt", f"net|a = {number}\n")
            self.assertNotIn("warning", self.start(2))
        self.assertEqual(["store.txt", "store.txt.1", "store.txt.2"], self.names())
        self.assertEqual(["net|a = 3\n", "net|a = 2\n"],
                         [self.read(name) for name in self.names()[1:]])

    def test_a_restart_loop_does_not_push_out_copies(self):
        self.write("store.txt.1", "net|a = 0\n")
        for _ in range(3):
            self.start(2)
        self.assertEqual("net|a = 0\n", self.read("store.txt.2"))

    def test_finishes_a_rotation(self):
        self.write("store.txt.0", "net|a = 6\n")
        self.write("store.txt.1", "net|a = 5\n")
        self.write("store.txt.3", "net|a = 3\n")
        self.start(3)
        self.assertEqual([WHOLE, "net|a = 6\n", "net|a = 5\n"],
                         [self.read(f"store.txt.{number}") for number in (1, 2, 3)])
        self.assertNotIn("store.txt.0", self.names())

    def test_finds_the_store_by_the_property_file(self):
        (self.dir / "core.prs").write_text("custom.config.store.txt = elsewhere/values\n")
        (self.dir / "elsewhere").mkdir()
        (self.dir / "elsewhere/values").write_text(WHOLE)
        self.start(1, "--prs", "core.prs")
        self.assertEqual(WHOLE, (self.dir / "elsewhere/values.1").read_text())

    def test_no_store_is_no_error(self):
        (self.dir / "config/store.txt").unlink()
        self.assertNotIn("warning", self.start(2))
        self.assertNotIn("warning", self.start(2))  # the core created an empty one
        self.write("ixlap.configmanager.prs", "net = net.prs\n")
        self.assertNotIn("warning", self.start(2))
        self.assertEqual(["store.txt"], self.names())

    def test_a_loss_is_reported_and_the_copy_is_held(self):
        losses = {"net|a = 1\nnet|b = 2\n": "it ends before the last entry of its newest copy",
                  "net|a = 1\nnet|b = 2\nnet|b:u": "line 3 cannot be read, so the core ignores the "
                                                  "store",
                  "net|a = 1\nnet|b = 2\nnet|b:unit = s\nnet|c = 3": "its last line has no line "
                                                                    "break, so the store is cut "
                                                                    "short",
                  "": "it is empty, but its newest copy has values",
                  None: "it does not exist, but its newest copy has values"}
        for text, reason in losses.items():
            with self.subTest(reason):
                for name in self.names():
                    (self.dir / "config" / name).unlink()
                self.write("store.txt", WHOLE)
                self.start(1)
                self.write("store.txt", text or "")
                if text is None:
                    (self.dir / "config/store.txt").unlink()
                advice = ("`ixla-config restore` replaces it by config/store.txt.held, "
                          "`ixla-config backup` accepts the loss\n")
                self.assertIn(f"ixla-host: warning: config/store.txt: {reason}; {advice}",
                              self.start(1))
                self.assertEqual(WHOLE, self.read("store.txt.held"))
                self.write("store.txt", "net|a = 1\nnet|z = 1\n")
                self.assertIn("warning: config/store.txt: it lost values before an earlier start; "
                              + advice, self.start(1) and self.start(1))
                self.assertEqual(0, self.tool("restore")[0])
                self.assertEqual(WHOLE, self.read())
                self.assertNotIn("store.txt.held", self.names())

    def test_an_accepted_loss_is_not_reported_again(self):
        self.start(2)
        self.write("store.txt", "net|a = 1\n")
        self.assertIn("warning", self.start(2))
        self.assertEqual(0, self.tool("backup", "--copies", "2")[0])
        self.assertNotIn("warning", self.start(2))
        self.assertEqual(["net|a = 1\n", WHOLE], [self.read("store.txt.1"),
                                                  self.read("store.txt.2")])

    def test_a_held_copy_is_released_when_all_its_entries_are_stored_again(self):
        self.start(2)
        self.write("store.txt", "net|a = 1\n")
        self.start(2)
        self.write("store.txt", WHOLE.replace("= 3", "= 4"))
        self.assertNotIn("warning", self.start(2))
        self.assertNotIn("store.txt.held", self.names())

    def test_a_damaged_store_without_a_copy_is_reported(self):
        self.write("store.txt", "net|a\n")
        self.assertIn("warning: config/store.txt: line 1 cannot be read, so the core ignores the "
                      "store; `ixla-config repair` keeps the lines that can be read\n",
                      self.start(2))

    def test_a_failure_is_one_warning(self):
        (self.dir / "config/store.txt.0.new").mkdir()
        err = self.start(2)
        self.assertEqual(1, err.count("warning"), err)
        self.assertIn("ixla-host: warning: the store is not copied: config/store.txt.0.new: -17 "
                      "(File exists); its directory must be writable\n", err)

    @needs_root
    def test_a_full_disk_is_one_warning(self):
        self.write("store.txt.1", "net|a = 1\n")
        _, out, err = self.on_full_disk(
            f"'{HOST}' --keep-store 2 --seconds 0 core.plugins.dir=plugins "
            "core.plugins.config.dir=config core.plugins.log.dir=log "
            "core.free.plugins.lib=false >/dev/null")
        self.assertIn("warning: the store is not copied: config/store.txt.0.new: -28 (No space left "
                      "on device)", err)
        self.assertEqual("0\nstore.txt\nstore.txt.1\n" + WHOLE, out)

    def test_wrong_numbers_are_refused(self):
        for wrong in ("0", "-1", "100", "x"):
            code, _, err = self.run_program(HOST, "--keep-store", wrong, "core.plugins.dir=x")
            self.assertEqual(2, code, err)


if __name__ == "__main__":
    unittest.main(verbosity=1)
