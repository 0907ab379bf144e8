#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs a frozen or a new host: kept_host.py --write SET ARCHITECTURE [EMULATOR...]
--write runs the frozen host of a set with its own plugins and libraries, and writes what it prints
to SET/ARCHITECTURE/output.txt. For i386, SET/data gets the store, the logs and what a second run
reads. Used by scripts/freeze.sh; frozen_test.py imports the rest."""

import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

OF_OTHERS = re.compile(r"library: |\[iXLA\] |message 5$|$")
CONFIG = Path(__file__).resolve().parent / "source/config"


class Run:
    """A directory with plugins and the configuration, in which a host runs."""

    def __init__(self, host: Path, plugins: list[Path], libraries: Path, emulator: list[str]):
        self.dir = Path(tempfile.mkdtemp(prefix="ixlal kept "))
        self.host, self.libraries, self.emulator = host, libraries, emulator
        (self.dir / "plugins").mkdir()
        for plugin in plugins:
            shutil.copy(plugin, self.dir / "plugins")
        shutil.copytree(CONFIG, self.dir / "config", copy_function=shutil.copyfile)
        self.store = self.dir / "config/store.txt"
        self.core_log = self.dir / "core.log"
        self.plugins_log = self.dir / "log/ixlaplugins.log"
        names = sorted(plugin.stem[len("lib"):] for plugin in plugins)
        self.checked = [name for name in names if name != "kept"]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.dir)

    def actions(self) -> list[str]:
        """Everything that the host can do, except for reading."""
        return ["write", "greet", *(f"check:{name}" for name in self.checked),
                *(f"unload:{name}" for name in self.checked)]

    def run(self, *actions: str) -> str:
        """What the host prints. It must use the libraries of the run, whose lines are left out, as
        are those of the core."""
        done = subprocess.run(
            [*self.emulator, self.host, "core.plugins.dir=plugins",
             "core.plugins.config.dir=config", "core.plugins.log.dir=log", "core.log.file=core.log",
             "core.log.level=2", "core.free.plugins.lib=true", *actions],
            cwd=self.dir, env={**os.environ, "LD_LIBRARY_PATH": str(self.libraries)}, timeout=110,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        text = done.stdout.decode(errors="replace")
        found = {Path(line[len("library: "):]).resolve()
                 for line in text.splitlines() if line.startswith("library: ")}
        wanted = {(self.libraries / f"libixlal.{name}.so").resolve()
                  for name in ("core", "logger", "portinglayer")}
        if done.returncode != 0 or found != wanted:
            raise RuntimeError(f"exit code {done.returncode}, libraries {found}\n{text}")
        return "".join(line for line in text.splitlines(keepends=True)
                       if not OF_OTHERS.match(line))


def frozen_plugins(directory: Path) -> list[Path]:
    """The plugins of a set, among its libraries."""
    return sorted(path for path in directory.glob("lib*.so")
                  if not path.name.startswith("libixlal."))


def write(version: Path, architecture: str, emulator: list[str]) -> None:
    directory = version / architecture
    with Run(directory / "host", frozen_plugins(directory), directory, emulator) as run:
        (directory / "output.txt").write_text(run.run(*run.actions()), encoding="utf-8")
        if architecture == "i386":
            data = version / "data"
            data.mkdir()
            for path in (run.store, run.core_log, run.plugins_log):
                shutil.copyfile(path, data / path.name)
    if architecture == "i386":
        with Run(directory / "host", [], directory, emulator) as run:
            shutil.copyfile(data / "store.txt", run.store)
            (data / "read.txt").write_text(run.run("read"), encoding="utf-8")


if __name__ == "__main__":
    if sys.argv[1:2] != ["--write"] or len(sys.argv) < 4:
        sys.exit(__doc__.splitlines()[0])
    write(Path(sys.argv[2]).resolve(), sys.argv[3], sys.argv[4:])
