# SPDX-License-Identifier: MIT
"""Finds the libraries that a library needs, like the dynamic loader, and what is missing."""

import glob
import os
from dataclasses import dataclass, field, replace
from functools import cache
from pathlib import Path

from elf import ElfError, Image, read_header, read_image

CONFIGURATION = Path("/etc/ld.so.conf")


@dataclass
class Loaded:
    """A library, in the order of the loader."""

    name: str  # as in the library that needs it
    needed_by: str
    path: Path | None = None  # None when it is not found
    image: Image | None = None


@dataclass
class Missing:
    """The reasons why a library cannot be loaded."""

    libraries: list[Loaded] = field(default_factory=list)
    versions: list[str] = field(default_factory=list)
    symbols: list[str] = field(default_factory=list)


class Host:
    """The libraries that a host has loaded before a plugin: those of our programs."""

    def __init__(self, program: Path) -> None:
        self.image = read_image(program)
        self.libraries = _closure(program, self.image, {})

    @property
    def by_name(self) -> dict[str, Loaded]:
        return {name: loaded for loaded in self.libraries if loaded.image
                for name in (loaded.name, loaded.image.soname)}


def needed_libraries(path: Path, image: Image, host: Host | None) -> list[Loaded]:
    """All direct and indirect dependencies of a library."""
    return _closure(path, image, host.by_name if host else {})


def find_missing(image: Image, libraries: list[Loaded], host: Host | None) -> Missing:
    """Symbols are searched only when no library is missing: a missing one might define them."""
    missing = Missing([loaded for loaded in libraries if not loaded.image])
    scope = [loaded for loaded in libraries + (host.libraries if host else []) if loaded.image]
    missing.versions = _missing_versions(image, scope)
    if not missing.libraries and not missing.versions:
        missing.symbols = _missing_symbols(image, [image] + [loaded.image for loaded in scope])
    return missing


def _missing_versions(image: Image, scope: list[Loaded]) -> list[str]:
    defined = {name: loaded for loaded in reversed(scope)
               for name in (loaded.name, loaded.image.soname)}
    return [f"{required.version} in {defined[required.file].path}"
            for required in image.required_versions
            if required.file in defined and not required.weak
            and defined[required.file].image.defined_versions
            and required.version not in defined[required.file].image.defined_versions]


def _missing_symbols(image: Image, scope: list[Image]) -> list[str]:
    return sorted(symbol.name for symbol in image.symbols
                  if symbol.name and not symbol.defined and not symbol.weak
                  and not any(supplier.supplies(symbol) for supplier in scope))


def _closure(path: Path, image: Image, present: dict[str, Loaded]) -> list[Loaded]:
    found: dict[str, Loaded] = {}
    waiting = [(path, image, [])]
    while waiting:
        user, user_image, inherited = waiting.pop(0)
        rpath = [] if any(user_image.runpath) else _expand(user_image.rpath, user) + inherited
        for name in user_image.needed:
            if name in found:
                continue
            loaded = found[name] = _search(name, user, user_image, rpath, present)
            if loaded.image:
                waiting.append((loaded.path, loaded.image, rpath))
    return list(found.values())


def _search(name: str, user: Path, image: Image, rpath: list[Path],
            present: dict[str, Loaded]) -> Loaded:
    if name in present:
        return replace(present[name], name=name, needed_by=user.name)
    for candidate in _candidates(name, user, image, rpath):
        found = _read(candidate, image.kind)
        if found:
            return Loaded(name, user.name, candidate, found)
    return Loaded(name, user.name)


def _candidates(name: str, user: Path, image: Image, rpath: list[Path]) -> list[Path]:
    if "/" in name:
        return _expand([name], user)
    library_path = os.environ.get("LD_LIBRARY_PATH", "").replace(";", ":").split(":")
    directories = rpath + _expand(library_path, user) + _expand(image.runpath, user)
    return [directory / name for directory in directories + _system_directories()]


def _expand(paths: list[str], user: Path) -> list[Path]:
    origin = os.path.dirname(os.path.abspath(user))
    return [Path(path.replace("${ORIGIN}", origin).replace("$ORIGIN", origin))
            for path in paths if path]


@cache
def _read(path: Path, kind: str) -> Image | None:
    """Libraries of another kind are skipped, as the loader does."""
    try:
        return read_image(path) if path.is_file() and read_header(path).kind == kind else None
    except (OSError, ElfError):
        return None


@cache
def _system_directories() -> list[Path]:
    directories = _configured(str(CONFIGURATION))
    built_in = ["/lib", "/usr/lib", "/lib/i386-linux-gnu", "/usr/lib/i386-linux-gnu",
                "/lib/x86_64-linux-gnu", "/usr/lib/x86_64-linux-gnu",
                "/lib/arm-linux-gnueabihf", "/usr/lib/arm-linux-gnueabihf", "/lib64", "/usr/lib64"]
    return list(dict.fromkeys(map(Path, directories + built_in)))


def _configured(pattern: str) -> list[str]:
    directories = []
    for file in sorted(glob.glob(pattern)):
        try:
            lines = Path(file).read_text(errors="surrogateescape").splitlines()
        except OSError:
            continue
        for line in lines:
            words = line.partition("#")[0].split()
            if words[:1] == ["include"]:
                for included in words[1:]:
                    directories += _configured(os.path.join(os.path.dirname(file), included))
            else:
                directories += words
    return directories
