# SPDX-License-Identifier: MIT
"""Whether the plugins of a core fit together, and to the core, before it starts."""

import os
from collections.abc import Iterator

from library import CORE_INTERFACES, Library


class Relations:
    """Of libraries in the order in which the core loads them. Interfaces of a plugin without
    plugin information are known if it was loaded."""

    def __init__(self, libraries: list[Library]) -> None:
        self.libraries = libraries
        self.owners: dict[str, Library] = {}
        for library in libraries:
            for interface in library.interfaces:
                self.owners.setdefault(interface, library)

    def report(self, core: str) -> None:
        """Adds problems and hints to the libraries; core is the version of the core. A library that
        was given by name may need others of its directory."""
        silent = [each for each in self.libraries if each.is_silent]
        for library in self.libraries:
            if not library.named:
                self._report_missing(library, silent)
            if library.info and not library.info.works_with(core):
                library.problems.append(
                    f"needs version {library.info.texts['core']} of the core, which is {core}")
        for circle in self.circles():
            circle[0].problems.append(self._describe(circle))

    def needs(self, library: Library) -> dict[str, Library]:
        """By required interface, the library that offers it."""
        required = library.info.required if library.info else []
        return {each: self.owners[each] for each in required if each in self.owners}

    def missing(self, library: Library) -> list[str]:
        """Required interfaces that nobody offers, as far as it is known."""
        required = library.info.required if library.info else []
        return [each for each in required
                if each not in self.owners and each not in CORE_INTERFACES]

    def circles(self) -> Iterator[list[Library]]:
        """The shortest circle of each library that is in no earlier one."""
        reported: set[int] = set()
        for library in self.libraries:
            circle = self._circle_of(library)
            if circle and reported.isdisjoint(map(id, circle)):
                reported.update(map(id, circle))
                yield circle

    def _report_missing(self, library: Library, silent: list[Library]) -> None:
        for interface in self.missing(library):
            if silent:
                library.hints.append(
                    f"requires {interface}, which no plugin information offers; "
                    f"{silent[0].path.name} has none and may offer it")
            else:
                library.problems.append(f"requires {interface}, which no plugin offers")

    def _circle_of(self, library: Library) -> list[Library]:
        came_from: dict[int, Library] = {}
        waiting = [library]
        while waiting and id(library) not in came_from:
            user = waiting.pop(0)
            for needed in self.needs(user).values():
                if id(needed) not in came_from:
                    came_from[id(needed)] = user
                    waiting.append(needed)
        circle: list[Library] = []
        at = came_from.get(id(library))
        while at:
            circle.insert(0, at)
            at = None if at is library else came_from[id(at)]
        return circle

    def _describe(self, circle: list[Library]) -> str:
        steps = []
        for user, needed in zip(circle, circle[1:] + circle[:1]):
            interface = next(each for each, owner in self.needs(user).items() if owner is needed)
            steps.append(f"requires {interface} of {os.fspath(needed.path)}")
        return ", which ".join(steps) + ": a circle, in which no plugin can initialise"
