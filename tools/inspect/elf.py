"""What the dynamic loader reads of an ELF file.

Only the headers and the dynamic segment count for the loader. Everything is read with its bounds
checked, because the files to look at include those that are damaged.
"""

import mmap
import struct
from dataclasses import dataclass, field
from functools import cached_property
from pathlib import Path
from typing import Iterator, NamedTuple

MACHINES = {3: "i386", 8: "mips", 20: "ppc", 21: "ppc64", 22: "s390", 40: "arm", 62: "x86-64",
            183: "aarch64", 243: "riscv", 258: "loongarch"}
TYPES = {1: "object file", 2: "program", 3: "shared library", 4: "core dump"}

PT_LOAD, PT_DYNAMIC = 1, 2
SHT_SYMTAB, SHT_DYNSYM = 2, 11
DT_NEEDED, DT_HASH, DT_STRTAB, DT_SYMTAB, DT_STRSZ = 1, 4, 5, 6, 10
DT_SONAME, DT_RPATH, DT_RUNPATH = 14, 15, 29
DT_GNU_HASH, DT_VERSYM, DT_FLAGS_1 = 0x6ffffef5, 0x6ffffff0, 0x6ffffffb
DT_VERDEF, DT_VERDEFNUM, DT_VERNEED, DT_VERNEEDNUM = range(0x6ffffffc, 0x70000000)
DF_1_PIE = 0x08000000
VER_FLG_WEAK = 2
VERSION_NUMBER = 0x7fff  # without the bit that hides a version
STB_LOCAL, STB_WEAK = 0, 2
HIDDEN = (1, 2)  # visibilities


class ElfError(Exception):
    """The file is no ELF file, or a damaged one."""


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
    """One ELF file; the dynamic part is empty when there is none."""

    bits: int
    machine: str
    type: str
    missing_bytes: int = 0  # that the loader would map behind the end of the file
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
        """The versions of each symbol that others may use."""
        exports: dict[str, set[str | None]] = {}
        for symbol in self.symbols:
            if symbol.exported:
                exports.setdefault(symbol.name, set()).add(symbol.version)
        return exports

    def supplies(self, wanted: Symbol) -> bool:
        versions = self.exports.get(wanted.name)
        if not versions:
            return False
        # Without versions of its own a library supplies any.
        return wanted.version is None or not self.defined_versions or wanted.version in versions


def read_image(path: Path) -> Image:
    """Raises ElfError, or OSError when the file cannot be read."""
    with _map(path) as data:
        return _Reader(data).read()


def read_header(path: Path) -> Image:
    """The image without its dynamic part; raises as read_image does."""
    with _map(path) as data:
        return _Reader(data).header()


def defines_privately(path: Path, name: str) -> bool:
    """Whether the linker's symbols, which the loader does not see, define a name."""
    with _map(path) as data:
        return any(symbol.name == name and symbol.defined
                   for symbol in _Reader(data).linker_symbols())


def _map(path: Path) -> mmap.mmap:
    with path.open("rb") as file:
        try:
            return mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
        except ValueError:
            raise ElfError("is empty") from None


class _Reader:
    def __init__(self, data: mmap.mmap) -> None:
        self.data = data
        if data[:4] != b"\x7fELF":
            raise ElfError("is no ELF file")
        self.wide = self.unpack("<B", 4)[0] == 2
        self.order = ">" if self.unpack("<B", 5)[0] == 2 else "<"
        header = self.unpack("HHIQQQIHHHHHH" if self.wide else "HHIIIIIHHHHHH", 16)
        self.type, self.machine = header[0], header[1]
        self.program_headers = header[4], header[9]
        self.section_headers = header[5], header[11]
        self.loads: list[tuple[int, int, int]] = []  # address, offset and size
        self.tags: list[tuple[int, int]] = []
        self.strings = b""

    def header(self) -> Image:
        return Image(bits=64 if self.wide else 32,
                     machine=MACHINES.get(self.machine, f"machine {self.machine}"),
                     type=TYPES.get(self.type, f"type {self.type}"))

    def read(self) -> Image:
        image = self.header()
        dynamic = self.read_segments(image)
        if image.missing_bytes == 0 and dynamic:
            self.read_dynamic(image, *dynamic)
        return image

    def take(self, offset: int, size: int) -> bytes:
        if size < 0 or not 0 <= offset <= len(self.data) - size:
            raise ElfError(f"is damaged: it refers to {size} bytes at {offset:#x}, "
                           f"but has {len(self.data)}")
        return self.data[offset:offset + size]

    def unpack(self, form: str, offset: int) -> tuple:
        form = form if form[0] == "<" else self.order + form
        return struct.unpack(form, self.take(offset, struct.calcsize(form)))

    def unpack_all(self, form: str, offset: int, count: int) -> Iterator[tuple]:
        form = self.order + form
        return struct.iter_unpack(form, self.take(offset, count * struct.calcsize(form)))

    @staticmethod
    def text(strings: bytes, index: int) -> str:
        end = strings.find(b"\0", index)
        if end < 0:
            raise ElfError(f"is damaged: there is no text {index:#x} among its names")
        return strings[index:end].decode(errors="surrogateescape")

    def read_segments(self, image: Image) -> tuple[int, int] | None:
        """Notes what is loaded. Returns offset and size of the dynamic segment."""
        dynamic = None
        form = "IIQQQQQQ" if self.wide else "8I"
        for header in self.unpack_all(form, *self.program_headers):
            kind, offset, address = header[0], *(header[2:4] if self.wide else header[1:3])
            size = header[5] if self.wide else header[4]
            if kind == PT_LOAD:
                self.loads.append((address, offset, size))
                image.missing_bytes = max(image.missing_bytes, offset + size - len(self.data))
            elif kind == PT_DYNAMIC:
                dynamic = offset, size
        return dynamic

    def offset_of(self, address: int) -> int:
        for start, offset, size in self.loads:
            if start <= address < start + size:
                return offset + address - start
        raise ElfError(f"is damaged: it refers to the address {address:#x}, where nothing is")

    def read_dynamic(self, image: Image, offset: int, size: int) -> None:
        form, entry = ("qQ", 16) if self.wide else ("iI", 8)
        for tag, value in self.unpack_all(form, offset, size // entry):
            if tag == 0:
                break
            self.tags.append((tag, value))
        tags = dict(self.tags)
        if DT_STRTAB not in tags or DT_SYMTAB not in tags:
            raise ElfError("is damaged: its dynamic segment has no symbols")
        self.strings = self.take(self.offset_of(tags[DT_STRTAB]), tags.get(DT_STRSZ, 0))
        if tags.get(DT_FLAGS_1, 0) & DF_1_PIE:
            image.type = TYPES[2]
        image.soname = "".join(self.texts(DT_SONAME)[:1])
        image.needed = self.texts(DT_NEEDED)
        image.rpath = ":".join(self.texts(DT_RPATH)).split(":")
        image.runpath = ":".join(self.texts(DT_RUNPATH)).split(":")
        self.read_symbols(image, tags)

    def texts(self, wanted: int) -> list[str]:
        return [self.text(self.strings, value) for tag, value in self.tags if tag == wanted]

    def read_symbols(self, image: Image, tags: dict[int, int]) -> None:
        count = self.symbol_count(tags)
        names = dict(self.version_definitions(tags))
        image.defined_versions = set(names.values())
        names.pop(1, None)  # stands for no version
        for number, required in self.version_needs(tags):
            names[number] = required.version
            image.required_versions.append(required)
        versions: list[str | None] = [None] * count
        if DT_VERSYM in tags:
            numbers = self.unpack_all("H", self.offset_of(tags[DT_VERSYM]), count)
            versions = [names.get(number & VERSION_NUMBER) for number, in numbers]
        symbols = self.symbols(self.offset_of(tags[DT_SYMTAB]), self.strings, versions)
        image.symbols = list(symbols)

    def symbols(self, offset: int, strings: bytes,
                versions: list[str | None]) -> Iterator[Symbol]:
        form = "IBBHQQ" if self.wide else "IIIBBH"
        entries = self.unpack_all(form, offset, len(versions))
        for entry, version in zip(entries, versions):
            name, info, other, section = entry[:4] if self.wide else (entry[0], *entry[3:])
            binding, defined = info >> 4, section != 0
            exported = defined and binding != STB_LOCAL and other & 3 not in HIDDEN
            yield Symbol(self.text(strings, name), version, defined, binding == STB_WEAK, exported)

    def symbol_count(self, tags: dict[int, int]) -> int:
        """From the section headers or, without them, from the hash tables."""
        for kind, _, _, size, _ in self.sections():
            if kind == SHT_DYNSYM:
                return size // self.symbol_size()
        if DT_HASH in tags:
            return self.unpack("II", self.offset_of(tags[DT_HASH]))[1]
        return self.hashed_count(tags[DT_GNU_HASH]) if DT_GNU_HASH in tags else 0

    def hashed_count(self, address: int) -> int:
        """The last chain of a hash table ends with the last symbol."""
        offset = self.offset_of(address)
        bucket_count, first, filters, _ = self.unpack("4I", offset)
        buckets = offset + 16 + filters * (8 if self.wide else 4)
        last = max((bucket for bucket, in self.unpack_all("I", buckets, bucket_count)), default=0)
        if last < first:
            return first
        chains = buckets + 4 * bucket_count
        while not self.unpack("I", chains + 4 * (last - first))[0] & 1:
            last += 1
        return last + 1

    def symbol_size(self) -> int:
        return 24 if self.wide else 16

    def sections(self) -> list[tuple[int, int, int, int, int]]:
        """Type, address, offset, size and link of each section; none when they are damaged,
        because nobody needs them for loading."""
        offset, count = self.section_headers
        try:
            headers = list(self.unpack_all("IIQQQQIIQQ" if self.wide else "10I", offset, count))
        except ElfError:
            return []
        return [(header[1], *header[3:7]) for header in headers]

    def linker_symbols(self) -> Iterator[Symbol]:
        sections = self.sections()
        for kind, _, offset, size, link in sections:
            if kind == SHT_SYMTAB and link < len(sections):
                strings = self.take(*sections[link][2:4])
                yield from self.symbols(offset, strings, [None] * (size // self.symbol_size()))

    def version_definitions(self, tags: dict[int, int]) -> Iterator[tuple[int, str]]:
        if DT_VERDEF not in tags:
            return
        offset = self.offset_of(tags[DT_VERDEF])
        for _ in range(tags.get(DT_VERDEFNUM, 0)):
            _, _, number, _, _, names, step = self.unpack("HHHHIII", offset)
            yield number, self.text(self.strings, self.unpack("I", offset + names)[0])
            if step == 0:
                return
            offset += step

    def version_needs(self, tags: dict[int, int]) -> Iterator[tuple[int, RequiredVersion]]:
        if DT_VERNEED not in tags:
            return
        offset = self.offset_of(tags[DT_VERNEED])
        for _ in range(min(tags.get(DT_VERNEEDNUM, 0), VERSION_NUMBER)):
            _, count, file, names, step = self.unpack("HHIII", offset)
            yield from self.file_needs(self.text(self.strings, file), offset + names, count)
            if step == 0:
                return
            offset += step

    def file_needs(self, file: str, offset: int,
                   count: int) -> Iterator[tuple[int, RequiredVersion]]:
        for _ in range(count):
            _, flags, number, version, step = self.unpack("IHHII", offset)
            weak = bool(flags & VER_FLG_WEAK)
            yield number, RequiredVersion(file, self.text(self.strings, version), weak)
            if step == 0:
                return
            offset += step
