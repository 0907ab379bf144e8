# SPDX-License-Identifier: MIT
"""The plugin information of a library, as IXLA_PLUGIN_INFO gives it.

The lines about damage are those of PPluginInfo, the reader of the programs in C++.
"""

import re
from dataclasses import dataclass, field

from plugin_notes import INFO, Field, Notes

TEXTS = ("name", "version", "description", "author", "license", "url", "core")
ITS = "its plugin information"


@dataclass
class PluginInfo:
    """Texts may have control characters."""

    texts: dict[str, str] = field(default_factory=dict)  # by field: those of TEXTS that are given
    offers: list[tuple[str, str]] = field(default_factory=list)  # IDs and what they are for
    required: list[str] = field(default_factory=list)
    optional: list[str] = field(default_factory=list)

    @property
    def offered(self) -> list[str]:
        return [interface for interface, _ in self.offers]

    def works_with(self, core: str) -> bool:
        """True for versions that are not of the form 1.2.3."""
        oldest, version = _version(self.texts.get("core", "")), _version(core)
        return not oldest or not version or oldest <= version


def plugin_info(notes: Notes) -> tuple[PluginInfo | None, list[str]]:
    """The information, and what is wrong with it."""
    found = [note for note in notes.notes if note.type == INFO]
    if not found:
        return None, []
    info, damage = PluginInfo(), []
    for each in found[0].fields:
        damage += _add(each, info)
    damage += [f"{ITS} has no {name}" for name in ("name", "version") if not info.texts.get(name)]
    if "core" in info.texts and not _version(info.texts["core"]):
        damage.append(f"{ITS} has a version of the core that is not of the form 1.2.3")
    damage += _damage_of_ids(info.offered + info.required + info.optional)
    if len(found) > 1:
        damage.append(f"it has {len(found)} notes of plugin information; the first one counts")
    return info, damage


def _add(each: Field, info: PluginInfo) -> list[str]:
    """Fields with other names are those of newer tools. Returns what is wrong."""
    name, value = each.name, each.values[0]
    if name == "offers":
        info.offers.append((value, "".join(each.values[1:2])))
    elif name == "requires":
        info.required.append(value)
    elif name == "optional":
        info.optional.append(value)
    elif name in info.texts:
        return [f"{ITS} has the field {name} twice; the first one counts"]
    elif name in TEXTS:
        info.texts[name] = value
    return []


def _damage_of_ids(ids: list[str]) -> list[str]:
    damage = [f"{ITS} names the interface {each} twice"
              for number, each in enumerate(ids) if each in ids[:number]]
    return damage + [f"{ITS} has an empty interface ID"] * ("" in ids)


def _version(text: str) -> tuple[int, ...]:
    """The numbers of a version of the form 1.2.3; empty for another one."""
    found = re.fullmatch("([0-9]{1,9})[.]([0-9]{1,9})[.]([0-9]{1,9})", text)
    return tuple(map(int, found.groups())) if found else ()
