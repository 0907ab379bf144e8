# SPDX-License-Identifier: MIT
"""Tests of the requests to a running host; for the arguments see control_host.py."""

import json
import os
import re
import shutil
import signal
import subprocess
import unittest

from control_host import CTL, LIMIT, MANAGER, ControlTest, wait_for


class Status(ControlTest):
    def test_shows_the_host(self):
        host = self.start()
        status = self.result("status")
        self.assertEqual(host.pid, status["process"])
        self.assertLess(0, status["uptime"])
        self.assertLess(0, status["memory"]["private"])
        self.assertLessEqual(status["memory"]["private"], status["memory"]["peak"])
        self.assertEqual([host.pid], [t["id"] for t in status["threads"]][:1])
        self.assertIn("ixlal-control", [t["name"] for t in status["threads"]])
        self.assertEqual(256, status["limits"]["connections"])
        self.assertEqual(0, status["limits"]["core.plugins.log.maxsize"])

    def test_lists_libraries_with_their_build_ids(self):
        self.start()
        libraries = self.result("status")["libraries"]
        # An emulator opens the files of another directory than those that it names.
        emulated = tuple(filter(None, [os.environ.get("QEMU_LD_PREFIX") and "/lib/"]))
        for library in libraries:
            if library["path"].startswith(emulated):
                continue
            notes = subprocess.run(["readelf", "-n", library["path"]], capture_output=True,
                                   text=True, check=True).stdout
            found = re.search(r"Build ID: (\w+)", notes)
            self.assertEqual(found[1] if found else "", library["buildId"], library)
            self.assertEqual(os.stat(library["path"]).st_size, library["size"])
        self.assertRegex(libraries[0]["path"], "/ixla-host(.elf)?$")

    def test_initialises_no_plugin(self):
        self.start()
        for _ in range(2):
            for command in ("status", "check"):
                self.ctl(command)
            states = {i["id"]: i["state"] for i in self.result("status")["interfaces"]}
            self.assertEqual("loaded", states["com.example.greeter"])
            self.assertEqual("initialised", states["test.talker"])
        greeter = [i for i in self.result("status")["libraries"] if "greeter" in i["path"]]
        self.assertEqual(["com.example.greeter"], greeter[0]["interfaces"])

    def test_reads_a_log_that_was_deleted(self):
        self.start()
        (self.dir / "core.log").unlink()
        status = self.result("status")
        self.assertTrue(status["startKnown"])
        self.assertRegex([log["path"] for log in status["logs"] if log["core"]][0], " .deleted.$")

    def test_omits_the_interfaces_of_an_unloaded_plugin(self):
        host = self.start()
        with open(self.dir / "core.log", "a", encoding="ascii") as log:
            log.write(f"2026-05-04 10:25:01.007 {host.pid}:1 D Core [ixlaUnloadPlugin] Remove "
                      "interface ID: com.example.greeter\n")
        interfaces = [i["id"] for i in self.result("status")["interfaces"]]
        self.assertIn("test.talker", interfaces)
        self.assertNotIn("com.example.greeter", interfaces)

    def test_counts_lines_and_lost_lines(self):
        self.start()
        with open(self.dir / "core.log", "a", encoding="ascii") as log:
            log.write("2026-05-04 10:25:01.007 1:1 E Core [PLogger] Lost lines: 12 err: -28\n")
        self.result("event", "send", "test.talk", "0")
        logs = {log["name"]: log for log in self.result("status")["logs"]}
        self.assertEqual((12, True), (logs["core.log"]["lost"], logs["core.log"]["core"]))
        self.assertEqual(len((self.dir / "core.log").read_text().splitlines()),
                         logs["core.log"]["lines"])
        self.assertIn("talk.log", logs)

    def test_knows_interfaces_of_the_configuration_without_a_core_log(self):
        self.start("core.log.enable=false")
        status = self.result("status")
        self.assertFalse(status["startKnown"])
        states = {i["id"]: i["state"] for i in status["interfaces"]}
        self.assertEqual("unknown", states["test.talker"])

    def test_is_a_page_for_people(self):
        self.start()
        done = self.ctl("status")
        self.assertEqual(0, done.returncode, done.stderr)
        self.assertRegex(done.stdout, r"(?m)^  .*/libgreeter\.so +\S+ \w+ +\w+ +loaded: com\.")


class Values(ControlTest):
    def test_a_value_is_set_and_unset_and_listeners_are_notified(self):
        self.start()
        self.assertEqual("1", self.result("get", "test.talker", "size")["value"])
        for value in ("2", "3", ""):
            done = self.result("set", "test.talker", "size", value)
            self.assertEqual((value, True), (done["value"], done["effective"]))
            wait_for(lambda v=value: f"changed: size = {v}" in self.log(), "the listener")
        self.assertEqual("1", self.result("unset", "test.talker", "size")["value"])
        self.assertIsNone(self.result("unset", "test.talker", "nothing")["value"])

    def test_an_attribute_needs_a_value_that_was_set(self):
        self.start()
        named = ("test.talker", "size", "--attribute", "unit")
        done = self.ctl("set", *named, "mm")
        self.assertEqual(1, done.returncode)
        self.assertIn("eIxlaNoValueForAttribute", done.stderr)
        self.result("set", "test.talker", "size", "2")
        for unit in ("mm", "cm"):
            self.result("set", *named, unit)
            self.assertEqual(unit, self.result("get", *named)["value"])
        self.result("unset", *named)
        self.assertEqual(1, self.ctl("get", *named).returncode)

    def test_a_pinned_value_stays(self):
        self.start()
        done = self.result("set", "test.talker", "port", "81")
        self.assertEqual(("80", False), (done["value"], done["effective"]))
        found = self.result("explain", "test.talker", "port")
        self.assertEqual(("80", "file", True), (found["value"], found["source"], found["pinned"]))

    def test_the_source_is_explained(self):
        self.write("config/store.txt", "test.talker|mode = kept\ntest.talker|last = a\n"
                                       "test.talker|last:const = yes\n")
        self.start()
        expected = {"size": ("1", "file"), "mode": ("kept", "store"), "last": ("a", "store")}
        for key, (value, source) in expected.items():
            found = self.result("explain", "test.talker", key)
            self.assertEqual((value, source), (found["value"], found["source"]), key)
        lines = self.result("explain", "test.talker", "mode")["lines"]
        self.assertEqual([("config/store.txt", 1, True)],
                         [(line["file"], line["line"], line["stored"]) for line in lines])
        for value in ("7", "1"):
            self.result("set", "test.talker", "size", value)
            found = self.result("explain", "test.talker", "size")
            self.assertEqual((value, "run-time"), (found["value"], found["source"]))

    def test_unknown_and_forbidden_names_are_refused(self):
        self.start()
        for command in (("get", "test.talker", "nothing"), ("explain", "test.nobody", "nothing")):
            done = self.ctl(*command)
            self.assertEqual(1, done.returncode)
            self.assertIn("no value: ", done.stderr)
        done = self.ctl("set", "test.talker", "a=b", "c")
        self.assertEqual(1, done.returncode)
        self.assertIn("eIxlaForbiddenCharacter", done.stderr)

    def test_texts_of_all_kinds_survive(self):
        self.start()
        for value in ("ä€𝄞", 'a "quoted" \\ text', "tab\tbell\a", " blanks "):
            self.assertEqual(value, self.result("set", "test.talker", "text", value)["value"])
            self.assertEqual(value, self.result("get", "test.talker", "text")["value"])

    def test_a_value_that_is_no_utf8_is_shown(self):
        (self.dir / "config/talker.prs").write_bytes(b"name = a\xffb\n")
        self.start()
        self.assertEqual("a\ufffdb", self.result("get", "test.talker", "name")["value"])

    def test_changes_are_watched(self):
        self.start()
        watcher = self.connect()
        self.assertTrue(watcher.ask("watch", id="test.talker")["ok"])
        self.assertTrue(watcher.ask("watch", id="test.talker")["ok"])
        self.result("set", "test.talker", "size", "5")
        self.assertEqual({"v": 1, "notice": "config", "id": "test.talker", "key": "size",
                          "value": "5"}, watcher.line())
        self.result("set", "test.talker", "size", "--attribute", "unit", "mm")
        self.assertEqual({"v": 1, "notice": "config", "id": "test.talker", "key": "size",
                          "attribute": "unit", "value": "mm"}, watcher.line())


class Logs(ControlTest):
    def test_the_level_of_a_plugins_log_is_set(self):
        self.start()
        self.result("event", "send", "test.talk", "5")
        self.assertEqual(5, self.result("log", "level", "talk.log", "5")["level"])
        self.result("event", "send", "test.talk", "5")
        self.assertEqual(1, self.log().count("level 5"))
        self.result("log", "level", "ixlaplugins.log", "2000")
        self.result("event", "send", "test.talk", "5")
        self.assertIn("test.talk", self.log("ixlaplugins.log"))

    def test_only_logs_in_use_have_a_level(self):
        self.start()
        self.write("log/old.log", "")
        for name, reason in (("nothing.log", "no log"), ("core", "core.log.level"),
                             ("core.log", "core.log.level"), ("old.log", "no plugin uses"),
                             ("../core.log", "no directory"), (".", "no directory")):
            done = self.ctl("log", "level", name, "1")
            self.assertEqual(1, done.returncode, name)
            self.assertIn(reason, done.stderr)
        self.assertFalse((self.dir / "log/nothing.log").exists())

    def test_the_last_lines_are_shown(self):
        self.start()
        lines = (self.dir / "core.log").read_text().splitlines()
        for count in (0, 1, 3):
            done = self.ctl("log", "tail", "core", "--lines", str(count))
            self.assertEqual(lines[len(lines) - count:], done.stdout.splitlines())
        self.assertEqual(10, len(self.result("log", "tail", "core.log")["lines"]))
        self.write("log/short.log", "one\ntwo\nhalf")
        self.assertEqual(["one", "two"], self.result("log", "tail", "short.log")["lines"])

    def test_a_log_of_more_than_4_gib_is_read(self):
        self.start()
        with open(self.dir / "log/own.log", "wb") as log:
            log.seek(1 << 32)
            log.write(b"\none\ntwo\n")
        self.assertEqual(["one", "two"],
                         self.result("log", "tail", "own.log", "--lines", "2")["lines"])

    def test_a_log_is_followed_when_it_is_moved_or_truncated(self):
        self.start()
        watcher = self.connect()
        self.write("log/own.log", "one\n")
        self.assertEqual(["one"],
                         watcher.ask("log-tail", log="own.log", follow=True)["result"]["lines"])
        with open(self.dir / "log/own.log", "a", encoding="ascii") as log:
            log.write("two\nhal")
            log.flush()
            self.assertEqual("two", watcher.line()["text"])
            log.write("f\n")
        self.assertEqual("half", watcher.line()["text"])
        os.rename(self.dir / "log/own.log", self.dir / "log/own.log.1")
        self.write("log/own.log", "three\n")
        self.assertEqual("three", watcher.line()["text"])
        self.write("log/own.log", "4\n")
        self.assertEqual({"v": 1, "notice": "log", "log": "own.log", "text": "4"}, watcher.line())

    def test_only_regular_files_are_followed(self):
        self.start()
        os.mkfifo(self.dir / "log/pipe.log")
        os.symlink("/etc/passwd", self.dir / "log/link.log")
        for name in ("pipe.log", "link.log"):
            self.assertEqual(1, self.ctl("log", "tail", name).returncode)


class Events(ControlTest):
    def test_an_event_is_sent_and_watched(self):
        self.start()
        watcher = self.connect()
        self.assertTrue(watcher.ask("event-watch", topic="test.topic")["ok"])
        for number in (0, -7, 2147483647):
            self.assertTrue(self.result("event", "send", "test.topic", str(number))["listeners"])
            self.assertEqual({"v": 1, "notice": "event", "topic": "test.topic", "number": number,
                              "object": False}, watcher.line())
        self.assertFalse(self.result("event", "send", "test.nobody", "1")["listeners"])

    def test_an_event_of_a_plugin_is_watched(self):
        self.start()
        watcher = self.connect()
        watcher.ask("event-watch", topic="test.drop")
        self.result("event", "send", "test.storm", "3")
        self.assertEqual([(0, True), (1, True), (2, True)],
                         [(line["number"], line["object"])
                          for line in (watcher.line() for _ in range(3))])

    def test_the_topics_of_the_core_are_refused(self):
        self.start()
        for topic in ("event.core.exit", "event.core.start"):
            done = self.ctl("event", "send", topic, "0")
            self.assertEqual(1, done.returncode)
            self.assertIn("only the core sends", done.stderr)


class Check(ControlTest):
    def findings(self):
        done = self.ctl("--json", "check")
        result = json.loads(done.stdout)
        self.assertEqual(0 if result["healthy"] else 5, done.returncode)
        return [f"{f['what']} @ {f['where']}" for f in result["findings"]]

    def test_a_healthy_host_has_no_findings(self):
        self.start()
        self.assertEqual([], self.findings())
        self.assertEqual("Nothing is wrong.\n", self.ctl("check").stdout)

    def test_a_missing_plugins_directory_is_found(self):
        self.start()
        shutil.rmtree(self.dir / "plugins")
        self.assertRegex(self.findings()[0], "plugins directory .*No such file.*core.plugins.dir = ")

    def test_missing_libraries_are_found(self):
        self.start("core.load.plugin.list=ixlal-control,libtalker,gone",
                   "core.autostart.list=ixlal-control,lost")
        found = self.findings()
        self.assertIn("not loaded: libgone.so @ core.load.plugin.list = ", found[0])
        self.assertIn("autostart plugin is not loaded: liblost.so", found[1])
        self.assertEqual(2, len(found))

    def test_a_plugin_that_failed_is_found(self):
        self.write("config/talker.prs", "fail = yes\n")
        self.start()
        self.assertRegex(self.findings()[0],
                         "failed to initialise with -5: plugins/libtalker.so @ .*/core.log")

    def test_an_unwritable_core_log_is_found(self):
        self.start("core.log.file=/proc/nothing/core.log")
        self.assertRegex(self.findings()[0], "core log is not written.*core.log.file = /proc")

    def test_a_plugin_that_failed_is_found_without_a_log_file(self):
        self.arguments = []
        self.write("config/talker.prs", "fail = yes\n")
        self.start()
        self.assertRegex(self.findings()[0],
                         "failed to initialise with -5: plugins/libtalker.so @ plugins/libtalker")

    def test_a_core_log_in_the_property_file_is_found(self):
        with open(self.dir / "core.prs", "a", encoding="ascii") as file:
            file.write("core.log.file = other.log\n")
        self.arguments = []
        self.start()
        self.assertRegex(self.findings()[0], "from its arguments only @ core.log.file = other.log")

    def test_an_unwritable_log_directory_is_found(self):
        self.start("core.plugins.log.dir=/proc/nothing")
        self.assertRegex(self.findings()[0], "logs of plugins are not written.*/proc/nothing")

    def test_an_ignored_store_is_found(self):
        self.start()
        self.write("config/store.txt", "test.talker|size\n")
        self.assertRegex(self.findings()[0], "the store is ignored: -3001 .*config/store.txt")

    def test_ignored_configuration_files_are_found(self):
        self.start()
        self.write("config/ixlap.configmanager.prs", MANAGER + "test.other = nofile.prs\n")
        self.write("config/talker.prs", "size\n")
        found = self.findings()
        self.assertEqual(2, len(found), found)
        self.assertIn("config/nofile.prs", found[0] + found[1])
        self.assertIn("config/talker.prs", found[0] + found[1])
        self.write("config/ixlap.configmanager.prs", "broken\n")
        self.assertRegex(self.findings()[0], "list of configuration files .*-3001")


class Tool(ControlTest):
    def test_no_host_is_a_code_of_its_own(self):
        done = self.ctl("status")
        self.assertEqual(3, done.returncode)
        self.assertRegex(done.stderr, "ixla-ctl: .*/run/ixlal-control: no host answers: .*--socket")

    def test_a_stopped_host_is_a_timeout(self):
        host = self.start()
        host.send_signal(signal.SIGSTOP)
        done = self.ctl("--timeout", "0.2", "status")
        host.send_signal(signal.SIGCONT)
        self.assertEqual(4, done.returncode, done.stderr)
        self.assertIn("no answer within 0.2 seconds", done.stderr)

    def test_wrong_usage_is_refused(self):
        for arguments in ((), ("nothing",), ("get", "id"), ("log",), ("log", "level", "a", "b"),
                          ("--timeout", "0", "status"), ("--timeout", "x", "status")):
            done = self.ctl(*arguments)
            self.assertEqual((2, ""), (done.returncode, done.stdout), arguments)
            self.assertRegex(done.stderr, "^ixla-ctl.*see ixla-ctl --help\n$")

    def test_a_process_is_read_with_gdb(self):
        done = self.ctl_alone("--pid", "x")
        self.assertEqual(2, done.returncode, done.stderr)
        self.assertRegex(done.stderr, "^ixla-debug: .*--pid")
        done = self.ctl_alone("--core=/nowhere/core")
        self.assertEqual(1, done.returncode)
        self.assertRegex(done.stderr, "/nowhere/core")

    def ctl_alone(self, *arguments):
        return subprocess.run([CTL, *arguments], capture_output=True, text=True, check=False,
                              env=self.environment, timeout=LIMIT)

    def test_options_may_follow_the_command(self):
        self.start()
        done = self.ctl("get", "test.talker", "size", "--json", "--timeout", str(LIMIT),
                        "--socket", str(self.path))
        self.assertEqual("1", json.loads(done.stdout)["value"])
        self.environment["IXLAL_CONTROL"] = str(self.path)
        self.environment["XDG_RUNTIME_DIR"] = "/nowhere"
        self.assertEqual("1\n", self.ctl("get", "test.talker", "size").stdout)

    def test_watching_ends_with_the_host(self):
        host = self.start()
        for arguments, expected in ((("watch", "test.talker"), "test.talker size = 5\n"),
                                    (("event", "watch", "a.topic"), "a.topic 3\n")):
            with self.subTest(arguments):
                self.watch_until_stop(host, arguments, expected)
                host = self.start()

    def watch_until_stop(self, host, arguments, expected):
        output = self.dir / "output"
        with open(output, "w", encoding="utf-8") as file:
            watcher = subprocess.Popen([CTL, *arguments], env=self.environment, text=True,
                                       stdout=file, stderr=subprocess.PIPE)
        self.addCleanup(self.end, watcher)

        def heard():  # repeated until the watcher has subscribed
            self.result("set", "test.talker", "size", "5")
            self.result("event", "send", "a.topic", "3")
            return output.read_text(encoding="utf-8")

        text = wait_for(heard, "a notice")
        self.assertTrue(text.startswith(expected), text)
        self.assertEqual(0, self.stop(host)[0])
        self.assertEqual(0, watcher.wait(LIMIT))
        self.assertEqual("ixla-ctl: the host stops\n", watcher.stderr.read())

    def test_an_unknown_version_is_refused_on_both_sides(self):
        self.start()
        client = self.connect()
        client.send(b'{"v":2,"op":"status"}\n')
        reply = client.line()
        self.assertEqual(("bad-request", False), (reply["error"], reply["ok"]))
        self.assertIn("this host has version 1", reply["text"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
