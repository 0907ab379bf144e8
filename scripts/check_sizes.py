#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reports long sources and large classes: check_sizes.py SOURCE...

A source may have 400 lines, and a class that a header of SOURCE... defines 25 members of its own:
methods, data, constants and nested types. Constructors, the destructor, deleted operations and
operations that override one of a base class do not count.
"""
import json
import pathlib
import re
import subprocess
import sys

LINES = 400
MEMBERS = 25
EXEMPT = {
    "IConfigManager": "the binary interface fixes its operations",
    "PPtr": "the public smart pointer has an operator or overload for each use of a pointer",
}
COUNTED = {
    "CXXConversionDecl", "CXXMethodDecl", "ClassTemplateDecl", "EnumDecl", "FieldDecl",
    "FunctionTemplateDecl", "TypeAliasDecl", "TypeAliasTemplateDecl", "TypedefDecl", "UsingDecl",
    "VarDecl"
}


def members(record):
    """The members that count. A constructor template has the name of its class."""
    for member in record.get("inner", []):
        kind = member.get("kind")
        nested = kind == "CXXRecordDecl" and "completeDefinition" in member
        hidden = member.get("isImplicit") or member.get("explicitlyDeleted")
        overrides = any(part.get("kind") == "OverrideAttr" for part in member.get("inner", []))
        is_constructor = member.get("name") == record.get("name")
        if (kind in COUNTED or nested) and not (hidden or overrides or is_constructor):
            yield member


def classes(node):
    """The definitions of our classes, and of the classes inside them. System types have other
    names."""
    for part in node.get("inner", []):
        kind = part.get("kind")
        if kind == "ClassTemplateDecl":
            yield from classes(part)
        elif kind == "CXXRecordDecl" and (node.get("kind") == "CXXRecordDecl" or
                                          re.match("[IP][A-Z]", part.get("name", ""))):
            if "completeDefinition" in part:
                yield part
            yield from classes(part)


def parse(headers):
    source = "".join(f'#include "{pathlib.Path(header).resolve()}"\n' for header in headers)
    command = ["clang++", "-m32", "-std=c++20", "-Iinclude", "-Iport", "-I.", "-fsyntax-only",
               "-Xclang", "-ast-dump=json", "-x", "c++", "-"]
    return json.loads(subprocess.run(command, input=source, check=True, text=True,
                                     stdout=subprocess.PIPE).stdout)


def main(sources):
    findings = []
    for source in sources:
        lines = len(pathlib.Path(source).read_text(encoding="utf-8").splitlines())
        if lines > LINES:
            findings.append(f"{source}: {lines} lines, limit {LINES}")
    for record in classes(parse([source for source in sources if source.endswith(".h")])):
        count = len(list(members(record)))
        if count > MEMBERS and record.get("name") not in EXEMPT:
            findings.append(f"{record.get('name')}: {count} members, limit {MEMBERS}")
    print("\n".join(findings) or "Every source and every class is small enough")
    return bool(findings)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
