#!/usr/bin/env python3
"""ixla-report: shows the start that a core's log tells of."""

import argparse
import json
import os
import signal
import sys
from pathlib import Path

import start_page
from start_chart import Chart
from start_log import Log, Start, read_log

NAME = "ixla-report"
EXAMPLES = """
examples:
  ixla-report core.log
  ixla-report core.log core.log.1 core.log.2 --html start.html
  ixla-report core.log --start 1 --sort memory
  ixla-report core.log --json | jq '.plugins[0].name'

exit codes: 0 done, 1 a file cannot be read or written or tells of no start, 2 wrong usage
"""


class Failure(Exception):
    """What is wrong, where, and what to do."""


class Parser(argparse.ArgumentParser):
    def error(self, message: str) -> None:
        self.exit(2, f"{NAME}: {message}; see {NAME} --help\n")


def parse(arguments: list[str]) -> argparse.Namespace:
    parser = Parser(prog=NAME, epilog=EXAMPLES, allow_abbrev=False,
                    formatter_class=argparse.RawDescriptionHelpFormatter,
                    description="Shows how a core started: what loading and initialising each "
                                "plugin took, who waited for whom, and what went wrong.")
    parser.add_argument("log", nargs="+", metavar="LOG",
                        help="log of a core (core.log.file); parts of one log in any order")
    parser.add_argument("--svg", metavar="FILE", help="write a timeline")
    parser.add_argument("--html", metavar="FILE", help="write timeline and table on one page")
    parser.add_argument("--json", action="store_true", help="print JSON instead of a table")
    parser.add_argument("--start", type=int, metavar="N",
                        help="the N-th start in the log; the last one if left out")
    parser.add_argument("--sort", choices=start_page.SORT_KEYS, default="time",
                        help="order of the table (default: time)")
    parser.add_argument("--version", action="version", version=f"{NAME} @VERSION@")
    return parser.parse_args(arguments)


def read(names: list[str]) -> Log:
    files = []
    for name in dict.fromkeys(names):
        try:
            files.append((os.fsencode(name).decode("utf-8", "replace"), Path(name).read_bytes()))
        except (OSError, ValueError) as error:
            reason = error.strerror if isinstance(error, OSError) else str(error)
            raise Failure(f"{name}: cannot be read: {reason}") from error
    return read_log(files)


def choose(log: Log, number: int | None, name: str) -> Start:
    if not log.starts:
        hint = "it holds lines of other logs; " if log.foreign_count else ""
        raise Failure(f"{name}: no line of a core's log; {hint}core.log.file names the core's")
    if number is None:
        return log.starts[-1]
    if not 1 <= number <= len(log.starts):
        raise Failure(f"{name}: there is no start {number}, only 1 to {len(log.starts)}")
    return log.starts[number - 1]


def write(name: str, content: str) -> None:
    try:
        Path(name).write_text(content, encoding="utf-8")
    except (OSError, ValueError) as error:
        reason = error.strerror if isinstance(error, OSError) else str(error)
        raise Failure(f"{name}: cannot be written: {reason}") from error


def run(options: argparse.Namespace) -> None:
    name = options.log[0]
    log = read(options.log)
    start = choose(log, options.start, name)
    shown = os.fsencode(name).decode("utf-8", "replace")
    if options.svg:
        write(options.svg, Chart(start).svg())
    if options.html:
        write(options.html, start_page.html(log, start, shown, options.sort))
    if options.json:
        print(json.dumps(start_page.data(log, start, shown, options.sort), indent=2,
                         ensure_ascii=False))
    elif not options.svg and not options.html:
        print(start_page.text(log, start, shown, options.sort), end="")


def main() -> int:
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # quiet in front of head
    sys.stdout.reconfigure(encoding="utf-8", errors="replace")
    sys.stderr.reconfigure(errors="backslashreplace")
    try:
        run(parse(sys.argv[1:]))
        sys.stdout.flush()
    except Failure as failure:
        print(f"{NAME}: {failure}", file=sys.stderr)
        return 1
    except OSError as error:  # of the standard output
        print(f"{NAME}: cannot write: {error.strerror}", file=sys.stderr)
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
