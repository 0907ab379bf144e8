# SPDX-License-Identifier: MIT
"""Tests of the control socket and of clients that misbehave; for the arguments see
control_host.py."""

import json
import os
import pwd
import random
import re
import resource
import signal
import socket
import stat
import subprocess
import sys
import threading
import time
import unittest
from pathlib import Path

from control_host import CTL, HOST, LIMIT, ControlTest, wait_for

# Prints what a process of the user gets at a socket, or the error.
STRANGER = """
import os, socket, sys
os.setgroups([])
os.setgid(int(sys.argv[1]))
os.setuid(int(sys.argv[1]))
client = socket.socket(socket.AF_UNIX)
try:
    client.connect(sys.argv[2])
    client.sendall(b'{"v":1,"op":"get","id":"test.talker","key":"size"}\\n')
except OSError as error:
    print(error.strerror)
print(client.recv(4096).decode() if client.getpeername() else "")
"""


class Socket(ControlTest):
    def modes_while_starting(self, umask):
        """The modes that the file has from its creation until the host is ready."""
        modes, running = set(), True

        def look():
            while running:
                try:
                    modes.add(stat.S_IMODE(os.lstat(self.path).st_mode))
                except FileNotFoundError:
                    pass

        thread = threading.Thread(target=look)
        thread.start()
        try:
            host = self.start(umask=umask)
        finally:
            running = False
            thread.join()
        modes.add(stat.S_IMODE(os.lstat(self.path).st_mode))
        self.stop(host)
        return modes

    def test_only_the_owner_may_open_it_from_the_first_moment(self):
        for umask in (0, 0o077, 0o027):
            self.assertEqual({0o600}, self.modes_while_starting(umask), oct(umask))

    def test_the_files_are_removed_at_the_end(self):
        host = self.start()
        self.assertEqual({"ixlal-control", "ixlal-control.lock"}, set(os.listdir(self.dir / "run")))
        code, errors = self.stop(host)
        self.assertEqual((0, []), (code, os.listdir(self.dir / "run")), errors)

    def test_the_directory_is_that_of_the_service_then_of_the_session(self):
        (self.dir / "service").mkdir()
        self.environment["RUNTIME_DIRECTORY"] = f"{self.dir}/service:{self.dir}/run"
        self.start()
        self.assertTrue((self.dir / "service/ixlal-control").is_socket())
        self.assertEqual("1\n", self.ctl("get", "test.talker", "size").stdout)

    def test_a_dead_socket_is_replaced(self):
        for _ in range(2):
            host = self.start()
            host.kill()
            host.communicate()
            self.assertTrue(self.path.is_socket())
            self.assertEqual(3, self.ctl("status").returncode)
        self.start()
        self.assertEqual("1\n", self.ctl("get", "test.talker", "size").stdout)

    def test_a_second_host_reports_the_first_and_goes_on(self):
        first = self.start()
        second = self.start()
        self.assertEqual(first.pid, self.result("status")["process"])
        code, errors = self.stop(second)
        self.assertEqual(0, code, errors)
        self.assertIn(f"ixlal-control: the host cannot be controlled: {self.path}: belongs to "
                      "another running host; set \"socket\" to another path", errors)
        self.assertIn("belongs to another running host", self.log("ixlaplugins.log"))
        self.assertEqual(first.pid, self.result("status")["process"])
        self.stop(first)
        self.start()
        self.assertEqual(0, self.ctl("check").returncode)

    def test_one_of_many_hosts_gets_the_socket(self):
        hosts = [self.launch() for _ in range(5)]
        for host in hosts:
            while not host.stdout.readline().startswith("ixla-host: ready"):
                pass
        owner = self.result("status")["process"]
        errors = {host.pid: self.stop(host)[1] for host in hosts}
        for pid, text in errors.items():
            self.assertEqual(pid != owner, "another running host" in text, text)

    def test_the_socket_of_another_program_is_not_taken(self):
        other = socket.socket(socket.AF_UNIX)
        self.addCleanup(other.close)
        other.bind(str(self.path))
        other.listen()
        code, errors = self.stop(self.start())
        self.assertEqual(0, code)
        self.assertIn("another process listens there", errors)
        self.assertTrue(self.path.is_socket())

    def test_a_file_that_is_no_socket_stays(self):
        self.path.write_text("precious")
        code, errors = self.stop(self.start())
        self.assertEqual(0, code)
        self.assertIn("is not a socket; remove it", errors)
        self.assertEqual("precious", self.path.read_text())

    def test_a_wrong_setting_is_reported(self):
        for setting, text in (("rate = 0", "rate in the configuration of the control plugin: not a "
                                           "number from 1 to"),
                              ("connections = many", "connections in"),
                              ("users = nobody-of-this-name", "no such user: nobody-of-this-name"),
                              ("socket = /nowhere/socket", "/nowhere/socket.lock: cannot be "
                                                           "created"),
                              (f"socket = /{'x' * 200}", "has at most 107 bytes")):
            self.write("config/control.prs", setting + "\n")
            code, errors = self.stop(self.start("core.free.plugins.lib=false"))
            self.assertEqual(0, code)
            self.assertIn(text, errors)

    def open_for_nobody(self):
        """Lets the user nobody, whose number it returns, use the directory."""
        for path in (self.dir, *self.dir.iterdir()):
            if path.is_dir():
                path.chmod(0o755)
        for path in (CTL, HOST, self.dir / "run"):
            if subprocess.run(["test", "-x", path], user="nobody", check=False).returncode:
                self.skipTest(f"another user cannot reach {path}")
        return pwd.getpwnam("nobody").pw_uid

    @unittest.skipUnless(os.geteuid() == 0, "only root can become another user")
    def test_only_configured_users_are_served(self):
        nobody = self.open_for_nobody()
        for users, expected in (("", "Permission denied"),
                                (str(nobody - 1), f"user {nobody} may not control this host"),
                                ("nobody", '"value":"1"'), (f"daemon, {nobody}", '"value":"1"')):
            self.write("config/control.prs", f"users = {users}\n" if users else "")
            host = self.start()
            done = subprocess.run([sys.executable, "-c", STRANGER, str(nobody), str(self.path)],
                                  capture_output=True, text=True, check=False, timeout=LIMIT)
            self.assertIn(expected, done.stdout, done.stderr)
            self.stop(host)

    @unittest.skipUnless(os.geteuid() == 0, "only root can become another user")
    def test_root_is_served_by_the_host_of_another_user(self):
        nobody = self.open_for_nobody()
        for path in (self.dir, *self.dir.rglob("*")):
            os.chown(path, nobody, nobody)
        self.start(user=nobody, group=nobody, extra_groups=[])
        self.assertEqual(nobody, self.path.stat().st_uid)
        self.assertEqual("1\n", self.ctl("get", "test.talker", "size").stdout)


class Stop(ControlTest):
    def test_waiting_clients_get_a_last_line(self):
        host = self.start()
        clients = [self.connect() for _ in range(3)]
        clients[0].ask("event-watch", topic="test.topic")
        clients[1].ask("log-tail", log="talk.log", follow=True)
        clients[2].ask("status")
        host.send_signal(signal.SIGTERM)
        for client in clients:
            self.assertEqual({"v": 1, "notice": "stopping"}, client.line())
            self.assertIsNone(client.line())
        self.assertEqual(0, host.wait(LIMIT))

    def test_a_client_that_never_reads_does_not_delay_the_stop(self):
        host = self.start()
        client = self.connect()
        client.send(b'{"v":1,"op":"status"}\n' * 80)
        self.assertEqual("1\n", self.ctl("get", "test.talker", "size").stdout)
        code, errors = self.stop(host)
        self.assertEqual(0, code, errors)

    def test_a_stop_waits_for_a_listener_that_runs(self):
        host = self.start()
        self.result("set", "test.talker", "size", "5")
        client = self.connect()
        client.send(b'{"v":1,"op":"event-send","topic":"test.sleep","number":1000}\n')
        time.sleep(0.2)  # the test is weaker, and still passes, if the event is sent later
        code, errors = self.stop(host)
        self.assertEqual(0, code, errors)
        self.assertNotIn("Calls that do not leave", (self.dir / "core.log").read_text())
        self.assertNotIn("timeout!", (self.dir / "core.log").read_text())

    def test_the_host_can_be_started_again_and_again(self):
        for _ in range(3):
            host = self.start("core.free.plugins.lib=false")
            self.assertEqual("1\n", self.ctl("get", "test.talker", "size").stdout)
            self.assertEqual(0, self.stop(host)[0])


class Clients(ControlTest):
    def memory(self):
        return self.result("status")["memory"]["private"]

    def assert_small_growth(self, before):
        """Not with the address sanitizer, which delays the release of memory on purpose."""
        status = self.result("status")
        if not any("libasan" in library["path"] for library in status["libraries"]):
            self.assertLess(status["memory"]["private"] - before, 4 * 1024 * 1024)

    def test_200_clients_are_served_at_once(self):
        self.start()
        clients = [self.connect() for _ in range(200)]
        for number, client in enumerate(clients):
            client.send(b'{"v":1,"op":"event-watch","topic":"test.topic"}\n'
                        b'{"v":1,"op":"event-send","topic":"test.%d","number":1}\n' % number)
        for number, client in enumerate(clients):
            self.assertTrue(client.line()["ok"])
            self.assertEqual(f"test.{number}", client.line()["result"]["topic"])
        self.result("event", "send", "test.topic", "7")
        for client in clients:
            self.assertEqual(7, client.line()["number"])

    def test_more_connections_than_the_limit_are_refused(self):
        self.write("config/control.prs", "connections = 2\n")
        self.start()
        clients = [self.connect(), self.connect()]
        for client in clients:
            self.assertTrue(client.ask("check")["ok"])
        third = self.connect()
        self.assertEqual("too-many", third.line()["error"])
        self.assertIsNone(third.line())
        clients[0].close()
        wait_for(self.is_served, "a place")

    def is_served(self):
        reply = self.ask_quietly(self.connect())
        return reply and reply["ok"]

    def test_a_host_without_descriptors_refuses_and_recovers(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_NOFILE, (24, 24))

        host = self.start(preexec_fn=limit)
        clients = [self.connect() for _ in range(30)]
        replies = [self.ask_quietly(client) for client in clients]
        kinds = {reply["error"] for reply in replies if reply and not reply["ok"]}
        self.assertEqual({"too-many"}, kinds)
        self.assertTrue(any(reply and reply["ok"] for reply in replies))
        before = self.processor_time(host.pid)
        time.sleep(0.5)
        self.assertLess(self.processor_time(host.pid) - before, 0.3)
        for client in clients:
            client.close()
        wait_for(lambda: self.ctl("check").returncode == 0, "the host serves again")

    @staticmethod
    def ask_quietly(client):
        try:
            return client.ask("event-send", topic="a", number=1)
        except OSError:
            return client.line()

    @staticmethod
    def processor_time(pid):
        fields = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def test_a_watcher_that_never_reads_is_dropped(self):
        self.write("config/control.prs", "queue.size = 65536\n")
        self.start()
        watcher = self.connect()
        watcher.ask("event-watch", topic="test.drop")
        before = self.memory()
        self.result("event", "send", "test.storm", "100000")
        sent = wait_for(lambda: re.search(r"sent 100000, slowest (\d+) ms", self.log()),
                        "the end of the storm")
        self.assertLess(int(sent[1]), 5000)
        self.assert_small_growth(before)
        numbers = []
        while (line := watcher.line()) is not None and "number" in line:
            numbers.append(line["number"])
        self.assertEqual(list(range(len(numbers))), numbers)
        self.assertLess(len(numbers), 100000)
        self.assertFalse(self.result("event", "send", "test.drop", "1")["listeners"])

    def test_requests_without_reading_the_replies_are_dropped(self):
        self.write("config/control.prs", "queue.size = 65536\nrate = 100000\n")
        self.start()
        client = self.connect()
        before = self.memory()
        with self.assertRaises((BrokenPipeError, ConnectionResetError)):
            for _ in range(100000):
                client.send(b'{"v":1,"op":"status"}\n')
        self.assert_small_growth(before)

    def test_a_client_that_stalls_is_dropped(self):
        self.write("config/control.prs", "stall.seconds = 1\nqueue.size = 67108864\n")
        self.start()
        client = self.connect()
        client.send(b'{"v":1,"op":"status"}\n' * 90)
        wait_for(lambda: self.is_closed(client), "the end of the connection")

    @staticmethod
    def is_closed(client):
        try:
            client.send(b"\n")
            return False
        except (BrokenPipeError, ConnectionResetError):
            return True

    def test_a_log_is_read_as_fast_as_the_client_reads(self):
        self.start()
        self.write("log/own.log", "")
        client = self.connect()
        client.ask("log-tail", log="own.log", follow=True)
        before = self.memory()
        lines = [f"line {number} {'x' * 100}" for number in range(50000)]
        self.write("log/own.log", "".join(f"{line}\n" for line in lines))
        self.ctl("check")
        self.assert_small_growth(before)
        for line in lines[:2000]:
            self.assertEqual(line, client.line()["text"])

    def test_half_a_request_waits_and_is_forgotten(self):
        self.start()
        client = self.connect()
        client.send(b'{"v":1,"op":')
        self.assertEqual("1\n", self.ctl("get", "test.talker", "size").stdout)
        client.send(b'"get","id":"test.talker","key":"size"}\n{"v":1')
        self.assertEqual("1", client.line()["result"]["value"])
        client.socket.shutdown(socket.SHUT_WR)
        self.assertIsNone(client.line())

    def test_a_request_before_the_end_of_the_input_is_answered(self):
        self.start()
        client = self.connect()
        client.send(b'{"v":1,"op":"get","id":"test.talker","key":"size"}\n')
        client.socket.shutdown(socket.SHUT_WR)
        self.assertEqual("1", client.line()["result"]["value"])
        self.assertIsNone(client.line())

    def test_too_many_watches_are_refused(self):
        self.write("config/control.prs", "rate = 1000\n")
        self.start()
        client = self.connect()
        replies = [client.ask("event-watch", topic=f"test.{i}") for i in range(65)]
        self.assertEqual([True] * 64 + [False], [reply["ok"] for reply in replies])
        self.assertEqual("too-many", replies[64]["error"])

    def test_an_idle_host_never_wakes_up(self):
        host = self.start()
        client = self.connect()
        client.ask("event-watch", topic="test.topic")
        threads = self.result("status")["threads"]
        thread = next(t["id"] for t in threads if t["name"] == "ixlal-control")
        status = Path(f"/proc/{host.pid}/task/{thread}/status")
        blocked = int(re.search(r"^SigBlk:\s*(\w+)", status.read_text(), re.M)[1], 16)
        self.assertTrue(blocked >> (signal.SIGTERM - 1) & 1)
        # At first it has the connection of the tool to close.
        wait_for(lambda: self.rests(status, 2), "the thread rests")

    @staticmethod
    def switches(status):
        return [line for line in status.read_text().splitlines() if "ctxt" in line]

    def rests(self, status, seconds):
        before = self.switches(status)
        time.sleep(seconds)
        return before == self.switches(status)


class BadRequests(ControlTest):
    LINES = (b"", b" ", b"{", b"}", b"[]", b"null", b"{}", b'{"v":1}', b'{"op":"status"}',
             b'{"v":1,"op":"nothing"}', b'{"v":1,"op":"status","more":1}', b'{"v":1,"op":7}',
             b'{"v":"1","op":"status"}', b'{"v":1,"op":"status"}x', b'{"v":1,"op":"status",}',
             b'{"v":1,"v":1,"op":"status"}', b'{"v":1.0,"op":"status"}', b'{"v":01,"op":"status"}',
             b'{"v":1e0,"op":"status"}', b'{"v":99999999999999999999,"op":"status"}',
             b'{"v":1,"op":"get","id":"a"}', b'{"v":1,"op":"get","id":"","key":"b"}',
             b'{"v":1,"op":"get","id":["a"],"key":"b"}', b'{"v":1,"op":"get","id":null,"key":"b"}',
             b'{"v":1,"op":"get","id":{"a":1},"key":"b"}', b'{"v":1,"op":"get","id":"\xff"}',
             b'{"v":1,"op":"get","id":"\\u0000","key":"b"}', b'{"v":1,"op":"\\ud800"}',
             b'{"v":1,"op":"\\udc00"}', b'{"v":1,"op":"\\ud800\\u0041"}', b'{"v":1,"op":"\\x"}',
             b'{"v":1,"op":"a\tb"}', b'{"v":1,"op":"get\x00"}', b"{'v':1,'op':'status'}",
             b'{"v":1,"op":"event-send","topic":"a","number":2147483648}',
             b'{"v":1,"op":"event-send","topic":"a","number":true}',
             b'{"v":1,"op":"log-level","log":"core","level":-1}',
             b'{"v":1,"op":"log-tail","log":"core","lines":1001}',
             b'{"v":1,"op":"log-tail","log":"core","follow":1}',
             b'{"v":1,"op":"status",' + b",".join(b'"m%d":1' % i for i in range(20)) + b"}",
             b"[" * 10000, b'{"a":' * 2000, b"\x80\xfe\xff")

    def test_each_gets_an_error_and_the_next_request_is_answered(self):
        self.start()
        for line in self.LINES:
            client = self.connect()
            client.send(line + b"\n")
            reply = client.line()
            self.assertEqual(("bad-request", False), (reply["error"], reply["ok"]), line[:80])
            self.assertTrue(client.ask("check")["ok"], line[:80])
            client.close()

    def test_a_long_request_ends_the_connection(self):
        self.write("config/control.prs", "request.size = 1000\n")
        self.start()
        request = b'{"v":1,"op":"check"}'
        client = self.connect()
        client.send(request.ljust(1000) + b"\n")
        self.assertTrue(client.line()["ok"])
        for sent in (request.ljust(1001) + b"\n", b"x" * 5000):
            client = self.connect()
            client.send(sent)
            self.assertEqual("too-large", client.line()["error"])
            self.assertIsNone(client.line())

    def test_too_many_requests_end_the_connection(self):
        self.write("config/control.prs", "rate = 10\n")
        self.start()
        client = self.connect()
        client.send(b'{"v":1,"op":"event-send","topic":"a","number":1}\n' * 60)
        replies = []
        while (line := client.line()) is not None:
            replies.append(line)
        self.assertEqual("too-fast", replies[-1]["error"])
        self.assertLessEqual(10, len(replies))
        self.assertLess(len(replies), 60)
        self.assertTrue(self.connect().ask("check")["ok"])

    def test_random_requests_never_harm_the_host(self):
        self.write("config/control.prs", "rate = 1000000\n")
        host = self.start()
        seed = int(os.environ.get("IXLAL_SEED", "20261122"))
        chance = random.Random(seed)
        client = self.connect()
        for number in range(3000):
            line = self.random_line(chance)
            try:
                client.send(line + b"\n")
                reply = client.line()
            except OSError:
                reply = None
            if reply is None:
                client.close()
                client = self.connect()
            else:
                self.assertIn(reply.get("v"), (1,), (seed, number, line))
        self.assertIsNone(host.poll())
        self.assertTrue(self.connect().ask("get", id="test.talker", key="size")["v"])

    def random_line(self, chance):
        """A valid request, with some changes."""
        members = {"id": chance.choice(("test.talker", "a|b", "ä", "")), "key": "size",
                   "value": "x" * chance.randrange(40), "attribute": chance.choice(("", "unit")),
                   "topic": chance.choice(("test.topic", "event.core.exit", "")),
                   "number": chance.randrange(-2**40, 2**40), "log": chance.choice(
                       ("talk.log", "core", "../core.log", "nothing", "")),
                   "level": chance.randrange(-2, 10), "lines": chance.randrange(-2, 1200),
                   "follow": False}
        names = chance.sample(list(members), chance.randrange(5))
        operation = chance.choice(("get", "explain", "set", "unset", "log-level", "log-tail",
                                   "event-send", "event-watch", "watch", "none"))
        wanted = {"v": 1, "op": operation, **{name: members[name] for name in names}}
        line = bytearray(json.dumps(wanted, ensure_ascii=chance.random() < 0.5).encode())
        for _ in range(chance.choice((0, 0, 1, 1, 3, 20))):
            place = chance.randrange(len(line) or 1)
            change = chance.randrange(3)
            if change == 0 and line:
                line[place % len(line)] = chance.randrange(256)
            elif change == 1:
                del line[place:place + chance.randrange(1, 9)]
            else:
                line[place:place] = chance.choice((b'"', b"{", b"\\u", b"[", b"\\", b"\xf0", b"1e9"))
        return bytes(line).replace(b"\n", b" ")


if __name__ == "__main__":
    unittest.main(verbosity=2)
