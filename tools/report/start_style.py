# SPDX-License-Identifier: MIT
"""Colours and fonts of the pictures and pages, in a light and a dark scheme."""

FONTS = '"DejaVu Sans", Verdana, "Segoe UI", Helvetica, Arial, sans-serif'

# By name: the light and the dark colour.
COLOURS = {
    "paper": ("#ffffff", "#14181f"), "ink": ("#1f2933", "#e6edf3"),
    "faint": ("#52606d", "#9fb0c0"), "grid": ("#d9e2ec", "#2d3540"),
    "odd": ("#f5f7fa", "#1b212a"), "gap": ("#e4e7eb", "#2a313b"),
    "load": ("#2b6cb0", "#3d7fc4"), "own": ("#2f7d4f", "#2f8a57"),
    "nested": ("#b7dfc6", "#28503a"), "failed": ("#c53030", "#d64545"),
    "bar-text": ("#ffffff", "#ffffff"),
    "load-text": ("#245a94", "#8abdf0"), "own-text": ("#276741", "#7fd0a0"),
    "wait-text": ("#7a5200", "#f0c060"), "failed-text": ("#a61b1b", "#ff8f8f"),
    "wait-paper": ("#ffe8b5", "#4a380f"), "wait-stripe": ("#e8a317", "#a87912"),
    "circle-paper": ("#ffd6d6", "#4f1b1b"), "circle-stripe": ("#c81e1e", "#d84848"),
    "path": ("#8e24aa", "#d58bea"), "request": ("#627d98", "#8296aa"),
    "wait-arrow": ("#b7791f", "#d9a441")}

RULES = """
svg text {{ font: 11px {fonts}; fill: {ink} }}
svg .title {{ font-size: 16px; font-weight: bold }}
svg .name {{ font-size: 12px; text-anchor: end }}
svg .middle {{ text-anchor: middle }}
svg .end {{ text-anchor: end }}
svg .faint {{ fill: {faint} }}
svg .label {{ paint-order: stroke; stroke: {paper}; stroke-width: 4px; stroke-linejoin: round }}
svg .load-text {{ fill: {load-text} }}
svg .own-text, svg .nested-text {{ fill: {own-text} }}
svg .wait-text, svg .circle-text {{ fill: {wait-text} }}
svg .warn, svg .failed-text {{ fill: {failed-text}; font-weight: bold }}
svg .on {{ fill: {bar-text} }}
svg .on-nested {{ fill: {ink} }}
svg .paper {{ fill: {paper} }}
svg .odd {{ fill: {odd} }}
svg .gap {{ fill: {gap} }}
svg .grid {{ stroke: {grid} }}
svg .done {{ stroke: {faint}; stroke-dasharray: 3 3 }}
svg .load {{ fill: {load} }}
svg .own {{ fill: {own} }}
svg .nested {{ fill: {nested} }}
svg .failed {{ fill: {failed} }}
svg .wait {{ fill: url(#wait) }}
svg .circle {{ fill: url(#circle) }}
svg .open {{ stroke: {ink}; stroke-dasharray: 4 2 }}
svg .wait-paper {{ fill: {wait-paper} }}
svg .wait-stripe {{ fill: {wait-stripe} }}
svg .circle-paper {{ fill: {circle-paper} }}
svg .circle-stripe {{ fill: {circle-stripe} }}
svg .request {{ stroke: {request}; fill: none }}
svg .request-head {{ fill: {request} }}
svg .waits {{ stroke: {wait-arrow}; stroke-dasharray: 4 3; fill: none }}
svg .waits-head {{ fill: {wait-arrow} }}
svg .path {{ stroke: {path}; stroke-width: 3; fill: none }}
svg .turn {{ stroke: {path}; stroke-width: 1.5; fill: none }}
svg .path-text {{ fill: {path}; font-weight: bold }}
"""

DEFINITIONS = """<defs>
<pattern id="wait" width="6" height="6" patternUnits="userSpaceOnUse" patternTransform="rotate(45)">
<rect width="6" height="6" class="wait-paper"/><rect width="3" height="6" class="wait-stripe"/>
</pattern>
<pattern id="circle" width="6" height="6" patternUnits="userSpaceOnUse"
 patternTransform="rotate(45)">
<rect width="6" height="6" class="circle-paper"/><rect width="3" height="6" class="circle-stripe"/>
</pattern>
<marker id="request" markerWidth="7" markerHeight="6" refX="6" refY="3" orient="auto"
 markerUnits="userSpaceOnUse"><path d="M0 0L7 3L0 6z" class="request-head"/></marker>
<marker id="waits" markerWidth="7" markerHeight="6" refX="6" refY="3" orient="auto"
 markerUnits="userSpaceOnUse"><path d="M0 0L7 3L0 6z" class="waits-head"/></marker>
</defs>"""


def _filled(rules: str, scheme: int) -> str:
    colours = {name: pair[scheme] for name, pair in COLOURS.items()}
    return rules.format(fonts=FONTS, **colours).strip()


def _coloured(rules: str) -> str:
    """The rules that depend on the scheme."""
    return "\n".join(rule for rule in rules.strip().splitlines() if "{" in rule.split("{{")[1])


def style(rules: str) -> str:
    """A style sheet for both schemes; braces in the rules are doubled, except around names of
    colours."""
    dark = _filled(_coloured(rules), 1)
    return f"{_filled(rules, 0)}\n@media (prefers-color-scheme: dark) {{\n{dark}\n}}\n"
