#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the commands that a document shows for a broken host, and compares what they print:
check_cases.py DOCUMENT BUILD

In a block "```console CASE" a line that begins with "$ " is a command, and the lines up to the next
one are all that it prints on both streams; "…" stands for anything in a line. Each case of CASES has
a block, which runs in a directory with that fault. A block "```prs FILE" is written as that file into
all of them."""

import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tools/shared"))
from other_user import readable_copy  # noqa: E402 pylint: disable=wrong-import-position

BLOCK = re.compile(r"^```(prs|console) (\S+)\n(.*?)^```$", re.M | re.S)
LIMIT = 300  # seconds for a command, or for a host to get into its state
HOST = ["ixla-host", "--prs", "core.prs", "core.log.file=core.log"]
NOBODY = 65534


class Unavailable(Exception):
    """The text says why a case cannot be produced here."""


class Place:
    """The directory of a host, and what runs there."""

    def __init__(self, directory: Path, build: Path) -> None:
        self.dir = directory
        self.build = build
        self.user: int | None = None  # of the commands
        self.environment = os.environ | {
            "PATH": f"{build / 'bin'}:{os.environ['PATH']}", "LC_ALL": "C"}
        for name in ("plugins", "config", "log"):
            (directory / name).mkdir()
        for name in ("ui", "net", "disk"):
            self.add_plugin(name, "paced")
        self.write("config/store.txt", "com.example.net|port = 8080\ncom.example.net|peers = 4\n")

    def add_plugin(self, name: str, kind: str) -> None:
        shutil.copy(self.build / f"plugins/{kind}/lib{kind}.so", self.dir / f"plugins/lib{name}.so")

    def write(self, name: str, text: str) -> None:
        (self.dir / name).write_text(text)

    def replace(self, name: str, old: str, new: str) -> None:
        text = (self.dir / name).read_text() if (self.dir / name).exists() else ""
        self.write(name, text.replace(old, new))

    def run(self, command: str) -> str:
        done = subprocess.run(["bash", "-c", command], cwd=self.dir, env=self.environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, user=self.user, text=True, check=False,
                              timeout=LIMIT)
        return done.stdout

    def start_host(self) -> subprocess.Popen:
        with open(self.dir / "out.txt", "w", encoding="utf-8") as out:
            return subprocess.Popen(HOST, cwd=self.dir, env=self.environment, stdout=out,
                                    stderr=out, stdin=subprocess.DEVNULL)

    def await_log(self, text: str, count: int) -> None:
        end = time.monotonic() + LIMIT
        log = self.dir / "core.log"
        while not log.exists() or log.read_text(errors="replace").count(text) < count:
            if time.monotonic() > end:
                raise TimeoutError(f"core.log does not have {count} times: {text}")
            time.sleep(0.05)


def _plugins_directory_missing(place: Place) -> None:
    place.replace("core.prs", "core.plugins.dir = plugins", "core.plugins.dir = plugin")


def _list_misspelt(place: Place) -> None:
    place.replace("core.prs", "core.autostart.list = ui", "core.autostart.list = iu")


def _store_cut(place: Place) -> None:
    place.write("config/store.txt", "com.example.net|port = 8080\ncom.example.net|pe")


def _root_wrote_the_store(place: Place) -> None:
    if os.geteuid() != 0:
        raise Unavailable("only root can write a file as root")
    for path in (place.dir.parent, place.dir):
        path.chmod(0o755)
    for path in (place.dir, *place.dir.rglob("*")):
        os.chown(path, NOBODY, NOBODY)
    os.chown(place.dir / "config/store.txt", 0, 0)
    (place.dir / "config/store.txt").chmod(0o600)
    place.user = NOBODY
    programs = Path(readable_copy(str(place.build / "bin/ixla-host"))).parent
    place.environment["PATH"] = f"{programs}:{place.environment['PATH']}"


def _plugin_crashed_in_init(place: Place) -> None:
    place.add_plugin("net", "crashing")
    place.environment |= {"CRASH": "null", "PACE_ui": "ask net"}
    place.replace("core.prs", "core.autostart.list = ui", "core.autostart.list = disk, net")


def _host_hangs(place: Place) -> subprocess.Popen:
    place.environment |= {"PACE_ui": "thread disk,sleep 300,ask net", "PACE_net": "sleep 600,ask disk",
                          "PACE_disk": "sleep 900,ask net"}
    host = place.start_host()
    place.environment["PID"] = str(host.pid)
    place.await_log("Waiting other thread", 2)
    return host


def _core_dump_only(place: Place) -> None:
    place.environment["CRASH"] = "null"
    place.add_plugin("net", "crashing")
    place.replace("core.prs", "core.autostart.list = ui", "core.autostart.list = disk, net")
    subprocess.run(["gdb", "-nx", "-batch", "-ex", "run", "-ex",
                    f"generate-core-file {place.dir / 'core'}", "--args",
                    str(place.build / "bin/ixla-host"), *HOST[1:]], cwd=place.dir,
                   env=place.environment, check=True, stdin=subprocess.DEVNULL,
                   capture_output=True, timeout=LIMIT)
    (place.dir / "core.log").unlink()


def _start_slower(place: Place) -> None:
    for pause in (20, 300):
        place.environment |= {"PACE_ui": "ask net", "PACE_net": f"sleep {pause}"}
        place.run(" ".join([*HOST, "core.free.plugins.lib=false", "--seconds", "0"]))


CASES: dict[str, Callable[[Place], subprocess.Popen | None]] = {
    "plugins-directory-missing": _plugins_directory_missing,
    "list-misspelt": _list_misspelt,
    "store-cut": _store_cut,
    "root-wrote-the-store": _root_wrote_the_store,
    "plugin-crashed-in-init": _plugin_crashed_in_init,
    "host-hangs": _host_hangs,
    "core-dump-only": _core_dump_only,
    "start-slower": _start_slower}


def _end(host: subprocess.Popen) -> None:
    host.send_signal(signal.SIGKILL)
    host.wait()


def replay(place: Place, case: str, session: str) -> str:
    """The session as it is now."""
    host = CASES[case](place)
    try:
        commands = [line for line in session.splitlines() if line.startswith("$ ")]
        return "".join(f"{line}\n{place.run(line[2:])}" for line in commands)
    finally:
        if host:
            _end(host)


def is_alike(shown: str, now: str) -> bool:
    pattern = re.escape(shown).replace("…", ".*")
    return re.fullmatch(pattern, now) is not None


def check(case: str, session: str, files: dict[str, str], build: Path) -> str | None:
    """What the session prints now, if that is not what the document shows."""
    with tempfile.TemporaryDirectory() as directory:
        home = Path(directory, "host")
        home.mkdir()
        place = Place(home, build)
        for name, text in files.items():
            place.write(name, text)
        begin = time.monotonic()
        try:
            now = replay(place, case, session)
        except Unavailable as reason:
            print(f"SKIPPED {case}: {reason}")
            return None
    print(f"{case}: {time.monotonic() - begin:.1f} s")
    return None if is_alike(session, now) else now


def main() -> int:
    os.umask(0o022)  # the page shows the usual modes
    document, build = Path(sys.argv[1]), Path(sys.argv[2]).resolve()
    blocks = BLOCK.findall(document.read_text())
    files = {name: text for kind, name, text in blocks if kind == "prs"}
    sessions = {name: text for kind, name, text in blocks if kind == "console"}
    wrong = sorted(set(CASES) ^ set(sessions))
    for case in wrong:
        print(f"{document.name}: {case} is not both a case and a block", file=sys.stderr)
    for case in sorted(set(CASES) & set(sessions)):
        now = check(case, sessions[case], files, build)
        if now is not None:
            wrong.append(case)
            print(f"{document.name}: {case} prints now\n{now}", file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
