#!/usr/bin/env python3
"""Repeats a comment for each declaration that it covers, for doxygen: group_comments.py HEADER

In our headers a comment covers all declarations up to the next blank line; doxygen takes it for the
first one alone.
"""

import re
import sys

SCOPE = re.compile(r"(template\s*<.*>\s*)?(class|struct|enum|namespace|extern)\b[^;]*$")
LABEL = re.compile(r"(public|protected|private):")


class Repeater:
    """Takes a header's lines one by one and returns what becomes of each."""

    def __init__(self):
        self.comment = []
        self.in_comment = False  # the last line was one of it
        self.in_declaration = False
        self.depth = 0  # of parentheses and braces in the declaration

    def take(self, line):
        text = line.strip()
        if self.in_declaration or self.is_declaration(text):
            return self.take_code(line, text)
        if text.startswith("///"):
            self.comment = self.comment + [line] if self.in_comment else [line]
            self.in_comment = True
        elif not text.startswith("//"):
            self.comment = []
            self.in_comment = False
        return [line]

    @staticmethod
    def is_declaration(text):
        if not text or text[0] in "#{}" or text.startswith("//"):
            return False
        return not LABEL.match(text) and not SCOPE.match(text)

    def take_code(self, line, text):
        begins = not self.in_declaration
        code = text.split("//")[0].rstrip()
        self.depth += sum(code.count(c) for c in "({") - sum(code.count(c) for c in ")}")
        self.in_declaration = self.depth > 0 or not code.endswith((";", "}", ","))
        repeats = begins and not self.in_comment and "///<" not in text
        self.in_comment = False
        return self.comment + [line] if repeats else [line]


def main():
    repeater = Repeater()
    with open(sys.argv[1], encoding="utf-8") as header:
        for line in header:
            sys.stdout.writelines(repeater.take(line))


if __name__ == "__main__":
    main()
