# SPDX-License-Identifier: MIT
"""Pretty-printers for texts, holders, counts, locks, libraries and values of configurations."""

import gdb
import gdb.printing

from ixlagdb.config import attributes_text
from ixlagdb.memory import Problem, number, shown, text


class _Shown:
    """A printer that prints one text; a value that cannot be read is shown with the reason."""

    def __init__(self, value: gdb.Value) -> None:
        self.value = value

    def to_string(self) -> str:
        return shown(self.describe)

    def describe(self) -> str:
        raise NotImplementedError


class Text(_Shown):
    """PLiteral, PString and classes that are derived from them."""

    def describe(self) -> str:
        return f'L"{text(self.value)}"'


class Holder(_Shown):
    """PPtr and PBaseptr."""

    def describe(self) -> str:
        pointer = self.value["fPtr"]
        if not int(pointer):
            return "empty"
        kind = pointer.type.strip_typedefs().target().name
        return f"{kind} at {int(pointer):#x}, {self._holders()}"

    def _holders(self) -> str:
        counter = self.value["fCounter"]
        if not int(counter):
            raise Problem(f"a holder of {int(self.value['fPtr']):#x} without a count is damaged")
        count = int(counter.dereference())
        return f"{count} holder" + ("" if count == 1 else "s")


class Count(_Shown):
    """PCounter and PCounterSync."""

    def describe(self) -> str:
        return str(int(self.value["fValue"]))


class Mutex(_Shown):
    """PMutex."""

    def describe(self) -> str:
        if not int(self.value["fGeneration"]):
            return "not open"
        owner, depth = int(self.value["fOwner"]), int(self.value["fDepth"])
        if owner:
            process = int(self.value["fHandle"]["__data"]["__owner"])
            return f"held by LWP {process}, {depth} times"
        return "held" if number(self.value["fHandle"]["__data"]["__lock"]) else "free"


class Condition(_Shown):
    """PConditionalVar."""

    def describe(self) -> str:
        return "open" if int(self.value["fGeneration"]) else "not open"


class Library(_Shown):
    """PLibrary."""

    def describe(self) -> str:
        closes = "closed" if int(self.value["fFreeOnDestroy"]) else "stays mapped"
        return f"{text(self.value['fName'])}, {closes} when it is destroyed"


class Value(_Shown):
    """PConfigValue, a value of a configuration with its attributes."""

    def describe(self) -> str:
        return f'L"{text(self.value["fValue"])}"{attributes_text(self.value["fAttributes"])}'


class Attributes(_Shown):
    """PConfigAttributes."""

    def describe(self) -> str:
        return attributes_text(self.value).strip() or "none"


PRINTERS = {
    "texts": (r"^(PLiteral|PString|PShortString<.*>|PConfigText|PConfigName)$", Text),
    "holders": (r"^(PPtr|PBaseptr)<.*>$", Holder),
    "counts": (r"^(PCounter|PCounterSync)$", Count),
    "PMutex": (r"^PMutex$", Mutex),
    "PConditionalVar": (r"^PConditionalVar$", Condition),
    "PLibrary": (r"^PLibrary$", Library),
    "PConfigValue": (r"^PConfigValue$", Value),
    "PConfigAttributes": (r"^PConfigAttributes$", Attributes),
}


def register() -> None:
    collection = gdb.printing.RegexpCollectionPrettyPrinter("ixlal")
    for name, (pattern, printer) in PRINTERS.items():
        collection.add_printer(name, pattern, printer)
    gdb.printing.register_pretty_printer(None, collection, replace=True)
