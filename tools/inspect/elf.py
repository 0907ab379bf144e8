# SPDX-License-Identifier: MIT
"""The parts of an ELF file that the dynamic loader reads.

pyelftools reads the tables. The dynamic segment gives their places, because a library may lack the
section headers. Files may be damaged.
"""

import mmap
import struct
from collections.abc import Iterable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass, field
from functools import cached_property
from itertools import islice
from pathlib import Path
from typing import NamedTuple

from elftools.common.exceptions import ELFError
from elftools.common.utils import struct_parse
from elftools.construct import Array, ConstructError
from elftools.elf.dynamic import Dynamic, DynamicSegment, DynamicTag
from elftools.elf.elffile import ELFFile
from elftools.elf.enums import ENUM_E_MACHINE, ENUM_E_TYPE
from elftools.elf.gnuversions import GNUVerDefSection, GNUVerNeedSection
from elftools.elf.sections import Section, SymbolTableSection
from elftools.elf.sections import Symbol as Entry

MACHINES = {3: "i386", 8: "mips", 20: "ppc", 21: "ppc64", 22: "s390", 40: "arm", 62: "x86-64",
            183: "aarch64", 243: "riscv", 258: "loongarch"}
TYPES = {1: "object file", 2: "program", 3: "shared library", 4: "core dump"}

DF_1_PIE = 0x08000000
VER_FLG_WEAK = 2
VERSION_NUMBER = 0x7fff  # without the bit that hides a version
# Exceptions of pyelftools for damaged files.
DAMAGE = (ELFError, ConstructError, struct.error, ArithmeticError, AssertionError, AttributeError,
          LookupError, MemoryError, RecursionError, TypeError, ValueError)


class ElfError(Exception):
    """The file is not an ELF file, or it is damaged."""


class Symbol(NamedTuple):
    name: str
    version: str | None
    defined: bool
    weak: bool
    exported: bool


class RequiredVersion(NamedTuple):
    file: str
    version: str
    weak: bool


@dataclass
class Image:
    """One ELF file; the dynamic part may be empty."""

    bits: int
    machine: str
    type: str
    missing_bytes: int = 0  # that the loader would map after the end of the file
    soname: str = ""
    needed: list[str] = field(default_factory=list)
    rpath: list[str] = field(default_factory=list)
    runpath: list[str] = field(default_factory=list)
    symbols: list[Symbol] = field(default_factory=list)
    required_versions: list[RequiredVersion] = field(default_factory=list)
    defined_versions: set[str] = field(default_factory=set)

    @property
    def kind(self) -> str:
        return f"{self.bits}-bit {self.machine}"

    @cached_property
    def exports(self) -> dict[str, set[str | None]]:
        """The versions of each exported symbol."""
        exports: dict[str, set[str | None]] = {}
        for symbol in self.symbols:
            if symbol.exported:
                exports.setdefault(symbol.name, set()).add(symbol.version)
        return exports

    def supplies(self, wanted: Symbol) -> bool:
        versions = self.exports.get(wanted.name)
        if not versions:
            return False
        # A library without versions matches every version.
        return wanted.version is None or not self.defined_versions or wanted.version in versions


def read_image(path: Path) -> Image:
    """Raises ElfError, or OSError when the file cannot be read."""
    with _map(path) as data, _damage_told():
        return _Reader(data).read()


def read_header(path: Path) -> Image:
    """The image without its dynamic part; raises as read_image does."""
    with _map(path) as data, _damage_told():
        return _Reader(data).header()


def defines_privately(path: Path, name: str) -> bool:
    """Whether the linker's symbols, which the loader does not use, define a name."""
    with _map(path) as data, _damage_told():
        return any(entry.name == name and _is_defined(entry)
                   for table in _sections(data, "SHT_SYMTAB")
                   for entry in table.iter_symbols())


@contextmanager
def _map(path: Path) -> Iterator[mmap.mmap]:
    with path.open("rb") as file:
        try:
            data = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
        except ValueError:
            raise ElfError("is empty") from None
    with data:
        if data[:4] != b"\x7fELF":
            raise ElfError("is not an ELF file")
        yield data


@contextmanager
def _damage_told() -> Iterator[None]:
    try:
        yield
    except DAMAGE:
        raise ElfError("is damaged: a part of it is invalid or missing") from None


def _sections(data: mmap.mmap, kind: str) -> list[Section]:
    """Empty when they are damaged, because loading does not need them."""
    try:
        with _damage_told():
            elf = ELFFile(data)
            if elf.num_sections() * elf.structs.Elf_Shdr.sizeof() > len(data):
                return []
            return [section for section in elf.iter_sections(kind)
                    if section["sh_offset"] + section["sh_size"] <= len(data)]
    except ElfError:
        return []


def _is_defined(entry: Entry) -> bool:
    return entry["st_shndx"] != "SHN_UNDEF"


def _until_end(entries: Iterable, step: str) -> Iterator:
    """The entries of a chain up to the one without a step, which is the last one; the count may be
    wrong."""
    for entry in entries:
        yield entry
        if (entry[0] if isinstance(entry, tuple) else entry)[step] == 0:
            return


class _LoadedFile(ELFFile):
    """A file without section headers, as for the loader."""

    def num_sections(self) -> int:
        return 0


class _Names:
    """A string table; its texts may be invalid UTF-8."""

    def __init__(self, data: mmap.mmap, offset: int) -> None:
        self.data = data
        self.offset = offset
        self.end = len(data)

    def get_string(self, index: int) -> str:
        start = self.offset + index
        end = self.data.find(b"\0", start, self.end)
        if end < 0:
            raise ElfError(f"is damaged: its string table has no text {index:#x}")
        return self.data[start:end].decode(errors="surrogateescape")


class _Reader:
    def __init__(self, data: mmap.mmap) -> None:
        self.data = data
        self.elf = _LoadedFile(data)
        self.tags: list[DynamicTag] = []
        self.names = _Names(data, 0)

    def header(self) -> Image:
        machine, kind = self.elf["e_machine"], self.elf["e_type"]
        machine, kind = ENUM_E_MACHINE.get(machine, machine), ENUM_E_TYPE.get(kind, kind)
        return Image(bits=self.elf.elfclass, machine=MACHINES.get(machine, f"machine {machine}"),
                     type=TYPES.get(kind, f"type {kind}"))

    def read(self) -> Image:
        image = self.header()
        size = self.elf.structs.Elf_Phdr.sizeof()
        if self.elf["e_phnum"] and self.elf["e_phentsize"] != size:
            raise ElfError(f"is damaged: the size of its program headers is not {size} bytes")
        segments = list(self.elf.iter_segments())
        image.missing_bytes = max([0] + [each["p_offset"] + each["p_filesz"] - len(self.data)
                                         for each in segments if each["p_type"] == "PT_LOAD"])
        dynamic = [each for each in segments if isinstance(each, DynamicSegment)]
        if image.missing_bytes == 0 and dynamic:
            self.read_dynamic(image, dynamic[-1])
        return image

    def read_dynamic(self, image: Image, segment: DynamicSegment) -> None:
        self.names = _Names(self.data, self.required(segment.get_table_offset("DT_STRTAB")[1]))
        dynamic = Dynamic(self.data, self.elf, self.names, segment["p_offset"], False)
        count = segment["p_filesz"] // self.elf.structs.Elf_Dyn.sizeof()
        self.tags = list(islice(dynamic.iter_tags(), count))
        self.names.end = self.names.offset + sum(self.values("DT_STRSZ"))
        if any(flags & DF_1_PIE for flags in self.values("DT_FLAGS_1")):
            image.type = TYPES[2]
        image.soname = "".join(self.texts("DT_SONAME")[:1])
        image.needed = self.texts("DT_NEEDED")
        image.rpath = ":".join(self.texts("DT_RPATH")).split(":")
        image.runpath = ":".join(self.texts("DT_RUNPATH")).split(":")
        self.read_symbols(image, segment)

    @staticmethod
    def required(offset: int | None) -> int:
        if offset is None:
            raise ElfError("is damaged: its dynamic segment refers to a missing table")
        return offset

    def values(self, tag: str) -> list[int]:
        return [each["d_val"] for each in self.tags if each["d_tag"] == tag]

    def texts(self, tag: str) -> list[str]:
        return [self.names.get_string(value) for value in self.values(tag)]

    def offset(self, tag: str) -> int:
        addresses = self.values(tag)
        return self.required(next(self.elf.address_offsets(addresses[0]), None)
                             if addresses else None)

    def table(self, tag: str, count: int, size: int = 0) -> dict[str, int]:
        """The section header of a table."""
        offset = self.offset(tag)
        if not 0 <= count * size <= len(self.data) - offset:
            raise ElfError(f"is damaged: it is too small for {count} symbols")
        return {"sh_offset": offset, "sh_size": count * size, "sh_entsize": size,
                "sh_info": count, "sh_flags": 0, "sh_addralign": 1}

    def read_symbols(self, image: Image, segment: DynamicSegment) -> None:
        names = dict(self.version_definitions())
        image.defined_versions = set(names.values())
        names.pop(1, None)  # stands for no version
        for number, required in self.version_needs():
            names[number] = required.version
            image.required_versions.append(required)
        count = self.symbol_count(segment)
        header = self.table("DT_SYMTAB", count, self.elf.structs.Elf_Sym.sizeof())
        entries = SymbolTableSection(header, "", self.elf, self.names).iter_symbols()
        image.symbols = [self.symbol(entry, names.get(number & VERSION_NUMBER))
                         for entry, number in zip(entries, self.version_numbers(count))]

    def symbol_count(self, segment: DynamicSegment) -> int:
        """The section header is preferred: the hash table, which always exists, may omit undefined
        symbols."""
        tables = _sections(self.data, "SHT_DYNSYM")
        return tables[0].num_symbols() if tables else segment.num_symbols()

    @staticmethod
    def symbol(entry: Entry, version: str | None) -> Symbol:
        binding, defined = entry["st_info"]["bind"], _is_defined(entry)
        exported = (defined and binding != "STB_LOCAL"
                    and entry["st_other"]["visibility"] not in ("STV_INTERNAL", "STV_HIDDEN"))
        return Symbol(entry.name, version, defined, binding == "STB_WEAK", exported)

    def version_numbers(self, count: int) -> list[int]:
        if not self.values("DT_VERSYM"):
            return [0] * count
        numbers = Array(count, self.elf.structs.Elf_half(""))
        return struct_parse(numbers, self.data, self.offset("DT_VERSYM"))

    def versions(self, kind: type, tag: str, step: str) -> Iterator[tuple]:
        if not self.values(tag):
            return iter(())
        count = min(sum(self.values(f"{tag}NUM")), VERSION_NUMBER)
        table = kind(self.table(tag, count), "", self.elf, self.names)
        return _until_end(table.iter_versions(), step)

    def version_definitions(self) -> Iterator[tuple[int, str]]:
        for version, names in self.versions(GNUVerDefSection, "DT_VERDEF", "vd_next"):
            yield version["vd_ndx"], next(names).name

    def version_needs(self) -> Iterator[tuple[int, RequiredVersion]]:
        for file, versions in self.versions(GNUVerNeedSection, "DT_VERNEED", "vn_next"):
            for version in _until_end(versions, "vna_next"):
                weak = bool(version["vna_flags"] & VER_FLG_WEAK)
                yield version["vna_other"], RequiredVersion(file.name, version.name, weak)
