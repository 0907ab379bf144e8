#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tries drawn faults; scripts/mutation.sh starts it.

trial.py TREE BUILD RESULTS FAULTS [--jobs N] [--quick] [--retry]
    TREE      the sources without a fault, which BUILD was made of
    RESULTS   a file of JSON lines that is added to; a fault that it has an outcome of is not tried
    FAULTS    what draw.py printed
    --quick   only the quick tests of the fault's own directory
    --retry   try again what has survived

A fault is compiled and linked beside the build, which stays as it is: only the objects that the
changed file goes into, the libraries, and the test binaries that hold such an object. Several faults
are tried at a time. The outcome of a fault is one of these:
    uncompilable  the compiler or the linker refuses it
    same-code     the compiler makes the same code of it
    caught        a test fails, and fails again when it is run by itself, with the fault
    survived      none does
"""
import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import threading
import time

sys.dont_write_bytecode = True
import draw

# The test binaries for a fault, by directory of tests/: first those of its directory, then those
# that use its library.
_FIRST = {"port/logger": ["logger"], "port": ["port"], "include": ["headers"]}
_RELATED = {"port/logger": ["logging", "memory", "core"],
            "port": ["logger", "config", "memory", "core"],
            "include": ["memory", "sdk", "config", "events", "core"],
            "config": ["memory", "model", "core"],
            "events": ["memory", "model", "core", "hostile"],
            "logging": ["logger", "memory", "core"],
            "core": ["memory", "hostile", "model", "sdk"]}
# Each of their tests needs its own process.
_APART = re.compile(r"^(core_|hostile_|model_|sdk_)")
_LEAST_SECONDS = 20
_QUICK_SECONDS = 8
_LONGEST_SECONDS = 120
_FASTER_LINK = ["-fuse-ld=lld", "-Wl,--strip-debug"] if shutil.which("ld.lld") else []
_FILE_LIMIT = 2 << 30


def run(command, seconds, where, environment=None, limited=False):
    """The exit code, or None after a timeout, and the output."""
    def limit():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if limited:
            resource.setrlimit(resource.RLIMIT_FSIZE, (_FILE_LIMIT, _FILE_LIMIT))
    with open(where / "output", "w+b") as output:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output,
                                   stderr=subprocess.STDOUT, cwd=where, env=environment,
                                   start_new_session=True, preexec_fn=limit)
        try:
            code = process.wait(seconds)
        except subprocess.TimeoutExpired:
            code = None
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()
        output.seek(0)
        return code, output.read().decode("utf-8", "replace")


class Build:
    """The commands of the build tree for compiling and linking objects."""

    def __init__(self, tree, path, work):
        self.tree, self.path, self.work = tree, path, work
        self.compiled = {}
        for entry in json.loads((path / "compile_commands.json").read_text()):
            command = [w for w in shlex.split(entry["command"]) if not w.endswith("ccache")]
            self.compiled[command[command.index("-o") + 1]] = (entry["file"], command)
        self.users = self._users()
        self.links = {}
        self.sanitized = "-fsanitize" in (path / "CMakeCache.txt").read_text()
        self.lock = threading.Lock()
        self.times = {}
        self.tests = {}
        self._plain = {}

    def _ninja(self, *arguments):
        return subprocess.run(["ninja", "-C", str(self.path), "-t", *arguments], check=True,
                              capture_output=True, text=True).stdout

    def _users(self):
        """By file of the tree, the objects that are compiled from it."""
        users = {}
        target = None
        for line in self._ninja("deps").splitlines():
            if not line.startswith(" "):
                target = line.split(":")[0]
                continue
            file = os.path.normpath(os.path.join(self.path, line.strip()))
            users.setdefault(file, set()).add(target)
        return users

    def link(self, target):
        """The words of the command that links a library or a binary."""
        with self.lock:
            if target not in self.links:
                line = self._ninja("commands", "-s", target).strip().splitlines()[-1]
                step = next(s for s in line.split(" && ") if " -o " in s)
                self.links[target] = shlex.split(step) + _FASTER_LINK
            return self.links[target]

    def binaries(self, directory):
        """The test binaries of a directory of tests/, the quick ones first."""
        text = (self.path / "tests" / directory / "CTestTestfile.cmake").read_text()
        names = re.findall(r"/(\w+)\[1\]_include\.cmake", text)
        found = [n for n in names if (self.path / "bin" / n).exists()]
        return sorted(found, key=lambda n: self.times.get(n, 0))

    def list_tests(self, binary):
        with self.lock:
            if binary not in self.tests:
                output = subprocess.run([self.path / "bin" / binary, "--gtest_list_tests"],
                                        capture_output=True, text=True, timeout=60, check=True).stdout
                suite, tests = "", []
                for line in output.splitlines():
                    if line.startswith("  "):
                        tests.append(suite + line.split("#")[0].strip())
                    elif line.split("#")[0].strip().endswith("."):
                        suite = line.split("#")[0].strip()
                self.tests[binary] = [t for t in tests if "DISABLED_" not in t]
            return self.tests[binary]

    def plain_object(self, target):
        """The compiler's output for an object's source without a fault."""
        with self.lock:
            known = self._plain.setdefault(target, threading.Lock())
        made = self.work / "plain" / target
        with known:
            if not made.exists():
                made.parent.mkdir(parents=True, exist_ok=True)
                file, command = self.compiled[target]
                subprocess.run(_quickly(command, file, file, made), cwd=self.path, check=True,
                               capture_output=True)
        return made.read_bytes()


def _quickly(command, file, instead, output, overlay=None):
    """A compiler's command without debug information and warnings."""
    words = [w for w in command if w not in ("-g", "-g1", "-Werror")]
    words[words.index("-o") + 1] = str(output)
    words = [str(instead) if w == file else w for w in words]
    if overlay:
        words[1:1] = [f"-I{overlay}", f"-I{overlay}/include", f"-I{overlay}/port"]
    return words + ["-w"]


class Trial:
    """One fault, in its own directory."""

    def __init__(self, build, fault, home):
        self.build, self.fault, self.home = build, fault, home
        self.objects = {}
        self.by = ""

    def outcome(self, binaries):
        if not self._compile(self._product_objects()):
            return "uncompilable"
        if not self.fault["file"].startswith("include/") and all(made.read_bytes() == self.build.plain_object(target)
                                         for target, made in self.objects.items()):
            return "same-code"
        if not self._link_libraries():
            return "uncompilable"
        for binary in binaries:
            made = self._link_binary(binary)
            if not made:
                return "uncompilable"
            if self._fails(binary, made):
                return "caught"
        return "survived"

    def _is_header(self):
        return self.fault["file"].endswith(".h")

    def _users(self):
        return self.build.users.get(str(self.build.tree / self.fault["file"]), set())

    def _product_objects(self):
        product = tuple(d + "/" for d in draw.DIRECTORIES)
        return [t for t in self._users() if t in self.build.compiled and
                (t.startswith(product) or "ixlal_logging_alone" in t)]

    def _compile(self, targets):
        """Compiles objects with the fault. A header is changed in a copy of its directory, which is
        searched first, and the sources of that directory are compiled from the copy, too."""
        text = draw.plant(self.build.tree, self.fault)
        overlay = self.home / "overlay"
        changed = overlay / self.fault["file"]
        if not changed.exists():
            if self._is_header():
                source = self.build.tree / self.fault["file"]
                shutil.copytree(source.parent, changed.parent)
            changed.parent.mkdir(parents=True, exist_ok=True)
            changed.write_text(text, encoding="utf-8")
        for target in targets:
            if target in self.objects:
                continue
            file, command = self.build.compiled[target]
            made = self.home / "objects" / target
            made.parent.mkdir(parents=True, exist_ok=True)
            if self._is_header():
                beside = changed.parent / os.path.basename(file)
                mine = os.path.dirname(file) == str((self.build.tree / self.fault["file"]).parent)
                words = _quickly(command, file, beside if mine else file, made, overlay)
            elif file == str(self.build.tree / self.fault["file"]):
                words = _quickly(command, file, changed, made)
            else:
                words = _quickly(command, file, self._joined(file, changed), made)
            words = self._with_directory(words, file)
            if subprocess.run(words, cwd=self.build.path, capture_output=True).returncode != 0:
                return False
            self.objects[target] = made
        return True

    def _joined(self, file, changed):
        """A source that includes others, the changed one among them."""
        joined = self.home / "joined" / os.path.basename(file)
        joined.parent.mkdir(parents=True, exist_ok=True)
        text = pathlib.Path(file).read_text(encoding="utf-8")
        joined.write_text(text.replace(str(self.build.tree / self.fault["file"]), str(changed)),
                          encoding="utf-8")
        return joined

    @staticmethod
    def _with_directory(words, file):
        """The files that the source includes from its own directory."""
        return words + ["-iquote", os.path.dirname(file)]

    def _relink(self, target):
        """Links with the changed objects; None when none of them is part of it."""
        words, changed = [], False
        for word in self.build.link(target):
            if word in self.objects:
                word, changed = str(self.objects[word]), True
            elif word.endswith(".a") and self._archive(word):
                word, changed = str(self._archive(word)), True
            words.append(word)
        if not changed:
            return self.build.path / target
        made = self.home / target
        made.parent.mkdir(parents=True, exist_ok=True)
        words[words.index("-o") + 1] = str(made)
        done = subprocess.run(words, cwd=self.build.path, capture_output=True)
        return made if done.returncode == 0 else None

    def _archive(self, name):
        stem = os.path.basename(name)[3:-2]
        mine = [p for t, p in self.objects.items() if f"/{stem}.dir/" in t]
        made = self.home / name
        if mine and not made.exists():
            made.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(self.build.path / name, made)
            subprocess.run(["ar", "r", made, *mine], check=True, capture_output=True)
        return made if mine else None

    def _link_libraries(self):
        libraries = ["lib/libixlal.portinglayer.so", "lib/libixlal.logger.so", "lib/libixlal.core.so"]
        return all(self._relink(library) for library in libraries)

    def _link_binary(self, binary):
        if self._is_header():
            words = set(self.build.link("bin/" + binary))
            mine = [t for t in self._users() if t in words and t in self.build.compiled]
            if not self._compile(mine):
                return None
        return self._relink("bin/" + binary)

    def _environment(self):
        scratch = self.home / "tmp"
        shutil.rmtree(scratch, ignore_errors=True)
        scratch.mkdir()
        environment = dict(os.environ, TMPDIR=str(scratch))
        environment["LD_LIBRARY_PATH"] = f"{self.home}/lib:{self.build.path}/lib"
        environment["ASAN_OPTIONS"] = "detect_leaks=1"
        return environment

    def _run(self, made, *arguments, seconds):
        return run([made, "--gtest_fail_fast", "--gtest_brief=0", *arguments], seconds, self.home,
                   self._environment(), limited=True)

    def _fails(self, binary, made):
        tests = self.build.list_tests(binary)
        known = self.build.times.get(binary, 5)
        if not _APART.match(binary):
            return self._fails_at(binary, made, [], max(_LEAST_SECONDS, 6 * known))
        return any(self._fails_at(binary, made, ["--gtest_filter=" + t], _LEAST_SECONDS + known)
                   for t in tests)

    def _fails_at(self, binary, made, arguments, seconds):
        code, output = self._run(made, *arguments, seconds=seconds)
        if code == 0:
            return False
        failed = re.findall(r"\[  FAILED  \] ([\w./]+)", output) or \
            re.findall(r"\[ RUN      \] ([\w./]+)", output)[-1:]
        again = ["--gtest_filter=" + failed[0]] if failed else arguments
        # On a busy machine a test may fail without a fault.
        code, output = self._run(made, *again, seconds=seconds)
        if code == 0:
            return False
        how = "hangs" if code is None else f"exit {code}"
        self.by = f"{failed[0] if failed else binary} ({how})"
        return True


def _place(fault):
    """The directory of the product that a fault is in."""
    file = fault["file"]
    return "port/logger" if file.startswith("port/logger/") else file.split("/")[0]


def binaries_for(build, fault, quick):
    """The test binaries for a fault, the most likely ones first."""
    place = _place(fault)
    first = [b for d in _FIRST.get(place, [place]) for b in build.binaries(d)]
    related = [b for d in _RELATED[place] for b in build.binaries(d)]
    soon = [b for b in first if build.times[b] < _QUICK_SECONDS]
    rest = [b for b in first + related if b not in soon]
    return soon if quick else soon + sorted(rest, key=lambda b: build.times[b])


def prove(build):
    """Tries three faults whose outcome is known."""
    file, text = "core/PPluginInit.cpp", "callInit(ioRecord)"
    lines = (build.tree / file).read_text(encoding="utf-8").split("\n")
    line = next(i for i, code in enumerate(lines) if "finishInit" in code and text in code)
    old = lines[line]
    # A comment before code would move it, and debug information has columns.
    for new, wanted in ((old + " /**/", "same-code"),
                        (old.replace(text, "eIxlaInitFailed"), "caught"),
                        (old.replace(text, "callInit("), "uncompilable")):
        fault = {"operator": "control", "file": file, "line": line + 1, "old": old, "new": new}
        outcome = try_one(build, fault, True, "control")["outcome"]
        # Sanitizers compile the names of the sources into the objects, so none is the same.
        if outcome != wanted and not (build.sanitized and wanted == "same-code"):
            sys.exit(f"A fault that had to be {wanted} is {outcome}")


def measure(build, faults, quick):
    """The times without a fault of the test binaries that are needed; cached, because they do not
    change."""
    kept = build.work / "times"
    home = build.work / "measured"
    home.mkdir(parents=True, exist_ok=True)
    if kept.exists():
        build.times = json.loads(kept.read_text())
    places = {_place(fault) for fault in faults} | {"core"}
    directories = {d for place in places
                   for d in _FIRST.get(place, [place]) + ([] if quick else _RELATED[place])}
    for binary in sorted({b for d in directories for b in build.binaries(d)} - build.times.keys()):
        begun = time.monotonic()
        run([build.path / "bin" / binary], _LONGEST_SECONDS, home)
        build.times[binary] = round(time.monotonic() - begun, 2)
    if not kept.exists():
        prove(build)
    kept.write_text(json.dumps(build.times))


def try_one(build, fault, quick, number):
    home = build.work / f"trial-{number}"
    shutil.rmtree(home, ignore_errors=True)
    home.mkdir(parents=True)
    begun = time.monotonic()
    trial = Trial(build, fault, home)
    try:
        outcome = trial.outcome(binaries_for(build, fault, quick))
    finally:
        shutil.rmtree(home, ignore_errors=True)
    return dict(fault, outcome=outcome, by=trial.by, seconds=round(time.monotonic() - begun, 1))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tree", type=pathlib.Path)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("results", type=pathlib.Path)
    parser.add_argument("faults", type=pathlib.Path)
    parser.add_argument("--jobs", type=int, default=4)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--retry", action="store_true")
    options = parser.parse_args()
    tree, path = options.tree.resolve(), options.build.resolve()
    build = Build(tree, path, path / "drawn")
    known = {}
    if options.results.exists():
        for line in options.results.read_text().splitlines():
            result = json.loads(line)
            known[draw.key(result)] = result["outcome"]
    faults = [json.loads(line) for line in options.faults.read_text().splitlines()]
    wanted = "survived" if options.retry else None
    faults = [f for f in faults if known.get(draw.key(f)) in (None, wanted)
              and draw.plant(tree, f) is not None]
    measure(build, faults, options.quick)
    # Sources that include a header take long to compile.
    faults.sort(key=lambda f: f["file"].endswith(".h"))
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool, \
            open(options.results, "a", encoding="utf-8") as results:
        tried = [pool.submit(try_one, build, f, options.quick, n) for n, f in enumerate(faults)]
        for future in concurrent.futures.as_completed(tried):
            result = future.result()
            results.write(json.dumps(result) + "\n")
            results.flush()
            print(f"{result['outcome']:12} {result['operator']:20} {result['file']}:{result['line']} "
                  f"{result['seconds']} {result['by']}", flush=True)


if __name__ == "__main__":
    main()
