# SPDX-License-Identifier: MIT
"""Tests of the keys that the plugins of a host declare: keys_test.py with the arguments of
control_host.py, and the directory with the completions."""

import os
import subprocess
import sys
import unittest
from pathlib import Path

from control_host import CTL, LIMIT, MANAGER, ControlTest

TOOLS = Path(sys.argv.pop(1))
ID = "com.example.net"
KEYS = ["port", "delay", "total", "mask", "active", "host", "order", "magic"]


class Keys(ControlTest):
    def setUp(self):
        super().setUp()
        self.write("config/ixlap.configmanager.prs", f"{ID} = net.prs\n{MANAGER}")
        self.write("config/net.prs", "port = 80\n")

    def refused(self, key, value, reason):
        done = self.ctl("set", ID, key, value)
        self.assertEqual((1, f"ixla-ctl: {ID} {key}: {reason}\n"), (done.returncode, done.stderr))


class Set(Keys):
    def test_refuses_what_the_declaration_forbids(self):
        self.start()
        watcher = self.connect()
        self.assertTrue(watcher.ask("watch", id=ID)["ok"])
        self.result("set", ID, "delay", "5")
        for key, value, accepted in (
                ("delay", "60001", "a number from -1 to 60000"),
                ("delay", "-2", "a number from -1 to 60000"),
                ("delay", "1.5", "a number from -1 to 60000"),
                ("delay", "", "a number from -1 to 60000"),
                ("mask", "-1", "a number from 0 to 18446744073709551615"),
                ("active", "2", "true or false"),
                ("order", "Oldest", "one of oldest, newest")):
            self.refused(key, value, f'"{value}" is not {accepted}')
        self.assertEqual("5", self.result("get", ID, "delay")["value"])
        self.result("set", ID, "order", "newest")
        self.assertEqual(["delay", "order"], [watcher.line()["key"] for _ in range(2)])

    def test_refuses_a_key_that_is_read_at_the_start(self):
        self.start()
        self.refused("port", "81", "the plugin reads the key at the start only; change its file "
                                   "and start the host again")
        self.assertEqual("80", self.result("get", ID, "port")["value"])
        self.result("unset", ID, "port")

    def test_accepts_the_limits_and_what_is_not_declared(self):
        self.start()
        for key, value in (("delay", "-1"), ("delay", "60000"), ("active", "OFF"),
                           ("total", "-9223372036854775808"), ("speed", "any")):
            done = self.result("set", ID, key, value)
            self.assertEqual((value, True), (done["value"], done["effective"]))
        self.result("set", ID, "delay", "--attribute", "unit", "years")

    def test_has_the_kind_of_error_that_the_protocol_names(self):
        self.start()
        client = self.connect()
        reply = client.ask("set", id=ID, key="delay", value="x")
        self.assertEqual((False, "refused"), (reply["ok"], reply["error"]))
        self.assertNotIn("code", reply)


class Describe(Keys):
    def test_lists_the_keys_of_one_id(self):
        self.start()
        found = self.result("describe", ID)["ids"]
        self.assertEqual([(ID, ["libkeyed.so"])], [(c["id"], c["libraries"]) for c in found])
        self.assertEqual(KEYS, [key["key"] for key in found[0]["keys"]])
        self.assertEqual({"key": "delay", "type": "int32", "default": "100", "low": "-1",
                          "high": "60000", "unit": "ms", "change": "run-time",
                          "description": "pause between two attempts",
                          "summary": "number from -1 to 60000 (ms); default: 100; changes at run "
                                     "time"}, found[0]["keys"][1])
        self.assertEqual(["oldest", "newest"], found[0]["keys"][6]["choices"])

    def test_lists_all_ids(self):
        self.start()
        ids = ["com.example.greeter", ID, "com.example.ui"]
        self.assertEqual(ids, [config["id"] for config in self.result("describe")["ids"]])
        self.assertEqual(ids, self.ctl("describe", "--names").stdout.split())
        self.assertEqual(KEYS, self.ctl("describe", ID, "--names").stdout.split())

    def test_is_a_page_for_people(self):
        self.start()
        page = self.ctl("describe").stdout
        self.assertIn(f"\n\n{ID}, declared by libkeyed.so\n\nport: TCP port of the server\n    "
                      "number from 1 to 65535; default: 8080; read at the start\n", page)

    def test_refuses_an_id_without_declarations(self):
        self.start()
        done = self.ctl("describe", "test.talker")
        self.assertEqual((1, "ixla-ctl: no plugin declares keys of test.talker\n"),
                         (done.returncode, done.stderr))

    def test_shows_the_library_that_runs_and_not_its_file(self):
        self.start()
        library = self.dir / "plugins/libkeyed.so"
        (self.dir / "new").write_bytes(library.read_bytes().replace(b"60000", b"70000"))
        os.replace(self.dir / "new", library)
        self.refused("delay", "65000", '"65000" is not a number from -1 to 60000')

    def test_uses_what_a_damaged_note_still_has(self):
        library = self.dir / "plugins/libkeyed.so"
        library.write_bytes(library.read_bytes().replace(b"default\t8080", b"default\t8x80"))
        self.start()
        self.assertEqual(KEYS[1:], self.ctl("describe", ID, "--names").stdout.split())
        self.refused("order", "x", '"x" is not one of oldest, newest')


class Explain(Keys):
    def test_shows_the_declaration(self):
        self.start()
        found = self.result("explain", ID, "port")
        self.assertEqual(("80", "file", "65535"),
                         (found["value"], found["source"], found["declaration"]["high"]))
        self.assertNotIn("refused", found)
        self.assertIn("declared: number from 1 to 65535; default: 8080; read at the start: TCP port "
                      "of the server\n", self.ctl("explain", ID, "port").stdout)

    def test_shows_the_default_of_a_key_without_a_value(self):
        self.start()
        found = self.result("explain", ID, "delay")
        self.assertEqual(("100", "default", []),
                         (found["value"], found["source"], found["lines"]))
        self.assertIn("source: the default of the plugin\n", self.ctl("explain", ID, "delay").stdout)

    def test_shows_why_a_value_is_refused(self):
        self.write("config/net.prs", "delay = soon\n")
        self.start()
        self.assertEqual("not a number from -1 to 60000",
                         self.result("explain", ID, "delay")["refused"])
        self.assertIn("refused: not a number from -1 to 60000; the plugin uses the default\n",
                      self.ctl("explain", ID, "delay").stdout)


class Completion(Keys):
    """Each shell offers the declared IDs and keys of the host."""

    def shell(self, *command):
        bin_dir = self.dir / "bin"
        bin_dir.mkdir(exist_ok=True)
        wrapper = bin_dir / "ixla-ctl"
        # The completion waits for a second, which a loaded machine may take.
        wrapper.write_text(f'#!/bin/sh\nexec "{CTL}" "$@" --timeout {LIMIT}\n')
        wrapper.chmod(0o755)
        environment = {**self.environment, "PATH": f"{bin_dir}:{self.environment['PATH']}",
                       "HOME": str(self.dir)}
        done = subprocess.run(command, cwd=self.dir, env=environment, text=True, check=False,
                              capture_output=True, stdin=subprocess.DEVNULL, timeout=LIMIT)
        return done.stdout.split()

    def bash(self, *words):
        script = (f"source '{TOOLS}/completion/ixla-ctl'\nCOMP_WORDS=(\"$@\")\n"
                  "COMP_CWORD=$(($# - 1))\n_ixla_ctl\nprintf '%s\\n' \"${COMPREPLY[@]}\"")
        return self.shell("bash", "-c", script, "bash", "ixla-ctl", *words)

    def test_of_bash(self):
        self.start()
        self.assertEqual(["com.example.greeter", ID, "com.example.ui"], self.bash("set", ""))
        for command in ("get", "set", "unset", "explain"):
            self.assertEqual(KEYS, self.bash(command, ID, ""))
        self.assertEqual(["delay"], self.bash("--socket", str(self.path), "set", ID, "de"))
        self.assertEqual([], self.bash("set", ID, "delay", ""))
        self.assertEqual([], self.bash("describe", ID, ""))

    def test_of_fish(self):
        self.start()

        def fish(line):
            return self.shell("fish", "--no-config", "-c", f"source '{TOOLS}/completion-fish/"
                              f"ixla-ctl.fish'; complete -C 'ixla-ctl {line}' | cut -f 1")
        self.assertEqual({"com.example.greeter", ID, "com.example.ui"}, set(fish("get ")))
        self.assertEqual(set(KEYS), set(fish(f"set {ID} ")))
        self.assertEqual(["delay"], fish(f'--socket "{self.path}" explain {ID} de'))
        self.assertEqual([], fish(f"describe {ID} "))

    def test_of_zsh(self):
        self.start()

        def zsh(function, *words):
            stubs = "compadd() { print -l -- $found }; _arguments() { : }; typeset -A opt_args\n"
            script = (f"{stubs}source '{TOOLS}/completion-zsh/_ixla-ctl'\n"
                      f"words=(\"$@\"); CURRENT=$#; {function}")
            return self.shell("zsh", "-f", "-c", script, "zsh", "ixla-ctl", *words)
        self.assertEqual(["com.example.greeter", ID, "com.example.ui"],
                         zsh("_ixla_ctl_ids", "get", ""))
        self.assertEqual(KEYS, zsh("_ixla_ctl_keys", "get", ID, ""))


if __name__ == "__main__":
    unittest.main(verbosity=2)
