#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the thread tests of a build under DRD: run_tests.py [-R PATTERN] BUILD OUT

A thread test is a GoogleTest case whose body names a thread, a barrier or a latch, or whose source
does so outside of the cases, in a fixture or a helper. Each runs in a process of its own. OUT has
thread_calls.so, which is preloaded, and data_race, a program with a race; it gets the reports.

Fails if a test fails, if DRD reports an error that thread.supp does not suppress, and if DRD does
not report the race. Without a pattern, also if a suppression is not used or fewer than WANTED_TESTS
tests are selected. Whether one named timing-* is used depends on the timing of the threads.
"""
import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys
import time

HOME = pathlib.Path(__file__).resolve().parent
SUPPRESSIONS = HOME / "thread.supp"
WANTED_TESTS = 300
REPORTED = 99
LIMIT = 900

# Tests that cannot pass under DRD, with the reasons.
EXCLUDED = {
    "CoreStress.AThousandStartsAndStopsLeakNothing": "it counts pages, and DRD uses some",
    "ThreadMemorySweep.EveryOperation": "DRD lets a thread's creation wait for the thread, whose "
                                        "own allocations then count",
    "Thread.UnjoinedThreadsLeakNothing": "it has more detached threads than DRD can hold",
}

_THREADS = re.compile(r"\bstd::(j?thread|async|barrier|latch)\b|\bPThread\b|\bpthread_create\b")
_CASE = re.compile(r"^TEST(?:_F|_P)?\((\w+),\s*(\w+)\)\n\{\n(.*?)^\}", re.MULTILINE | re.DOTALL)

Result = collections.namedtuple("Result", "name seconds code reports used log")


def thread_cases():
    """The names of the cases, without the prefix and the parameter of the parameterised ones."""
    cases = set()
    for source in HOME.parent.rglob("*Test.cpp"):
        if "schedules" in source.parts:
            continue  # its programs have their own scheduler
        text = source.read_text(encoding="utf-8")
        everywhere = _THREADS.search(_CASE.sub("", text))
        cases.update(f"{suite}.{name}" for suite, name, body in _CASE.findall(text)
                     if everywhere or _THREADS.search(body))
    return cases


def thread_tests(build):
    """(program, name) of each."""
    cases = thread_cases()
    listed = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True,
                            capture_output=True, text=True)
    for test in json.loads(listed.stdout)["tests"]:
        command = test.get("command", [])
        filters = [each for each in command if each.startswith("--gtest_filter=")]
        name = filters[0].partition("=")[2] if filters else ""
        suite, _, case = name.partition(".")
        if f"{suite.rpartition('/')[2]}.{case.partition('/')[0]}" in cases:
            yield command[0], name


def run_drd(out, name, command):
    stem = out / name.replace("/", "-")
    report = stem.with_name(stem.name + ".drd")
    options = ["--tool=drd", "-s", "--num-callers=20", f"--error-exitcode={REPORTED}",
               # A notification without the mutex is correct.
               "--report-signal-unlocked=no",
               # Tests with their own malloc and operator new keep them.
               "--soname-synonyms=somalloc=nouserintercepts",
               "--gen-suppressions=all", f"--suppressions={SUPPRESSIONS}", f"--log-file={report}"]
    environment = os.environ | {"LD_PRELOAD": str(out / "thread_calls.so")}
    begin = time.monotonic()
    with open(stem.with_name(stem.name + ".log"), "w", encoding="utf-8") as output:
        try:
            code = subprocess.run(["valgrind", *options, *command], stdin=subprocess.DEVNULL,
                                  stdout=output, stderr=subprocess.STDOUT, timeout=LIMIT,
                                  env=environment, check=False).returncode
        except subprocess.TimeoutExpired:
            code = f"no end after {LIMIT} s"
    text = report.read_text(encoding="utf-8", errors="replace")
    # Each process of a test prints its summary, with -s twice.
    reports = dict(re.findall(r"==(\d+)== ERROR SUMMARY: \d+ errors from (\d+) contexts", text))
    used = re.findall(rf"used_suppression: +\d+ (\S+) {re.escape(str(SUPPRESSIONS))}", text)
    return Result(name, time.monotonic() - begin, code, sum(map(int, reports.values())), set(used),
                  report)


def run_all(out, tests):
    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        return list(pool.map(
            lambda test: run_drd(out, test[1], [test[0], f"--gtest_filter={test[1]}"]), tests))


def failures(results):
    for result in results:
        if result.reports or result.code != 0:
            yield f"{result.name}: {result.reports} reports, ends with {result.code}: {result.log}"


def whole_run_failures(results, names):
    if len(results) < WANTED_TESTS:
        yield f"Only {len(results)} tests were selected, {WANTED_TESTS} are wanted"
    yield from (f"{name} is excluded, but not selected" for name in EXCLUDED.keys() - names)
    used = set().union(*(result.used for result in results))
    known = re.findall(r"^\{\n +(\S+)\n", SUPPRESSIONS.read_text(encoding="utf-8"), re.MULTILINE)
    yield from (f"The suppression {name} is not used" for name in known
                if name not in used and not name.startswith("timing-"))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("-R", dest="pattern", default="")
    parser.add_argument("build")
    parser.add_argument("out", type=lambda path: pathlib.Path(path).resolve())
    arguments = parser.parse_args()

    errors = []
    race = run_drd(arguments.out, "data_race", [arguments.out / "data_race"])
    if race.code != REPORTED or not race.reports:
        errors.append("DRD does not report the race of data_race")
    tests = [test for test in thread_tests(arguments.build)
             if re.search(arguments.pattern, test[1])]
    results = run_all(arguments.out, [test for test in tests if test[1] not in EXCLUDED])
    errors += failures(results)
    if not arguments.pattern:
        errors += whole_run_failures(results, {name for _, name in tests})

    print(f"{len(results)} tests, {len(tests) - len(results)} excluded, "
          f"{sum(result.reports for result in results)} reports, "
          f"{sum(result.seconds for result in results):.0f} s in all")
    for error in errors:
        print(error, file=sys.stderr)
    return 1 if errors or not results else 0


if __name__ == "__main__":
    sys.exit(main())
