# SPDX-License-Identifier: MIT
"""Inspects one library and finds its problems."""

import os
import re
import stat
from dataclasses import dataclass, field
from pathlib import Path

import probe
from elf import ElfError, Image, defines_privately, read_image
from loader import Host, Loaded, find_missing, needed_libraries
from plugin_info import PluginInfo, plugin_info
from plugin_notes import read_notes

FACTORY = "_Z13ixlaGetPluginv"
CORE_INTERFACES = ("com.kelvora.ixla.config.manager", "com.kelvora.ixla.eventdispatcher",
                   "com.kelvora.ixla.logger")
# Symbols that every linker exports.
LINKER_SYMBOLS = {"_init", "_fini", "_edata", "_end", "__bss_start"}


@dataclass
class Library:
    path: Path
    named: bool  # the file itself was given on the command line, so it should be a plugin
    image: Image | None = None
    info: PluginInfo | None = None
    needed: list[Loaded] = field(default_factory=list)
    missing: list[str] = field(default_factory=list)  # expected errors of the loader
    undefined: list[str] = field(default_factory=list)
    has_factory: bool = False
    outcome: probe.Outcome | None = None
    problems: list[str] = field(default_factory=list)
    hints: list[str] = field(default_factory=list)

    @property
    def verdict(self) -> str:
        if self.problems:
            return "problem"
        return "ok" if self.has_factory else "skipped"

    @property
    def interfaces(self) -> list[str]:
        """Those that it has offered when it was loaded, otherwise those of its information."""
        loaded = self.outcome.interfaces if self.outcome else []
        return loaded or (self.info.offered if self.info else [])

    @property
    def is_silent(self) -> bool:
        """Whether its interfaces are not known."""
        is_loaded = self.outcome and not self.outcome.failure
        return self.has_factory and not self.info and not is_loaded

    @property
    def extra_exports(self) -> list[str]:
        symbols = self.image.symbols if self.image else []
        return sorted(symbol.name for symbol in symbols
                      if symbol.exported and symbol.name not in LINKER_SYMBOLS | {FACTORY})


class Inspector:
    def __init__(self, program: Path | None, limit: float, static: bool, product: str) -> None:
        """Without a program that tries libraries, product is the kind of the core's files."""
        self.probe = program
        self.limit = limit
        self.static = static
        self.host = Host(program) if program else None
        self.product = self.host.image.kind if self.host else product

    def inspect(self, path: Path, named: bool) -> Library:
        library = Library(path, named)
        try:
            self._read(library)
            if library.image and not library.problems:
                self._read_info(library)
                self._look_for_factory(library)
                self._look_for_missing(library)
                self._load(library)
        except ElfError as problem:
            library.problems.append(f"the file {problem}")
        except OSError as problem:
            library.problems.append(f"the file cannot be read: {problem.strerror}")
        return library

    def _read(self, library: Library) -> None:
        if not stat.S_ISREG(library.path.stat().st_mode):
            library.problems.append("the file is not a regular file")
            return
        image = library.image = read_image(library.path)
        if image.kind != self.product:
            library.problems.append(f"the file is {image.kind}, the product is {self.product}")
        elif image.type != "shared library":
            article = "an" if image.type[0] in "aeiou" else "a"
            library.problems.append(f"the file is {article} {image.type}, not a shared library")
        elif image.missing_bytes:
            library.problems.append(f"the file is cut short: {image.missing_bytes} bytes of it "
                                    "are missing")

    @staticmethod
    def _read_info(library: Library) -> None:
        notes = read_notes(library.path)
        library.info, damage = plugin_info(notes)
        library.problems += [each for each in [notes.fault, *notes.damage, *damage] if each]
        if notes.has_newer:
            library.hints.append("has a note that is newer than this tool")

    def _look_for_factory(self, library: Library) -> None:
        library.has_factory = any(symbol.exported and symbol.name == FACTORY
                                  for symbol in library.image.symbols)
        if library.has_factory:
            extra = library.extra_exports
            if extra:
                more = f" and {len(extra) - 1} more" if extra[1:] else ""
                library.hints.append(f"exports more than the factory: {extra[0]}{more}")
            return
        near = self._find_near_miss(library)
        if near:
            library.problems.append(f"has no factory {FACTORY}, but {near}")
        elif library.named:
            library.problems.append(f"has no factory {FACTORY} and is therefore not a plugin")
        else:
            library.hints.append("has no factory: the core skips it")

    @staticmethod
    def _find_near_miss(library: Library) -> str:
        if defines_privately(library.path, FACTORY):
            return "defines it without exporting it"
        for name in library.extra_exports:
            if re.search("13ixlaGetPlugin|^ixlaGetPlugin$", name):
                return f"exports {name}: another signature or language"
        return ""

    def _look_for_missing(self, library: Library) -> None:
        library.needed = needed_libraries(library.path, library.image, self.host)
        missing = find_missing(library.image, library.needed, self.host)
        library.undefined = missing.symbols
        for loaded in missing.libraries:
            user = "" if loaded.needed_by == library.path.name else f" (for {loaded.needed_by})"
            library.missing.append(f"needs {loaded.name}{user}, which the loader does not find")
        library.missing += [f"needs the version {version}, which does not exist"
                            for version in missing.versions]
        library.missing += [f"undefined symbol, defined by none of its libraries: {name}"
                            for name in missing.symbols]

    def _load(self, library: Library) -> None:
        if self.static or not self.probe:
            library.problems += library.missing
            return
        outcome = library.outcome = probe.load(self.probe, library.path, self.limit)
        if outcome.load_ms is not None:
            library.hints += [f"{each}; the loader accepts it nevertheless"
                              for each in library.missing]
        else:
            library.problems += library.missing
        if outcome.failure and (outcome.load_ms is not None or not library.missing):
            result = f"; the core ends its start with {outcome.result}" if outcome.result else ""
            library.problems.append(outcome.failure + result)
        if not outcome.failure and library.has_factory and not outcome.interfaces:
            library.hints.append("offers no interface, so it cannot be requested")
        if not outcome.failure and library.has_factory and library.info:
            library.hints += _differences(library.info.offered, outcome.interfaces)


def _differences(said: list[str], offered: list[str]) -> list[str]:
    return ([f"offers {each}, which its plugin information does not name"
             for each in dict.fromkeys(offered) if each not in said]
            + [f"does not offer {each}, which its plugin information names"
               for each in dict.fromkeys(said) if each not in offered])


def find_duplicates(libraries: list[Library]) -> None:
    """Each ID belongs to the first library that offers it, in the core's order."""
    owners: dict[str, str] = dict.fromkeys(CORE_INTERFACES, "the core itself")
    for library in libraries:
        for interface in dict.fromkeys(library.interfaces):
            owner = owners.setdefault(interface, os.fspath(library.path))
            if owner != os.fspath(library.path):
                library.problems.append(f"offers {interface}, which {owner} offers "
                                        "already; the core does not start with both")
