# SPDX-License-Identifier: MIT
"""Compares the examples of docs/control.md with the replies of a host: protocol_test.py with the
arguments of control_host.py, and the page."""

import json
import re
import sys
import unittest
from pathlib import Path

from control_host import ControlTest

PAGE = Path(sys.argv.pop(1)).read_text(encoding="utf-8")
SECTION = re.compile(r"^### (\S+)\n(.*?)(?=^##)", re.M | re.S)
BLOCK = re.compile(r"^```control\n(.*?)^```$", re.M | re.S)
OPERATIONS = {"status", "check", "get", "explain", "describe", "set", "unset", "watch", "log-level",
              "log-tail", "event-send", "event-watch"}


def shape(value):
    """The names and types of a value. Entries of lists count together;"""
    if isinstance(value, dict):
        return {name: shape(member) for name, member in value.items()}
    if isinstance(value, list) and value and isinstance(value[0], dict):
        merged = {}
        for entry in value:
            merged.update(shape(entry))
        return [merged]
    return type(value).__name__


class Protocol(ControlTest):
    def setUp(self):
        super().setUp()
        self.write("core.prs", (self.dir / "core.prs").read_text().replace(
            "ixlal-control, talker", "ixlal-control, talker, lost"))
        self.write("log/own.log", "one\ntwo\nthree\n")

    def test_every_operation_has_an_example(self):
        found = {json.loads(line[2:])["op"] for block in BLOCK.findall(PAGE)
                 for line in block.splitlines() if line.startswith("> ")}
        self.assertEqual(OPERATIONS, found)

    def test_the_examples_are_what_a_host_replies(self):
        self.start()
        client = self.connect()
        for title, text in SECTION.findall(PAGE):
            for block in BLOCK.findall(text):
                with self.subTest(title):
                    self.replay(client, title, block)

    def replay(self, client, title, block):
        for line in block.splitlines():
            if line.startswith("> "):
                client.send(line[2:].encode() + b"\n")
                continue
            if '"notice":"log"' in line:
                with open(self.dir / "log/own.log", "a", encoding="ascii") as log:
                    log.write("four\n")
            wanted, found = json.loads(line[2:]), client.line()
            if title == "status":
                wanted, found = shape(wanted), shape(found)
            self.assertEqual(wanted, found)


if __name__ == "__main__":
    unittest.main(verbosity=2)
