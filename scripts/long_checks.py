#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the long checks of long_check_table.py and keeps their figures; see long-checks.sh.
Also: long_checks.py --verify: fails when figures of the page are too old, of other sources, or
differ from the record. Exit code 77 means that there is no history to ask."""

import argparse
import dataclasses
import datetime
import hashlib
import json
import os
import shlex
import subprocess
import sys
import time
from pathlib import Path

from long_check_table import CHECKS, Check

ROOT = Path(__file__).resolve().parent.parent
RECORD = ROOT / "docs/long-checks.json"
PAGE = ROOT / "docs/long-checks.md"
OUTPUT = ROOT / "build/long-checks"
TABLE_BEGIN, TABLE_END = "<!-- figures -->", "<!-- end of figures -->"
NO_HISTORY = 77


@dataclasses.dataclass(frozen=True)
class Entry:
    """The last run of a check that passed. sources stands for the content of its directories."""
    check: str
    date: str
    commit: str
    sources: str
    seconds: int
    figures: dict[str, int | float]


def git(*arguments: str) -> str:
    return subprocess.run(["git", "-C", str(ROOT), *arguments], check=True, capture_output=True,
                          text=True).stdout.strip()


def has_history() -> bool:
    """A tree without its own has that of the directory around it, if anything."""
    try:
        return (git("rev-parse", "--is-shallow-repository") == "false"
                and not git("rev-parse", "--show-prefix"))
    except (subprocess.CalledProcessError, FileNotFoundError):
        return False


def sources_at(commit: str, check: Check) -> str:
    listed = git("ls-tree", commit, "--", *check.directories)
    return hashlib.sha256(listed.encode()).hexdigest()[:16]


def commits_since(entry: Entry, check: Check) -> int | None:
    """The commits to the directories of a check after its sources, or none if they are unknown."""
    changes = git("log", "--format=%H", "--first-parent", f"-{check.commits + 2}", "--",
                  *check.directories).split()
    for age, commit in enumerate(changes):
        if sources_at(commit, check) == entry.sources:
            return age
    return None


def read_record() -> dict[str, Entry]:
    if not RECORD.exists():
        return {}
    entries = [Entry(**fields) for fields in json.loads(RECORD.read_text(encoding="utf-8"))]
    return {entry.check: entry for entry in entries}


def write_record(record: dict[str, Entry]) -> None:
    known = [dataclasses.asdict(record[check.name]) for check in CHECKS if check.name in record]
    RECORD.write_text(json.dumps(known, indent=2) + "\n", encoding="utf-8")


def plain(figures: dict[str, int | float]) -> str:
    return ", ".join(f"{value:,} {name}" if isinstance(value, int) else f"{value} % {name}"
                     for name, value in figures.items())


def duration(seconds: int) -> str:
    return f"{seconds // 60} min {seconds % 60} s"


def table(record: dict[str, Entry]) -> str:
    lines = ["| check | what holds | figures | date, commit | took | valid for |",
             "|---|---|---|---|---:|---:|"]
    for check in CHECKS:
        entry = record.get(check.name)
        measured = (f"{plain(entry.figures)} | {entry.date}, {entry.commit} | "
                    f"{duration(entry.seconds)}" if entry else "not run yet | - | -")
        lines.append(f"| {check.name} | {check.shows} | {measured} | {check.commits} commits |")
    return "\n".join(lines)


def with_table(page: str, record: dict[str, Entry]) -> str:
    begin, end = page.index(TABLE_BEGIN) + len(TABLE_BEGIN), page.index(TABLE_END)
    return f"{page[:begin]}\n{table(record)}\n\n{page[end:]}"


def error_of(check: Check, entry: Entry) -> str | None:
    age = commits_since(entry, check)
    if age is None:
        return (f"its figures are of other sources than those of the last {check.commits} commits "
                f"to {', '.join(check.directories)}")
    if age > check.commits:
        return f"its figures are {age} commits old, {check.commits} are allowed"
    return None


def verify() -> int:
    """A check that was not run yet promises nothing; the page says so."""
    record = read_record()
    page = PAGE.read_text(encoding="utf-8")
    failures = 0
    if with_table(page, record) != page:
        print(f"{PAGE.name}: the table differs from {RECORD.name}")
        failures += 1
    for name in record.keys() - {check.name for check in CHECKS}:
        print(f"{RECORD.name}: there is no check {name}")
        failures += 1
    if not has_history():
        print("SKIPPED: the tree has no history to compare the figures with")
        return 1 if failures else NO_HISTORY
    for check in CHECKS:
        error = error_of(check, record[check.name]) if check.name in record else None
        if error:
            print(f"{check.name}: {error}: scripts/long-checks.sh --only {check.name}")
            failures += 1
    return 1 if failures else 0


def run_command(command: str, log: Path) -> tuple[int, str]:
    """Runs a command with its output on the terminal and in a file."""
    log.parent.mkdir(parents=True, exist_ok=True)
    with log.open("w", encoding="utf-8") as copy, subprocess.Popen(
            shlex.split(command), cwd=ROOT,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            errors="replace") as process:
        for line in process.stdout:
            sys.stdout.write(line)
            sys.stdout.flush()
            copy.write(line)
    return process.returncode, log.read_text(encoding="utf-8")


def keep(check: Check, figures: dict[str, int | float], seconds: int) -> None:
    record = read_record()
    record[check.name] = Entry(check.name, datetime.date.today().isoformat(),
                               git("rev-parse", "--short=8", "HEAD"), sources_at("HEAD", check),
                               seconds, figures)
    write_record(record)
    PAGE.write_text(with_table(PAGE.read_text(encoding="utf-8"), record), encoding="utf-8")


def run(check: Check, minutes: int) -> bool:
    print(f"== {check.name}: {check.shows}", flush=True)
    if check.needs_root and os.geteuid() != 0:
        print(f"{check.name}: must be run as root")
        return False
    if git("status", "--porcelain", "--", *check.directories):
        print(f"{check.name}: commit the changes to {', '.join(check.directories)} first")
        return False
    begin = time.monotonic()
    code, output = run_command(check.command.format(minutes=minutes, seconds=minutes * 60),
                               OUTPUT / f"{check.name}.log")
    if code != 0:
        print(f"{check.name}: FAILED with {code}")
        return False
    try:
        figures = check.figures(output)
    except ValueError as error:
        print(f"{check.name}: {error}")
        return False
    keep(check, figures, round(time.monotonic() - begin))
    print(f"{check.name}: passed: {plain(figures)}")
    return True


def run_all(names: list[str], minutes: int) -> int:
    record = read_record()
    wanted = [check for check in CHECKS if not names or check.name in names]
    wanted.sort(key=lambda check: record[check.name].date if check.name in record else "")
    failed = [check.name for check in wanted if not run(check, minutes)]
    if failed:
        print(f"Failed: {', '.join(failed)}")
    return 1 if failed else 0


def run_slice(number: int) -> int:
    slices = [(check, command) for check in CHECKS for command in check.slices]
    check, command = slices[number % len(slices)]
    command = command.format(number=number // len(slices))
    print(f"{check.name}: {command}", flush=True)
    if check.needs_root and not can_mount():
        print("Not possible here: this part has to mount file systems")
        return 0
    code, _ = run_command(command, OUTPUT / "slice.log")
    return code


def can_mount() -> bool:
    """Whether roots of other systems can be made; in some containers root may not."""
    tried = subprocess.run(["unshare", "--mount", "mount", "-t", "tmpfs", "none", "/mnt"],
                           check=False, capture_output=True)
    return os.geteuid() == 0 and tried.returncode == 0


def list_checks() -> None:
    record = read_record()
    for check in CHECKS:
        entry = record.get(check.name)
        state = "not run yet"
        if entry:
            state = error_of(check, entry) or f"{entry.date}, {commits_since(entry, check)} commits ago"
        print(f"{check.name:<18} {state}")


def parse() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="long-checks.sh", description="Runs the long checks.")
    parser.add_argument("--only", action="append", default=[], metavar="NAME",
                        choices=[check.name for check in CHECKS])
    parser.add_argument("--minutes", type=int, default=30, metavar="N")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--slice", type=int, nargs="?", const=-1, metavar="NUMBER")
    parser.add_argument("--verify", action="store_true", help=argparse.SUPPRESS)
    arguments = parser.parse_args()
    if arguments.minutes < 1:
        parser.error("--minutes must be at least 1")
    return arguments


def main() -> int:
    arguments = parse()
    if arguments.verify:
        return verify()
    if arguments.list:
        list_checks()
        return 0
    if arguments.slice is not None:
        commits = arguments.slice if arguments.slice >= 0 else int(git("rev-list", "--count", "HEAD"))
        return run_slice(commits)
    return run_all(arguments.only, arguments.minutes)


if __name__ == "__main__":
    sys.exit(main())
