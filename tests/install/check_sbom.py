#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Validates the SPDX documents of Debian packages: check_sbom.py PACKAGE.deb...
Each must have the form of SPDX 2.3, list every file of its package with its hashes, and every
dependency of its control file."""

import hashlib
import json
import re
import subprocess
import sys
import tempfile
from pathlib import Path

DOCUMENT = {"spdxVersion": r"SPDX-2\.3", "dataLicense": r"CC0-1\.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": r".+", "documentNamespace": r"https?://[^#]+"}
IDENTIFIER = re.compile(r"SPDXRef-[A-Za-z0-9.-]+")
NAME = r"[A-Za-z0-9.-]+\+?"
TERM = rf"{NAME}( WITH {NAME})?"
LICENSE = re.compile(rf"NOASSERTION|NONE|{TERM}( (AND|OR) {TERM})*")
OF_PACKAGES = ("SPDXID", "name", "downloadLocation", "licenseConcluded", "licenseDeclared",
               "copyrightText", "supplier")
OF_FILES = ("SPDXID", "fileName", "checksums", "licenseConcluded", "copyrightText")
KINDS = {"DESCRIBES", "CONTAINS", "DEPENDS_ON", "STATIC_LINK"}
HASHES = {"SHA1": hashlib.sha1, "SHA256": hashlib.sha256}


def wrong_form(document: dict) -> list[str]:
    found = [f"the document has no valid {key}" for key, pattern in DOCUMENT.items()
             if not re.fullmatch(pattern, str(document.get(key, "")))]
    info = document.get("creationInfo", {})
    if not re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", str(info.get("created"))):
        found.append("the document has no valid time")
    creators = info.get("creators") or [""]
    if not all(re.match(r"(Organization|Person|Tool): .", creator) for creator in creators):
        found.append("the document has no valid creators")
    for element in document.get("packages", []) + document.get("files", []):
        wanted = OF_FILES if "fileName" in element else OF_PACKAGES
        found += [f"{element.get('SPDXID')} has no {key}" for key in wanted if not element.get(key)]
        found += [f"{element.get('SPDXID')} has no valid {key}"
                  for key in ("licenseConcluded", "licenseDeclared")
                  if key in element and not LICENSE.fullmatch(element[key])]
    return found


def wrong_references(document: dict) -> list[str]:
    ids = [element.get("SPDXID", "") for element in document["packages"] + document["files"]]
    found = [f"no valid identifier: {name}" for name in ids if not IDENTIFIER.fullmatch(name)]
    if len(set(ids)) != len(ids):
        found.append("an identifier is used twice")
    known = {"SPDXRef-DOCUMENT", *ids}
    for relation in document["relationships"]:
        ends = {relation["spdxElementId"], relation["relatedSpdxElement"]}
        if not ends <= known or relation["relationshipType"] not in KINDS:
            found.append(f"wrong relationship: {relation}")
    contained = {relation["relatedSpdxElement"] for relation in document["relationships"]}
    found += [f"nothing is said about {name}" for name in ids if name not in contained]
    return found


def wrong_files(document: dict, root: Path, own: str) -> list[str]:
    listed = {file["fileName"]: file for file in document["files"]}
    present = {f"./{path.relative_to(root)}" for path in root.rglob("*")
               if path.is_file() and not path.is_symlink()} - {own}
    found = [f"another list of files: {name}" for name in sorted(present ^ listed.keys())]
    for name in sorted(present & listed.keys()):
        hashes = {entry["algorithm"]: entry["checksumValue"] for entry in listed[name]["checksums"]}
        content = (root / name).read_bytes()
        found += [f"another {kind}: {name}" for kind, function in HASHES.items()
                  if hashes.get(kind) != function(content).hexdigest()]
    values = sorted(entry["checksumValue"] for file in document["files"]
                    for entry in file["checksums"] if entry["algorithm"] == "SHA1")
    code = document["packages"][0].get("packageVerificationCode", {})
    if code != {"packageVerificationCodeValue": hashlib.sha1("".join(values).encode()).hexdigest(),
                "packageVerificationCodeExcludedFiles": [own]}:
        found.append("another verification code")
    return found


def wrong_package(document: dict, package: str, version: str, depends: str) -> list[str]:
    main = document["packages"][0]
    found = []
    if (main["name"], main.get("versionInfo")) != (package, version):
        found.append("another name or version")
    names = {element["SPDXID"]: element["name"] for element in document["packages"]}
    listed = {names[relation["relatedSpdxElement"]] for relation in document["relationships"]
              if relation["relationshipType"] == "DEPENDS_ON"}
    wanted = {re.split(r"[ :(]", entry.strip())[0] for entry in depends.split(",") if entry.strip()}
    found += [f"another list of dependencies: {name}" for name in sorted(listed ^ wanted)]
    return found


def problems(root: Path, package: str, version: str, depends: str) -> list[str]:
    own = f"./usr/share/doc/{package}/{package}.spdx.json"
    document = json.loads((root / own).read_text(encoding="utf-8"))
    return wrong_form(document) or (wrong_references(document) + wrong_files(document, root, own)
                                    + wrong_package(document, package, version, depends))


def check(deb: str) -> list[str]:
    def field(name: str) -> str:
        return subprocess.run(["dpkg-deb", "--field", deb, name], check=True, text=True,
                              stdout=subprocess.PIPE).stdout.strip()

    with tempfile.TemporaryDirectory() as root:
        subprocess.run(["dpkg-deb", "-x", deb, root], check=True)
        return problems(Path(root), field("Package"), field("Version"), field("Depends"))


def main() -> int:
    found = [f"{deb}: {problem}" for deb in sys.argv[1:] for problem in check(deb)]
    print("\n".join(found) or f"{len(sys.argv) - 1} valid SPDX documents")
    return 1 if found or len(sys.argv) < 2 else 0


if __name__ == "__main__":
    sys.exit(main())
