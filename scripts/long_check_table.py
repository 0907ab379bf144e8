# SPDX-License-Identifier: MIT
"""The long checks: what they show, their commands, and where their figures stand in the output."""

import dataclasses
import re
from collections.abc import Callable

PRODUCT = ("include", "port", "core", "config", "events", "logging")
AUTHORS = PRODUCT + ("sdk", "tools")

Figures = dict[str, int | float]


def numbers(**patterns: str) -> Callable[[str], Figures]:
    """Reads each figure from the last match of its pattern, whose only group is the number."""
    def read(output: str) -> Figures:
        figures = {}
        for name, pattern in patterns.items():
            found = re.findall(pattern, output, re.M)
            if not found:
                raise ValueError(f"no {name.replace('_', ' ')} in the output")
            figures[name.replace("_", " ")] = number(found[-1])
        return figures
    return read


def number(text: str) -> int | float:
    plain = text.replace(",", "")
    return float(plain) if "." in plain else int(plain)


def sums(pattern: str, counted: str, *summed: str) -> Callable[[str], Figures]:
    """Counts the lines that match, and sums their groups."""
    def read(output: str) -> Figures:
        found = re.findall(pattern, output, re.M)
        if not found:
            raise ValueError(f"no {counted} in the output")
        rows = [row if isinstance(row, tuple) else (row,) for row in found]
        return {counted: len(rows)} | {
            name: sum(int(row[i]) for row in rows) for i, name in enumerate(summed)}
    return read


@dataclasses.dataclass(frozen=True)
class Check:
    """{minutes} and {seconds} in a command are the time that it gets, {number} is that of the slice.
    commits is the largest number of commits to the directories after which figures still count.
    slices are the parts that the gate takes turns with; none if it has one as a step."""
    name: str
    shows: str
    command: str
    figures: Callable[[str], Figures]
    slices: tuple[str, ...]
    directories: tuple[str, ...] = PRODUCT
    commits: int = 60
    needs_root: bool = False


SOAK = numbers(operations=r"^total +(\d+)", errors=r"^total +\d+ +(\d+)", cycles=r"(\d+) cycles",
               private_KB_at_the_start=r"^start +\d+ +(\d+)",
               private_KB_at_the_end=r"^end +\d+ +(\d+)")
TIDY = numbers(sources=r"no findings in (\d+) sources")

CHECKS = (
    Check("soak", "long runs have no leaks and no errors",
          "scripts/soak.sh --minutes {minutes}", SOAK,
          ("scripts/soak.sh --minutes 2",)),
    Check("soak-tsan", "the same, under the thread sanitizer",
          "scripts/soak.sh --preset tsan --minutes {minutes}", SOAK,
          ("scripts/soak.sh --preset tsan --minutes 2",)),
    Check("coverage", "the suite covers the lines and branches of the product",
          "scripts/coverage.sh",
          numbers(lines=r"^lines: ([\d.]+)%", branches=r"^branches: ([\d.]+)%"),
          ("scripts/coverage.sh",)),
    Check("faults", "the suite detects faults planted in the product",
          "scripts/mutation.sh",
          numbers(caught=r"(\d+) of \d+ faults caught", tried=r"\d+ of (\d+) faults caught"),
          ("scripts/mutation.sh --sample {number}",) * 2),
    Check("drawn-faults", "the suite detects faults drawn at random",
          "scripts/mutation.sh --drawn",
          numbers(drawn=r"^(\d+) drawn", caught=r"(\d+) of \d+ that change behaviour caught",
                  that_change_behaviour=r"\d+ of (\d+) that change behaviour caught"),
          ("scripts/mutation.sh --sample-drawn {number}",), commits=200),
    Check("schedules", "no schedule of threads breaks a promise",
          "scripts/schedules.sh --seconds {seconds}",
          sums(r"^\w+ +\d+ schedules, +(\d+) different,.*, seed \d+.*: passed$",
               "scenarios", "different schedules"),
          ("scripts/schedules.sh --seconds 120 --faults",)),
    Check("schedule-faults", "the scenarios find concurrency faults planted in the product",
          "scripts/schedules-faults.sh",
          numbers(found=r"(\d+) of \d+ faults found", tried=r"\d+ of (\d+) faults found"),
          ("scripts/schedules-faults.sh --sample {number}",) * 2),
    Check("fuzzing", "no input breaks the text handling",
          "scripts/fuzz.sh --seconds {seconds}",
          sums(r"^[\w-]+ +(\d+) executions", "targets", "executions"),
          ("scripts/fuzz.sh --runs 50000 --seed 1{number}",)),
    Check("drd", "the thread tests of the 32-bit build have no race that DRD reports",
          "scripts/check-valgrind.sh",
          numbers(tests=r"^(\d+) tests", reports=r"(\d+) reports"),
          tuple(f"scripts/check-valgrind.sh '^[{letters}]'" for letters in
                ("A-BD-FJ-K", "C", "G-I", "L-O", "P-R", "S", "T-Z"))),
    Check("armhf", "the suite passes on 32-bit ARM, in an emulator", "scripts/test.sh armhf",
          numbers(tests=r"^100% tests passed, 0 tests failed out of (\d+)",
                  skipped=r"^Skipped, fully or partly: (\d+)",
                  entries_left_out=r"^Left out: (\d+) entries"),
          ("scripts/test.sh --core=port armhf",)),
    Check("powerpc", "the libraries work with the other order of bytes, on 32-bit PowerPC in an "
          "emulator", "scripts/test.sh --core powerpc",
          numbers(tests=r"^100% tests passed, 0 tests failed out of (\d+)",
                  entries_left_out=r"^Left out: (\d+) entries"),
          ("scripts/test.sh --core=logger powerpc",)),
    Check("reproducible", "two builds give the same libraries, tools and packages",
          "scripts/check-reproducible.sh --packages",
          numbers(files=r"^(\d+) files are the same in both builds"),
          (), AUTHORS, 150),
    Check("tidy", "clang-tidy finds nothing in the product, on all paths",
          "scripts/check-static.sh tidy", TIDY, ("scripts/check-static.sh tidy {number}",)),
    Check("tidy-tools", "clang-tidy finds nothing in the tools",
          "scripts/check-static.sh tools", TIDY, ("scripts/check-static.sh tools {number}",),
          ("tools",)),
    Check("tidy-tests", "clang-tidy finds nothing in the tests",
          "scripts/check-static.sh tests", TIDY, ("scripts/check-static.sh tests {number}",) * 2,
          ("tests",), 200),
    Check("clean-root", "the README's commands work on a fresh Debian 12",
          "scripts/check-clean-root.sh",
          sums(r"^\w+ +exit code +0 +\d+ s", "commands"),
          ("scripts/check-clean-root.sh --user ordinary --command scripts/demo.sh",),
          AUTHORS, 150, needs_root=True),
    Check("plugin-root", "the tutorial leads to an installed plugin on a fresh Debian 12",
          "scripts/check-plugin-root.sh",
          numbers(commands=r"^== (\d+) commands", seconds=r"commands, (\d+) s$"),
          ("scripts/check-plugin-root.sh",), AUTHORS, 150, needs_root=True),
)
