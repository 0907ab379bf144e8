# SPDX-License-Identifier: MIT
"""The dependencies of plugins as a graph, and its text for Graphviz."""

import os
from collections.abc import Iterator
from dataclasses import dataclass, field

from library import CORE_INTERFACES, Library
from relations import Relations


@dataclass(eq=False)
class Node:
    """A plugin, or an interface that no plugin offers."""

    title: str
    file: str = ""  # empty for a missing interface
    about: str = ""
    interfaces: list[str] = field(default_factory=list)

    @property
    def is_missing(self) -> bool:
        return not self.file


@dataclass(eq=False)
class Edge:
    user: Node
    owner: Node
    interface: str
    is_optional: bool
    is_circle: bool

    @property
    def is_lost(self) -> bool:
        return self.owner.is_missing and not self.is_optional


@dataclass
class Graph:
    """Services of the core are left out: every plugin may use them."""

    nodes: list[Node]
    edges: list[Edge]


def dependency_graph(libraries: list[Library]) -> Graph:
    relations = Relations(libraries)
    plugins = {id(each): _node_of(each) for each in libraries if each.has_factory}
    missing: dict[str, Node] = {}
    circles = list(relations.circles())
    edges = []
    for library in libraries:
        for interface, is_optional in _wishes(library):
            owner = relations.owners.get(interface)
            if owner and id(owner) in plugins:
                node = plugins[id(owner)]
            else:
                node = missing.setdefault(interface, Node(interface, interfaces=[interface]))
            is_circle = not is_optional and any(library in circle and owner in circle
                                                for circle in circles)
            if id(library) in plugins and node is not plugins[id(library)]:
                edges.append(Edge(plugins[id(library)], node, interface, is_optional, is_circle))
    return Graph([*plugins.values(), *missing.values()], edges)


def _node_of(library: Library) -> Node:
    texts = library.info.texts if library.info else {}
    title = " ".join(filter(None, (texts.get("name"), texts.get("version"))))
    return Node(title, os.fsdecode(library.path.name), texts.get("description", ""),
                list(dict.fromkeys(library.interfaces)))


def _wishes(library: Library) -> Iterator[tuple[str, bool]]:
    """The interfaces that a plugin uses, each with whether it is optional."""
    info = library.info
    for interface in info.required if info else []:
        if interface not in CORE_INTERFACES:
            yield interface, False
    for interface in info.optional if info else []:
        if interface not in CORE_INTERFACES:
            yield interface, True


def as_dot(graph: Graph) -> str:
    names = {id(node): f"n{number}" for number, node in enumerate(graph.nodes)}
    lines = ["digraph plugins {", "    rankdir=LR;", "    node [shape=box];"]
    for node in graph.nodes:
        label = _quoted("\n".join(filter(None, (node.title, node.file))))
        style = ", color=red, style=dashed" if node.is_missing else ""
        lines.append(f"    {names[id(node)]} [label={label}{style}];")
    for edge in graph.edges:
        style = ", style=dashed" if edge.is_optional else ""
        style += ", color=red" if edge.is_circle or edge.is_lost else ""
        lines.append(f"    {names[id(edge.user)]} -> {names[id(edge.owner)]} "
                     f"[label={_quoted(edge.interface)}{style}];")
    return "\n".join(lines + ["}", ""])


def _quoted(text: str) -> str:
    plain = "".join(each if each.isprintable() or each == "\n" else "?" for each in text)
    escaped = plain.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n")
    return f'"{escaped}"'
