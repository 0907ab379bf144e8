#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Counts what became of drawn faults: tally.py TREE RESULTS...

With --left ahead, prints the faults that are left to be caught, as draw.py does.
With --few ahead, half of them need to be caught: a part of the faults may be the difficult ones.
Of several outcomes of a fault, of one file or of those of several builds, "caught" counts before
"survived". A fault that survived counts for nothing when survivors.faults tells why it changes no
behaviour. Fails when less than 95 % of the others are caught.
"""
import collections
import json
import pathlib
import re
import sys

sys.dont_write_bytecode = True
import draw

WANTED_PERCENT = 95
FEW_PERCENT = 50
_DRAWN = ("operator", "file", "line", "old", "new")


def read_reasons(tree, path):
    """By draw.key, the reason why a fault of the tree changes no behaviour."""
    reasons = {}
    for block in re.split(r"\n\s*\n", path.read_text(encoding="utf-8")):
        entry = dict(re.findall(r"^(file|survives): (.*)$", block, re.MULTILINE))
        old = re.findall(r"^- (.*)$", block, re.MULTILINE)
        new = re.findall(r"^\+ (.*)$", block, re.MULTILINE)
        # Unchanged lines identify the place if the changed line occurs more than once.
        changed = [i for i, (a, b) in enumerate(zip(old, new)) if a != b]
        if entry.get("survives") and len(changed) == 1:
            lines = (tree / entry["file"]).read_text(encoding="utf-8").split("\n")
            for begin in range(len(lines)):
                if lines[begin:begin + len(old)] == old:
                    at = changed[0]
                    reasons[(entry["file"], begin + at + 1, new[at])] = entry["survives"]
    return reasons


def read_outcomes(paths):
    found = {}
    for path in paths:
        for line in pathlib.Path(path).read_text(encoding="utf-8").splitlines():
            result = json.loads(line)
            known = found.get(draw.key(result))
            if not known or known["outcome"] == "survived":
                found[draw.key(result)] = result
    return found


def tally(outcomes, reasons):
    """The number of each outcome, and the survivors without a reason."""
    counts = collections.Counter()
    survivors = []
    for result in outcomes.values():
        outcome = result["outcome"]
        if outcome == "survived" and draw.key(result) in reasons:
            outcome = "equivalent"
        elif outcome == "survived":
            survivors.append(result)
        counts[outcome] += 1
    return counts, survivors


def main(arguments):
    only_left = arguments[:1] == ["--left"]
    wanted = FEW_PERCENT if arguments[:1] == ["--few"] else WANTED_PERCENT
    arguments = arguments[1:] if arguments[:1] in (["--left"], ["--few"]) else arguments
    if len(arguments) < 2:
        sys.exit(__doc__)
    tree = pathlib.Path(arguments[0])
    reasons = read_reasons(tree, tree / "tests/mutation/survivors.faults")
    counts, survivors = tally(read_outcomes(arguments[1:]), reasons)
    if only_left:
        for fault in survivors:
            print(json.dumps({name: fault[name] for name in _DRAWN}))
        return
    for fault in sorted(survivors, key=draw.key):
        print(f"Survived: {fault['operator']} {fault['file']}:{fault['line']}: "
              f"{fault['old'].strip()}  ->  {fault['new'].strip()}")
    print(f"{sum(counts.values())} drawn: {counts['uncompilable']} do not compile, "
          f"{counts['same-code']} make the same code, {counts['equivalent']} change no behaviour")
    changing = counts["caught"] + counts["survived"]
    print(f"{counts['caught']} of {changing} that change behaviour caught")
    sys.exit(changing == 0 or counts["caught"] * 100 < changing * wanted)


if __name__ == "__main__":
    main(sys.argv[1:])
