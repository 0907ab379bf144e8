# SPDX-License-Identifier: MIT
"""Makes starts of many plugins for the tests of ixla-report.

start_maker.py HOST PLUGIN DIRECTORY writes new logs of real cores for the reference pictures;
reference_test.py then writes the pictures."""

import gzip
import random
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True
import log_text

COUNTS = (3, 60, 300)
SEED = 7
WORDS = """audio battery camera clock codec compass cloud crypto database decoder dhcp disk display dns
encoder events fan files firewall flash font gateway gpio graph gps gyro health history http i2c image
input journal keypad ledger light log mail meter mixer modem motor mqtt network notes ntp parser player
plot power printer profile proxy pump radio relay render report router rules scanner scheduler screen
search sensors serial session shell sip sound speech spool stats storage stream sync tables telemetry
theme timer tls touch trace tuner tunnel update usb users valve video vpn web widgets wifi
zone""".split()
SMALL = {"frontend": "thread network,sleep 5,ask storage,sleep 10,ask network,sleep 15",
         "network": "sleep 15,ask storage,sleep 40", "storage": "sleep 75"}


def paces(count: int) -> tuple[dict[str, str], str]:
    """What each plugin does in its init, by name, and the first plugin, which requests all others.
    Three plugins of many fail."""
    if count == len(SMALL):
        return SMALL, "frontend"
    chance = random.Random(SEED)
    names = [WORDS[i % len(WORDS)] + (str(i // len(WORDS) + 1) if i >= len(WORDS) else "")
             for i in range(count - 1)]
    pace = {name: _steps(chance, names[i + 1:i + 12], count > 100) for i, name in enumerate(names)}
    for name in chance.sample(names, 3):
        pace[name] += ",fail"
    workers = chance.sample(names[:20], 4)
    asked = [*workers[:3], *names]
    pace["app"] = ",".join([*(f"thread {name}" for name in workers), "sleep 2",
                            *(f"ask {name}" for name in asked)])
    return pace, "app"


def _steps(chance: random.Random, others: list[str], short: bool) -> str:
    """Requests for some of the others, and work before, between or after them."""
    asked = min(len(others), chance.choice((0, 0, 1, 1, 2)))
    steps = [f"ask {other}" for other in chance.sample(others, asked)]
    time = chance.choice((0, 0, 0, 0, 1, 1, 2, 3, 6, 12) if short else (0, 0, 1, 2, 5, 9, 14, 30))
    steps.insert(chance.randrange(len(steps) + 1), f"sleep {time}")
    if chance.random() < 0.25:
        steps.append(f"grow {chance.randrange(1, 4)}")
    return ",".join(steps)


def start_log(host: str, plugin: str, count: int) -> bytes:
    """The log of a real core that starts that many plugins."""
    pace, first = paces(count)
    with tempfile.TemporaryDirectory() as directory:
        return log_text.run_core(Path(directory), host, plugin, pace, first)


if __name__ == "__main__":
    for number in COUNTS:
        content = start_log(sys.argv[1], sys.argv[2], number)
        Path(sys.argv[3], f"{number}.log.gz").write_bytes(gzip.compress(content, 9, mtime=0))
