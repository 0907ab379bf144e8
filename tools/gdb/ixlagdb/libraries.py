# SPDX-License-Identifier: MIT
"""The files that are mapped in the process."""

import bisect
import os
import re

import gdb

from ixlagdb.memory import attempt, base_name

MAPPING = re.compile(r"\s*(0x[0-9a-f]+)\s+(0x[0-9a-f]+)\s+0x[0-9a-f]+\s+0x[0-9a-f]+\s+(.*)")
PERMISSIONS = re.compile(r"^[rwxsp-]{4,5}\s+")


class Libraries:
    """Names files by address, also of libraries that gdb does not find."""

    def __init__(self) -> None:
        listed = attempt(lambda: gdb.execute("info proc mappings", to_string=True), "")
        found = (MAPPING.match(line) for line in listed.splitlines())
        self.mappings = sorted((int(each[1], 16), int(each[2], 16), _path(each[3]))
                               for each in found if each)

    def path_at(self, address: int) -> str:
        """Empty for none."""
        index = bisect.bisect_right(self.mappings, address, key=lambda each: each[0]) - 1
        if index >= 0 and address < self.mappings[index][1]:
            return self.mappings[index][2]
        return gdb.solib_name(address) or ""

    def name_at(self, address: int) -> str:
        """The file name; empty for none."""
        return base_name(self.path_at(address))

    def path_of(self, name: str) -> str:
        """The mapped file of this name; empty for none."""
        paths = (path for _, _, path in self.mappings)
        return next((path for path in paths if os.path.basename(path).startswith(name)), "")

    def directories(self) -> list[str]:
        """Of all mapped libraries."""
        paths = {path for _, _, path in self.mappings if ".so" in os.path.basename(path)}
        return sorted({os.path.dirname(path) for path in paths if path.startswith("/")})


def _path(text: str) -> str:
    return PERMISSIONS.sub("", text).strip()


def search() -> None:
    """Lets gdb find the libraries whose paths are relative to the directory of the process."""
    known = gdb.parameter("solib-search-path") or ""
    directories = [each for each in known.split(":") if each] + Libraries().directories()
    gdb.execute(f"set solib-search-path {':'.join(dict.fromkeys(directories))}")


def program() -> str:
    """The file of the program, which has the program headers that the system passed to it; empty if
    the process does not name it or it is not here."""
    said = attempt(lambda: gdb.execute("info auxv", to_string=True), "")
    headers = re.search(r"^\d+\s+AT_PHDR\s.*\s(0x[0-9a-f]+)\s*$", said, re.M)
    found = Libraries().path_at(int(headers[1], 16)) if headers else ""
    return found if os.path.isfile(found) else ""
