#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws small faults by rule.

draw.py TREE SEED COUNT prints drawn faults as lines of JSON: operator, file, line, old, new.
draw.py TREE --all prints every fault that the operators make.

Each operator is a rule that changes one place of one line of the product's sources. It knows the
text of the line and nothing of the tests. An operator is drawn first, then one of its places, so
that an operator with many places has no more weight than one with few. The same tree and seed give
the same faults.
"""
import functools
import json
import pathlib
import random
import re
import sys

DIRECTORIES = ("config", "core", "events", "include", "logging", "port")
# Strings, characters and comments; the operators do not see their content.
_HIDDEN = re.compile(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'|//[^\n]*|/\*.*?\*/', re.DOTALL)
_SKIPPED = re.compile(r"\s*(#|static_assert\b|using\b|namespace\b|template\b|friend\b|extern\b|class\b"
                      r"|struct\b|enum\b|case\b|public:|private:|protected:|$)")
_ANNOTATION = re.compile(r"\b(IXLAL|PORT|P)_[A-Z_]+\([^()]*\)|\bnoexcept\b|\bLOG_\w+\(")

# Names that are easily confused.
_SIBLINGS = {
    "RTLD_NOW": "RTLD_LAZY", "RTLD_LOCAL": "RTLD_GLOBAL", "RTLD_GLOBAL": "RTLD_LOCAL",
    "SEEK_SET": "SEEK_CUR", "SEEK_CUR": "SEEK_SET", "SEEK_END": "SEEK_SET",
    "LOCK_EX": "LOCK_SH", "LOCK_SH": "LOCK_EX",
    "CLOCK_MONOTONIC": "CLOCK_REALTIME", "CLOCK_REALTIME": "CLOCK_MONOTONIC",
    "O_TRUNC": "O_APPEND", "O_APPEND": "O_TRUNC", "O_EXCL": "O_TRUNC",
    "O_RDONLY": "O_RDWR", "O_WRONLY": "O_RDWR", "O_RDWR": "O_RDONLY",
    "SIG_BLOCK": "SIG_UNBLOCK", "SIG_UNBLOCK": "SIG_BLOCK", "SIG_SETMASK": "SIG_BLOCK",
    "PTHREAD_MUTEX_RECURSIVE": "PTHREAD_MUTEX_NORMAL", "S_ISREG": "S_ISDIR", "S_ISDIR": "S_ISREG",
    "fstat": "lstat", "stat": "lstat", "EINTR": "EAGAIN", "EAGAIN": "EINTR",
    "memory_order_acquire": "memory_order_relaxed", "memory_order_release": "memory_order_relaxed",
    "memory_order_acq_rel": "memory_order_relaxed", "memory_order_seq_cst": "memory_order_relaxed",
    "min": "max", "max": "min", "begin": "end", "end": "begin", "front": "back", "back": "front",
    "notifyAll": "notifyOne", "notifyOne": "notifyAll", "lower_bound": "upper_bound",
    "upper_bound": "lower_bound", "find": "rfind", "rfind": "find", "fetch_add": "fetch_sub",
    "fetch_sub": "fetch_add", "fetch_or": "fetch_and", "fetch_and": "fetch_or",
    "incRef": "decRef", "decRef": "incRef", "lock": "unlock", "unlock": "lock",
}


class Source:
    """The lines of a file, and the same lines with blanks for text that operators do not see."""

    def __init__(self, tree, name):
        self.name = name
        text = (pathlib.Path(tree) / name).read_text(encoding="utf-8")
        self.lines = text.split("\n")
        self.code = _HIDDEN.sub(_blank, text).split("\n")
        for i, line in enumerate(self.code):
            if _SKIPPED.match(line) or (i > 0 and self.lines[i - 1].endswith("\\")):
                self.code[i] = ""
            else:
                self.code[i] = _ANNOTATION.sub(_blank, line)
        self.constants = sorted(set(re.findall(r"\be[A-Z]\w+", "\n".join(self.code))))


def _blank(match):
    text = match.group(0)
    filler = "\1" if text[0] in "\"'" else " "
    return re.sub(r"[^\n]", filler, text)


def _closing(code, opening):
    """The index of the closing bracket in the same line, or -1."""
    depth = 0
    for i in range(opening, len(code)):
        if code[i] in "([{":
            depth += 1
        elif code[i] in ")]}":
            depth -= 1
            if depth == 0:
                return i
    return -1


def _operand_end(code, at, stops):
    """The end of an operand that starts at an index."""
    depth = 0
    i = at
    while i < len(code):
        if code[i] in "([{":
            depth += 1
        elif code[i] in ")]}":
            if depth == 0:
                return i
            depth -= 1
        elif depth == 0 and (code[i] in ";,?" or any(code.startswith(s, i) for s in stops)):
            return i
        i += 1
    return len(code) if depth == 0 else -1


def _operand_begin(code, at, stops):
    """The start of an operand that ends before an index."""
    depth = 0
    for i in range(at - 1, -1, -1):
        if code[i] in ")]}":
            depth += 1
        elif code[i] in "([{":
            if depth == 0:
                return i + 1
            depth -= 1
        elif depth == 0:
            if code[i] in ";,?" or any(code.startswith(s, i) for s in stops):
                return i + next((len(s) for s in stops if code.startswith(s, i)), 1)
            if code.startswith("return ", i):
                return i + len("return ")
    return len(code) - len(code.lstrip()) if depth == 0 else -1


def _replaced(pattern, replacements):
    """An operator that gives each match of a pattern its replacements."""
    def operator(source, index):
        for match in re.finditer(pattern, source.code[index]):
            for new in replacements.get(match.group(1), ()):
                yield match.start(1), match.end(1), new
    return operator


def _spaced(signs):
    return r"(?:(?<=\s)|^)(" + "|".join(re.escape(s) for s in signs) + r")(?=\s|$)"


_BOUNDARY = {"<": ["<="], "<=": ["<"], ">": [">="], ">=": [">"]}
_NEGATED = {"==": ["!="], "!=": ["=="], "<": [">="], ">=": ["<"], ">": ["<="], "<=": [">"]}
_RELAXED = {"==": [">=", "<="], "!=": [">", "<"], "<": ["!="], ">": ["!="]}
_ARITHMETIC = {"+": ["-"], "-": ["+"], "*": ["+"], "/": ["*"], "%": ["/"], "+=": ["-=", "="],
               "-=": ["+=", "="]}
_BITS = {"&": ["|"], "|": ["&"], "^": ["|"], "<<": [">>"], ">>": ["<<"], "|=": ["&=", "="],
         "&=": ["|=", "="]}


def _conditions(source, index):
    code = source.code[index]
    for match in re.finditer(r"\b(if|while) \(", code):
        end = _closing(code, match.end() - 1)
        if end > 0 and ";" not in code[match.end():end]:
            yield match.end(), end, source.lines[index][match.end():end]


def _condition_true(source, index):
    """The condition is evaluated and then ignored."""
    for begin, end, text in _conditions(source, index):
        yield begin, end, f"((void)({text}), true)"


def _condition_false(source, index):
    for begin, end, text in _conditions(source, index):
        yield begin, end, f"((void)({text}), false)"


def _condition_negated(source, index):
    for begin, end, text in _conditions(source, index):
        yield begin, end, f"!({text})"


def _operand_dropped(source, index):
    code = source.code[index]
    stops = ("&&", "||", " = ")
    for match in re.finditer(r"&&|\|\|", code):
        if code[match.end():match.end() + 1] not in (" ", ""):
            continue  # a reference to a temporary
        begin = _operand_begin(code, match.start(), stops)
        end = _operand_end(code, match.end(), stops)
        left = code[:match.start()].strip() != ""
        right = code[match.end():].strip() != ""
        if right and end > 0:
            yield match.start(), end, ""
        if left and begin >= 0:
            yield begin, match.end(), " " if right else ""


def _flag_dropped(source, index):
    code = source.code[index]
    for match in re.finditer(r"(?<= )\|(?= )", code):
        begin = _operand_begin(code, match.start(), ("|", " = ", "=="))
        end = _operand_end(code, match.end(), ("|", "=="))
        if end > 0:
            yield match.start(), end, ""
        if begin >= 0:
            yield begin, match.end(), ""


def _not_dropped(source, index):
    for match in re.finditer(r"!(?=[\w(:*])", source.code[index]):
        yield match.start(), match.end(), ""


def _number_changed(source, index):
    for match in re.finditer(r"(?<![\w.])(\d+)(?=[uUlL]{0,3}(?![\w.]))", source.code[index]):
        value = int(match.group(1), 8 if re.match(r"0\d", match.group(1)) else 10)
        for new in {0: (1,), 1: (0, 2)}.get(value, (value + 1, value - 1)):
            yield match.start(1), match.end(1), str(new)


def _returned_replaced(source, index):
    match = re.match(r"\s*return (.+);\s*$", source.code[index])
    if match:
        for new in ("{}", "-1", "true"):
            if source.lines[index][match.start(1):match.end(1)] != new:
                yield match.start(1), match.end(1), new


def _statement(source, index):
    """The only statement of a line that is complete in this line."""
    before = next((c for c in reversed(source.code[:index]) if c.strip()), "")
    code = source.code[index]
    whole = re.search(r"([;{}:]|\belse|\))\s*$", before) and code.rstrip().endswith(";")
    return code if whole and code.count(";") == 1 else ""


def _removed(pattern):
    def operator(source, index):
        match = re.match(pattern, _statement(source, index))
        if match:
            yield match.start(1), match.end(1), ""
    return operator


def _return_removed(source, index):
    """A return that leaves a function before its end."""
    after = "".join(source.code[index + 1:index + 2]).strip()
    opened = "".join(source.code[max(0, index - 1):index]).strip()
    match = re.match(r"\s*(return\b.*)(?=;\s*$)", _statement(source, index))
    if match and opened == "{" and after == "}" and source.code[index].startswith(" " * 8):
        yield match.start(1), match.end(1), ""


def _branches_swapped(source, index):
    code = source.code[index]
    for match in re.finditer(r" \? ", code):
        colon = code.find(" : ", match.end())
        end = _operand_end(code, colon + 3, ()) if colon > 0 else -1
        if end > 0 and colon > 0:
            line = source.lines[index]
            yield match.end(), end, line[colon + 3:end] + " : " + line[match.end():colon]


def _sibling(source, index):
    for match in re.finditer(r"\b([A-Za-z_]\w*)\b", source.code[index]):
        name = match.group(1)
        if name in _SIBLINGS:
            yield match.start(), match.end(), _SIBLINGS[name]
        elif name.endswith("_CLOEXEC") and name != "O_CLOEXEC":
            yield match.start(), match.end(), name[:-len("_CLOEXEC")]


def _constant_replaced(source, index):
    """The next one of the file with the same first two words."""
    for match in re.finditer(r"\be[A-Z]\w+", source.code[index]):
        family = re.match(r"e(Ixla)?", match.group(0)).group(0)
        others = [c for c in source.constants if c.startswith(family)]
        if len(others) > 1:
            yield match.start(), match.end(), others[
                (others.index(match.group(0)) + 1) % len(others)]


_CALL = r"\s*((?:\(void\))?[\w:]+(?:(?:\.|->|::)\w+|\([^;]*?\)|\[[^\]]*\])*\(.*\))(?=;\s*$)"
_OBJECT = r"\s*((?:const )?(?:std::)?[A-Z]\w*(?:<.*>)? \w+\(.*\))(?=;\s*$)"
_ASSIGNMENT = r"\s*([\w.\[\]>*:-]+ = .*)(?=;\s*$)"

OPERATORS = {
    "boundary-moved": _replaced(_spaced(_BOUNDARY), _BOUNDARY),
    "comparison-negated": _replaced(_spaced(_NEGATED), _NEGATED),
    "comparison-changed": _replaced(_spaced(_RELAXED), _RELAXED),
    "condition-true": _condition_true,
    "condition-false": _condition_false,
    "condition-negated": _condition_negated,
    "operand-dropped": _operand_dropped,
    "and-or-swapped": _replaced(_spaced(["&&", "||"]), {"&&": ["||"], "||": ["&&"]}),
    "not-dropped": _not_dropped,
    "arithmetic-changed": _replaced(_spaced(_ARITHMETIC), _ARITHMETIC),
    "step-reversed": _replaced(r"(\+\+|--)", {"++": ["--"], "--": ["++"]}),
    "bits-changed": _replaced(_spaced(_BITS), _BITS),
    "complement-dropped": _replaced(r"(~)(?=[\w(])(?!P[A-Z]|I[A-Z])", {"~": [""]}),
    "flag-dropped": _flag_dropped,
    "number-changed": _number_changed,
    "truth-changed": _replaced(r"\b(true|false)\b", {"true": ["false"], "false": ["true"]}),
    "name-confused": _sibling,
    "constant-replaced": _constant_replaced,
    "result-replaced": _returned_replaced,
    "call-removed": _removed(_CALL),
    "object-removed": _removed(_OBJECT),
    "assignment-removed": _removed(_ASSIGNMENT),
    "return-removed": _return_removed,
    "jump-changed": _replaced(r"\b(break|continue)(?=;)",
                              {"break": ["continue", ""], "continue": ["break", ""]}),
    "branches-swapped": _branches_swapped,
}


def sources(tree):
    """The product's sources, in the order of their names."""
    root = pathlib.Path(tree)
    return sorted(str(path.relative_to(root)) for directory in DIRECTORIES
                  for path in (root / directory).rglob("*") if path.suffix in (".cpp", ".h"))


@functools.lru_cache(maxsize=2)
def all_faults(tree):
    """By operator, every fault that it makes."""
    made = {name: [] for name in OPERATORS}
    for file in sources(tree):
        source = Source(tree, file)
        for index, code in enumerate(source.code):
            if code:
                for name, operator in OPERATORS.items():
                    made[name] += _faults_of(source, index, name, operator)
    return made


def _faults_of(source, index, name, operator):
    old = source.lines[index]
    for begin, end, text in operator(source, index):
        new = (old[:begin] + text + old[end:]).rstrip()
        if new != old:
            yield {"operator": name, "file": source.name, "line": index + 1, "old": old, "new": new}


def draw(tree, seed, count):
    """Faults in the order of their drawing, each once."""
    left = {name: list(faults) for name, faults in all_faults(tree).items() if faults}
    chance = random.Random(seed)
    drawn, seen = [], set()
    while left and len(drawn) < count:
        name = chance.choice(sorted(left))
        fault = left[name].pop(chance.randrange(len(left[name])))
        if not left[name]:
            del left[name]
        if key(fault) not in seen:
            seen.add(key(fault))
            drawn.append(fault)
    return drawn


def key(fault):
    """The identity of a fault, which two operators may both make."""
    return fault["file"], fault["line"], fault["new"]


def plant(tree, fault):
    """The text of the file with the fault, or None when its line has changed. A fault without a line
    replaces a text that occurs once."""
    text = (pathlib.Path(tree) / fault["file"]).read_text(encoding="utf-8")
    if not fault["line"]:
        return text.replace(fault["old"], fault["new"]) if text.count(fault["old"]) == 1 else None
    lines = text.split("\n")
    index = fault["line"] - 1
    if index >= len(lines) or lines[index] != fault["old"]:
        return None
    lines[index] = fault["new"]
    return "\n".join(lines)


def main(arguments):
    if len(arguments) == 2 and arguments[1] == "--all":
        faults = [f for made in all_faults(arguments[0]).values() for f in made]
    elif len(arguments) == 3:
        faults = draw(arguments[0], int(arguments[1]), int(arguments[2]))
    else:
        sys.exit(__doc__)
    for fault in faults:
        print(json.dumps(fault))


if __name__ == "__main__":
    main(sys.argv[1:])
