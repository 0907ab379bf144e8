# SPDX-License-Identifier: MIT
"""A graph of dependencies as a picture: plugins in columns, users at the left of what they use."""

from dataclasses import dataclass, field
from html import escape

from graph import Edge, Graph, Node

CHARACTER, LINE, PADDING = 7, 16, 8  # of texts, in pixels
COLUMN_GAP, ROW_GAP, MARGIN, TURN = 90, 18, 20, 18
STYLE = """
svg text { font: 11px "DejaVu Sans", Verdana, Helvetica, Arial, sans-serif; fill: #1f2933 }
svg .title { font-weight: bold }
svg .faint { fill: #52606d }
svg .paper { fill: #ffffff }
svg .box { fill: #f5f7fa; stroke: #627d98 }
svg .missing { fill: #ffd6d6; stroke: #c53030; stroke-dasharray: 4 3 }
svg .rule { stroke: #d9e2ec }
svg .edge { stroke: #2b6cb0; fill: none; stroke-width: 1.5 }
svg .optional { stroke-dasharray: 5 4 }
svg .circle, svg .lost { stroke: #c53030 }
svg .head { fill: #2b6cb0 }
svg .bad-head { fill: #c53030 }
@media (prefers-color-scheme: dark) {
svg text { fill: #e6edf3 }
svg .faint { fill: #9fb0c0 }
svg .paper { fill: #14181f }
svg .box { fill: #1b212a; stroke: #8296aa }
svg .missing { fill: #4f1b1b; stroke: #ff8f8f }
svg .rule { stroke: #2d3540 }
svg .edge { stroke: #8abdf0 }
svg .circle, svg .lost { stroke: #ff8f8f }
svg .head { fill: #8abdf0 }
svg .bad-head { fill: #ff8f8f }
}
"""
HEADS = "".join(
    f'<marker id="{name}" markerWidth="9" markerHeight="8" refX="8" refY="4" orient="auto" '
    f'markerUnits="userSpaceOnUse"><path d="M0 0L9 4L0 8z" class="{name}"/></marker>\n'
    for name in ("head", "bad-head"))


@dataclass(eq=False)
class _Slot:
    """A place in a column: the box of a node, or the passage of an edge between two columns."""

    node: Node | None = None
    x: float = 0
    y: float = 0
    before: list["_Slot"] = field(default_factory=list)
    after: list["_Slot"] = field(default_factory=list)

    @property
    def lines(self) -> list[tuple[str, str]]:
        """The class and the text of each line."""
        if not self.node:
            return []
        heading = [("title", self.node.title)] if self.node.title else []
        if self.node.is_missing:
            return heading + [("faint", "offered by no plugin")]
        return (heading + [("faint" if heading else "title", self.node.file)]
                + [("", each) for each in self.node.interfaces])

    @property
    def width(self) -> int:
        longest = max((len(text) for _, text in self.lines), default=0)
        return longest * CHARACTER + 2 * PADDING if self.node else 0

    @property
    def height(self) -> int:
        return len(self.lines) * LINE + 2 * PADDING if self.node else 0

    @property
    def middle(self) -> float:
        return self.y + self.height / 2

    def row_of(self, interface: str) -> float:
        """The height at which an interface is named."""
        texts = [text for _, text in self.lines]
        first = len(texts) - len(self.node.interfaces) if not self.node.is_missing else 0
        return self.y + PADDING + LINE * (texts.index(interface, first) + 0.5)


class _Layout:
    def __init__(self, graph: Graph) -> None:
        self.slots = {id(node): _Slot(node) for node in graph.nodes}
        ranks = _ranks(graph)
        self.columns: list[list[_Slot]] = [[] for _ in range(max(ranks.values(), default=0) + 1)]
        for node in graph.nodes:
            self.columns[ranks[id(node)]].append(self.slots[id(node)])
        self.passages = {id(edge): self._passages_of(edge, ranks) for edge in graph.edges}
        self._order()
        self._place()

    def _passages_of(self, edge: Edge, ranks: dict[int, int]) -> list[_Slot]:
        begin, end = ranks[id(edge.user)], ranks[id(edge.owner)]
        passages = []
        for column in range(begin + 1, end):
            passages.append(_Slot())
            self.columns[column].append(passages[-1])
        chain = [self.slots[id(edge.user)], *passages, self.slots[id(edge.owner)]]
        if begin < end:
            for left, right in zip(chain, chain[1:]):
                left.after.append(right)
                right.before.append(left)
        return passages

    def _order(self) -> None:
        """Moves slots towards the mean place of their neighbours, so that fewer edges cross."""
        for _ in range(4):
            for side, columns in (("before", self.columns), ("after", self.columns[::-1])):
                for column in columns:
                    places = {id(slot): place for each in self.columns
                              for place, slot in enumerate(each)}
                    column.sort(key=lambda slot, places=places, side=side: _mean(
                        [places[id(each)] for each in getattr(slot, side)], places[id(slot)]))

    def _place(self) -> None:
        heights = [sum(slot.height + ROW_GAP for slot in column) for column in self.columns]
        self.height = max(heights, default=0) - ROW_GAP + 2 * MARGIN
        x = MARGIN
        for column, height in zip(self.columns, heights):
            y = MARGIN + (self.height - 2 * MARGIN + ROW_GAP - height) / 2
            for slot in column:
                slot.x, slot.y = x, y
                y += slot.height + ROW_GAP
            x += max((slot.width for slot in column), default=0) + COLUMN_GAP
        self.width = x - COLUMN_GAP + MARGIN

    def column_width(self, slot: _Slot) -> int:
        return max(each.width for column in self.columns if slot in column for each in column)


def _mean(places: list[int], otherwise: int) -> float:
    return sum(places) / len(places) if places else otherwise


def _ranks(graph: Graph) -> dict[int, int]:
    """The column of each node: right of all its users, as far as there is no circle."""
    ranks = {id(node): 0 for node in graph.nodes}
    forward = _without_circles(graph)
    for _ in graph.nodes:
        for edge in forward:
            ranks[id(edge.owner)] = max(ranks[id(edge.owner)], ranks[id(edge.user)] + 1)
    return ranks


def _without_circles(graph: Graph) -> list[Edge]:
    """The edges in their order, without those that would close a circle."""
    forward: list[Edge] = []
    reached: dict[int, set[int]] = {id(node): {id(node)} for node in graph.nodes}
    for edge in sorted(graph.edges, key=lambda each: each.is_optional):
        if id(edge.user) in reached[id(edge.owner)]:
            continue
        forward.append(edge)
        for known in reached.values():
            if id(edge.user) in known:
                known |= reached[id(edge.owner)]
    return forward


def as_svg(graph: Graph) -> str:
    layout = _Layout(graph)
    width, height = max(layout.width, 200), max(layout.height, 60)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height:g}" '
             f'viewBox="0 0 {width} {height:g}">',
             "<title>Dependencies of plugins</title>", f"<style>{STYLE}</style>",
             f"<defs>\n{HEADS}</defs>", '<rect width="100%" height="100%" class="paper"/>']
    parts += [_edge(edge, layout) for edge in graph.edges]
    parts += [_box(layout.slots[id(node)]) for node in graph.nodes]
    if not graph.nodes:
        parts.append(f'<text x="{MARGIN}" y="{MARGIN * 2}">There is no plugin.</text>')
    return "\n".join(parts + ["</svg>", ""])


def _edge(edge: Edge, layout: _Layout) -> str:
    user, owner = layout.slots[id(edge.user)], layout.slots[id(edge.owner)]
    x, y = user.x + user.width, user.middle
    path = f"M{x:g} {y:g}"
    for passage in layout.passages[id(edge)]:
        path += _curve(x, y, passage.x, passage.y)
        x, y = passage.x + layout.column_width(passage), passage.y
        path += f"H{x:g}"
    if owner.x < x:
        path += _return(user, owner, owner.row_of(edge.interface))
    else:
        path += _curve(x, y, owner.x, owner.row_of(edge.interface))
    names = ["edge"] + ["optional"] * edge.is_optional + ["circle"] * edge.is_circle
    names += ["lost"] * edge.is_lost
    head = "bad-head" if edge.is_circle or edge.is_lost else "head"
    return (f'<path class="{" ".join(names)}" marker-end="url(#{head})" d="{path}">'
            f"<title>{_text(edge.interface)}</title></path>")


def _curve(x: float, y: float, to_x: float, to_y: float) -> str:
    """Leaves to the right and arrives from the left."""
    pull = (to_x - x) / 2
    return f"C{x + pull:g} {y:g} {to_x - pull:g} {to_y:g} {to_x:g} {to_y:g}"


def _return(user: _Slot, owner: _Slot, to_y: float) -> str:
    """Below both boxes, to one at the left."""
    x, low = user.x + user.width, max(user.y + user.height, owner.y + owner.height) + ROW_GAP / 2
    return (f"C{x + TURN:g} {user.middle:g} {x + TURN:g} {low:g} {x:g} {low:g}H{owner.x:g}"
            f"C{owner.x - TURN:g} {low:g} {owner.x - TURN:g} {to_y:g} {owner.x:g} {to_y:g}")


def _box(slot: _Slot) -> str:
    node = slot.node
    parts = [f'<g><rect x="{slot.x:g}" y="{slot.y:g}" width="{slot.width}" '
             f'height="{slot.height}" rx="4" class="{"missing" if node.is_missing else "box"}"/>']
    if node.about:
        parts.append(f"<title>{_text(node.about)}</title>")
    for number, (name, text) in enumerate(slot.lines):
        y = slot.y + PADDING + LINE * number + LINE * 0.75
        parts.append(f'<text x="{slot.x + PADDING:g}" y="{y:g}" class="{name}">{_text(text)}</text>')
    return "".join(parts + ["</g>"])


def _text(text: str) -> str:
    return escape("".join(each if each.isprintable() else "?" for each in text))
