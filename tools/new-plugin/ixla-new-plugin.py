#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Creates the project of a new plugin: see --help."""

import argparse
import re
import sys
from contextlib import ExitStack
from pathlib import Path
from shlex import quote

sys.dont_write_bytecode = True

import standard_streams

TOOL = "ixla-new-plugin"
VERSION = "@VERSION@"

EPILOG = """\
examples:
  ixla-new-plugin greeter --id com.example.greeter
  ixla-new-plugin load-sampler --id com.example.load --dir ~/src/load
  ixla-new-plugin greeter --id com.example.greeter --with-host --with-client

exit status:
  0  the project was created
  1  the project or the standard output cannot be written
  2  the command line is wrong
"""

# Names that CMake and the project use for other targets.
RESERVED = frozenset(
    "all clean depend edit_cache help install ixlal list_install_components package "
    "package_source preinstall rebuild_cache test".split())

NAME_FORM = re.compile(r"[A-Za-z][A-Za-z0-9]*(?:[-_][A-Za-z0-9]+)*")
ID_FORM = re.compile(r"[A-Za-z][A-Za-z0-9_-]*(?:\.[A-Za-z0-9_-]+)+")
MAX_LENGTH = 100

# The path of each template's file.
FILES = {
    "CMakePresets.json.in": "CMakePresets.json",
    "ci.sh.in": "ci.sh",
    "ci.yml.in": ".github/workflows/ci.yml",
    "clang-tidy.in": ".clang-tidy",
    "clangd.in": ".clangd",
    "CMakeLists.txt.in": "CMakeLists.txt",
    "IService.h.in": "I{Class}Service.h",
    "Plugin.cpp.in": "{Class}Plugin.cpp",
    "Test.cpp.in": "test/{Class}Test.cpp",
    "plugin.prs.in": "config/{name}.prs",
    "manager.prs.in": "config/ixlap.configmanager.prs",
    "core.prs.in": "core.prs",
    "README.md.in": "README.md",
    "gitignore.in": ".gitignore",
}
# Those of the options --with-client and --with-host.
OPTIONAL_FILES = {
    "client": {
        "client-CMakeLists.txt.in": "client/CMakeLists.txt",
        "ClientPlugin.cpp.in": "client/{Class}Client.cpp",
        "ClientTest.cpp.in": "client/{Class}ClientTest.cpp",
    },
    "host": {
        "host-CMakeLists.txt.in": "host/CMakeLists.txt",
        "Host.cpp.in": "host/{Class}Host.cpp",
    },
}
# A line of a template that begins with "@client?@" belongs to projects with that part.
CONDITION = re.compile(r"@(client|host)\?@")


class Refusal(Exception):
    """The project cannot be written; the text is for the user."""


def plugin_name(text: str) -> str:
    """The argparse type of NAME."""
    if not NAME_FORM.fullmatch(text) or not 2 <= len(text) <= MAX_LENGTH:
        raise argparse.ArgumentTypeError(
            f"{text!r} is not a plugin name: use 2 to {MAX_LENGTH} letters and digits, with single "
            "'-' or '_' between them and a letter in front, such as load-sampler")
    if text.lower() in RESERVED:
        raise argparse.ArgumentTypeError(
            f"{text!r} is reserved by the build: use another name")
    return text


def interface_id(text: str) -> str:
    """The argparse type of --id."""
    if not ID_FORM.fullmatch(text) or len(text) > MAX_LENGTH:
        raise argparse.ArgumentTypeError(
            f"{text!r} is not an interface ID: use your domain in reverse order and the name "
            "of the service, such as com.example.greeter")
    if text.lower().startswith(("com.kelvora.ixla.", "ixlap.")):
        raise argparse.ArgumentTypeError(
            f"{text!r} is reserved for the core: use your own domain")
    return text


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog=TOOL, formatter_class=argparse.RawDescriptionHelpFormatter, epilog=EPILOG,
        description="Creates a complete plugin project: sources, CMake file and presets, "
                    "configuration and a test.\nExisting files are never changed.")
    parser.add_argument("name", metavar="NAME", type=plugin_name,
                        help="name of the plugin; its library is libNAME.so")
    parser.add_argument("--id", required=True, type=interface_id, metavar="REVERSE.DOMAIN.ID",
                        help="interface ID of its service, and ID of its configuration")
    parser.add_argument("--dir", type=Path, metavar="D",
                        help="directory for the project, new or empty (default: NAME)")
    parser.add_argument("--with-client", action="store_true",
                        help="add a second plugin, which uses the first")
    parser.add_argument("--with-host", action="store_true",
                        help="add a host program, which uses the plugin")
    parser.add_argument("--version", action="version", version=f"{TOOL} {VERSION}")
    return parser.parse_args()


def class_name(name: str) -> str:
    """load-sampler becomes LoadSampler."""
    return "".join(part[0].upper() + part[1:] for part in re.split("[-_]", name))


def chosen_lines(text: str, parts: set[str]) -> str:
    """The text without the lines of parts that the project does not have."""
    lines = []
    for line in text.splitlines(keepends=True):
        condition = CONDITION.match(line)
        if not condition or condition[1] in parts:
            lines.append(line[condition.end():] if condition else line)
    return "".join(lines)


def rendered(words: dict[str, str], parts: set[str]) -> dict[Path, str]:
    """The files of the project and their texts, with the words between @ replaced."""
    templates = Path(__file__).resolve().parent
    files = FILES.copy()
    for part in parts:
        files |= OPTIONAL_FILES[part]
    texts = {}
    for template, target in files.items():
        text = chosen_lines((templates / template).read_text(encoding="utf-8"), parts)
        for word, value in words.items():
            text = text.replace(f"@{word}@", value)
        texts[Path(target.format(**words))] = text
    return texts


def check_directory(directory: Path) -> None:
    if directory.is_dir():
        if any(directory.iterdir()):
            raise Refusal(f"{directory}: is not empty: choose another directory with --dir")
    elif directory.exists() or directory.is_symlink():
        raise Refusal(f"{directory}: exists and is not a directory: choose another one with --dir")


def write_project(directory: Path, texts: dict[Path, str]) -> None:
    """Writes all files; removes them if one cannot be written."""
    with ExitStack() as undo:
        for path, text in texts.items():
            target = directory / path
            for parent in reversed(target.parents):
                if not parent.is_dir():
                    parent.mkdir()
                    undo.callback(parent.rmdir)
            # "x": a file created meanwhile is not overwritten either.
            with target.open("x", encoding="utf-8") as stream:
                undo.callback(target.unlink)
                stream.write(text)
            if text.startswith("#!"):
                target.chmod(target.stat().st_mode | 0o111)
        undo.pop_all()


def describe(directory: Path, texts: dict[Path, str]) -> str:
    return "\n".join([
        f"Wrote to {directory}:",
        *(f"  {path}" for path in sorted(texts)),
        "Build, validate, test and package it:",
        f"  cd {quote(str(directory))}",
        "  cmake --workflow --preset release",
        f"{directory}/README.md describes how to run it.",
    ])


def main() -> int:
    # A path may have bytes that are not UTF-8; they are printed unchanged.
    sys.stdout.reconfigure(errors="surrogateescape")
    sys.stderr.reconfigure(errors="surrogateescape")
    arguments = parse_arguments()
    name = arguments.name
    directory = arguments.dir or Path(name)
    words = {"name": name, "Class": class_name(name), "id": arguments.id,
             "GUARD": name.replace("-", "_").upper(), "version": VERSION}
    parts = {part for part in OPTIONAL_FILES if getattr(arguments, f"with_{part}")}
    try:
        texts = rendered(words, parts)
        check_directory(directory)
        write_project(directory, texts)
        print(describe(directory, texts))
        return 0
    except Refusal as refusal:
        print(f"{TOOL}: {refusal}", file=sys.stderr)
    except OSError as error:
        print(f"{TOOL}: {error.filename or directory}: {error.strerror}: make sure that it can be "
              "written, or choose another directory with --dir", file=sys.stderr)
    return 1


if __name__ == "__main__":
    standard_streams.run(TOOL, main)
