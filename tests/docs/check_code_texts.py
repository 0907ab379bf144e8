#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that all places agree about result codes: check_code_texts.py ROOT [DOCUMENT...]
include/Ixla.h is the source of names and numbers, sdk/helpers/ResultText.h of the texts. Documents
(all unless some are named) have only its numbers, each with its own name, and tools repeat only these texts."""

import ast
import re
import sys
from pathlib import Path

CONSTANT = re.compile(r"^ *(eIxla[A-Za-z]+) = (-?\d+)", re.M)
TEXT = re.compile(r'case (eIxla[A-Za-z]+):\s*return \{"([A-Za-z]+)",\s*"((?:[^"\\]|\\.)*)"\}')
# A number in the range of the codes; longer numbers, dates and figures are none.
NUMBER = re.compile(r"(?<![\w.,-])-(?:50[1-9]|51\d|[1235]0\d\d)(?![\d,.]\d)\b")
PAIR = re.compile(r"(-\d+) (?:\(|`)(eIxla[A-Za-z]+)")
TABLE = re.compile(r"^CODES = (\{.*?\})$", re.M | re.S)


def text_problems(numbers: dict[str, int], header: str) -> list[str]:
    cases = {case: name for case, name, _ in TEXT.findall(header)}
    problems = [f"ResultText.h: no text for {name}" for name in numbers if name not in cases]
    problems += [f"ResultText.h: {case} is called {name}" for case, name in cases.items()
                 if case != name]
    return problems


def document_problems(numbers: dict[str, int], document: Path) -> list[str]:
    text = document.read_text(encoding="utf-8")
    problems = [f"{document.name}: {name} is not {number}" for number, name in PAIR.findall(text)
                if numbers.get(name) != int(number)]
    return problems + [f"{document.name}: no such code: {number}"
                       for number in sorted(set(NUMBER.findall(text)))
                       if int(number) not in numbers.values()]


def repeated_problems(numbers: dict[str, int], header: str, script: Path) -> list[str]:
    meanings = {numbers[name]: text for name, _, text in TEXT.findall(header) if name in numbers}
    repeated = ast.literal_eval(TABLE.search(script.read_text(encoding="utf-8"))[1])
    return [f"{script.name}: {code} means {meanings.get(code)!r}, not {text!r}"
            for code, text in repeated.items() if meanings.get(code) != text]


def main() -> int:
    root = Path(sys.argv[1])
    numbers = {name: int(number) for name, number in
               CONSTANT.findall((root / "include/Ixla.h").read_text(encoding="utf-8"))}
    header = (root / "sdk/helpers/ResultText.h").read_text(encoding="utf-8")
    documents = [Path(name) for name in sys.argv[2:]] or [
        *root.glob("*.md"), *root.glob("docs/*.md"), *root.glob("docs/man/*"),
        *root.glob("tools/man/*.1")]
    problems = text_problems(numbers, header)
    problems += repeated_problems(numbers, header, root / "tools/report/start_text.py")
    for document in sorted(documents):
        problems += document_problems(numbers, document)
    print("\n".join(problems) or f"{len(numbers)} codes")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
