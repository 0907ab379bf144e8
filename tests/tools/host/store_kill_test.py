# SPDX-License-Identifier: MIT
"""Kills a host that stores values, and restarts it from the copies of --keep-store:
store_kill_test.py HOST CONFIG PLUGIN KILLER [KILLS]
Half of the kills are at random times, half at random calls on the files of the store, some of them
in `ixla-config restore`. IXLAL_STORE_SEED repeats a run of kills at calls."""

import collections
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

HOST, CONFIG, PLUGIN, KILLER = sys.argv[1:5]
KILLS = int(sys.argv[5]) if len(sys.argv) > 5 else 1000
WORKERS = 4
LIMIT = 60  # seconds for one process
COPIES = 2
LONGEST = 0.06  # seconds until a kill at a random time
MOST_CALLS = 120
FEW_CALLS = 40
STORE_FAILED = 9  # of the plugin, whose exit code is that of the host
ENTRY = re.compile(r"net\|(k\d\d) = (\d+)\.x*")


def numbers(path):
    """The number of each stored value; empty for a store that is missing or damaged."""
    text = path.read_text() if path.exists() else ""
    entries = [ENTRY.fullmatch(line) for line in text.splitlines()]
    if not text.endswith("\n") or not all(entries):
        return {}
    return {entry[1]: int(entry[2]) for entry in entries}


class Trial:
    """One directory with a host that is started and killed again and again."""

    def __init__(self, seed, directory):
        self.random = random.Random(seed)
        self.dir = Path(directory)
        self.store = self.dir / "config/store.txt"
        self.tally = collections.Counter()
        self.next_number = 1
        self.last_start = {}
        for name in ("plugins", "config", "log"):
            (self.dir / name).mkdir()
        shutil.copy(PLUGIN, self.dir / "plugins")
        (self.dir / "config/ixlap.configmanager.prs").write_text(
            "net = net.prs\nixlap.configmanager.store.file = store.txt\n")

    def launch(self, *command, at_call=-1):
        environment = {**os.environ, "FIRST": str(self.next_number)}
        if at_call >= 0:
            environment |= {"LD_PRELOAD": KILLER, "KILL_AT": str(at_call),
                            "KILL_SHARE": str(self.random.randrange(1000))}
        return subprocess.Popen(command, cwd=self.dir, env=environment, text=True,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE)

    @staticmethod
    def finish(process):
        """Returns its output. One that hangs does not outlive the test."""
        try:
            return process.communicate(timeout=LIMIT)
        finally:
            process.kill()
            process.wait()

    def kill_host(self, most_calls=MOST_CALLS):
        is_at_call = most_calls < MOST_CALLS or self.random.random() < 0.5
        at_call = self.random.randrange(most_calls) if is_at_call else -1
        pause = self.random.random() * LONGEST
        host = self.launch(HOST, "--keep-store", str(COPIES), "core.plugins.dir=plugins",
                           "core.plugins.config.dir=config", "core.plugins.log.dir=log",
                           "core.autostart.list=" + Path(PLUGIN).name, at_call=at_call)
        if at_call < 0:
            time.sleep(pause)
            host.kill()
        _, err = self.finish(host)
        if host.returncode == STORE_FAILED:  # on a damaged store
            assert self.has_lost() or not self.last_start, err
            if not self.last_start:
                self.store.unlink()  # killed before the first values were in it
            return
        assert host.returncode == -signal.SIGKILL, (host.returncode, err)
        self.tally["at a call" if at_call >= 0 else "at a time"] += 1
        self.next_number += 1_000_000

    def has_lost(self):
        now = numbers(self.store)
        return any(now.get(key, -1) < number for key, number in self.last_start.items())

    def restore(self):
        """Restores the store; sometimes the tool is killed and run again."""
        if self.random.random() < 0.3:
            tool = self.launch(CONFIG, "--dir", "config", "restore",
                               at_call=self.random.randrange(8))
            self.finish(tool)
            self.tally["at a call of restore"] += tool.returncode == -signal.SIGKILL
            if not self.has_lost():
                return
        tool = self.launch(CONFIG, "--dir", "config", "restore")
        out, err = self.finish(tool)
        assert tool.returncode == 0, (out, err)
        self.tally["restored from " + re.search(r"from config/store.txt\.(\w+)", out)[1]] += 1

    def round(self):
        self.kill_host()
        if not self.has_lost():
            self.last_start = numbers(self.store) or self.last_start
            self.tally["kept"] += 1
            return
        if self.random.random() < 0.5:
            # On the damaged store; killed before all values are stored again.
            self.kill_host(FEW_CALLS)
            self.tally["started without a restore"] += 1
            if not self.has_lost():
                return
        self.restore()
        assert not self.has_lost(), (self.last_start, numbers(self.store))
        # These values are in the store that the next start copies.
        self.last_start = numbers(self.store)

    def kills(self):
        return sum(self.tally[where] for where in ("at a call", "at a time",
                                                   "at a call of restore"))


def run(trial, kills, failures):
    try:
        while trial.kills() < kills and not failures:
            trial.round()
    except (AssertionError, subprocess.SubprocessError, OSError) as error:
        failures.append(f"{type(error).__name__}: {error}")


def main():
    seed = int(os.environ.get("IXLAL_STORE_SEED", random.randrange(1 << 31)))
    print(f"IXLAL_STORE_SEED={seed}", flush=True)
    failures, tally = [], collections.Counter()
    with tempfile.TemporaryDirectory() as directory:
        trials = []
        for number in range(WORKERS):
            (Path(directory) / str(number)).mkdir()
            trials.append(Trial(seed + number, Path(directory) / str(number)))
        workers = [threading.Thread(target=run, args=(trial, KILLS // WORKERS, failures))
                   for trial in trials]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        for trial in trials:
            tally += trial.tally
    for what, count in sorted(tally.items()):
        print(f"{count:5} {what}")
    # Without each of these outcomes the test would prove nothing.
    for what, least in (("at a call", KILLS // 10), ("at a time", KILLS // 10),
                        ("at a call of restore", KILLS // 50), ("kept", KILLS // 50),
                        ("restored from 1", KILLS // 50), ("restored from held", 1)):
        if tally[what] < least:
            failures.append(f"only {tally[what]} {what}")
    print("\n".join(failures) or "no value older than the last start was lost")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
