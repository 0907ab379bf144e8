#!/usr/bin/python3 -B
# SPDX-License-Identifier: MIT
"""Writes the SPDX document of a Debian package: sbom.py DIRECTORY PACKAGE VERSION ARCHITECTURE DEPENDS
DIRECTORY has the files of the package as they will be installed. The document is added to them, in
usr/share/doc/PACKAGE/PACKAGE.spdx.json. Its time is SOURCE_DATE_EPOCH."""

import fnmatch
import hashlib
import json
import os
import re
import subprocess
import sys
from datetime import datetime, timezone
from pathlib import Path

COPYRIGHT = Path(__file__).resolve().parent / "copyright"
SUPPLIER = "Organization: The ixlal maintainers (maintainers@ixlal.example.org)"
OF_DEBIAN = "Organization: Debian"
SPDX_NAMES = {"Expat": "MIT"}
# The copyright file names the sources; these are elsewhere in a package.
INSTALLED = {"tools/new-plugin/template/*": "share/ixlal/ixla-new-plugin/*.in"}
RUNTIME = "GPL-3.0-or-later WITH GCC-exception-3.1"
LICENSES = {"libc6": "LGPL-2.1-or-later", "libgcc-s1": RUNTIME, "libstdc++6": RUNTIME}
# Libraries of headers only, which are compiled into the programs.
COMPILED_IN = {"ixlal-tools": {"libcli11-dev": "BSD-3-Clause", "nlohmann-json3-dev": "MIT"}}


def license_rules() -> list[tuple[str, str]]:
    """Patterns of paths with their licenses, from the copyright file; later ones win."""
    rules = []
    for stanza in COPYRIGHT.read_text(encoding="utf-8").split("\n\n"):
        files = re.search(r"^Files: (.*(?:\n .*)*)", stanza, re.MULTILINE)
        name = re.search(r"^License: (\S+)$", stanza, re.MULTILINE)
        if files and name:
            spdx = SPDX_NAMES.get(name[1], name[1])
            rules += [(INSTALLED.get(pattern, pattern), spdx) for pattern in files[1].split()]
    return rules


def license_of(path: str, rules: list[tuple[str, str]]) -> str:
    return [name for pattern, name in rules if fnmatch.fnmatch(path, "*/" + pattern)][-1]


def describe_file(root: Path, path: Path, rules: list[tuple[str, str]]) -> dict:
    name = f"./{path.relative_to(root)}"
    content = path.read_bytes()
    spdx = license_of(name, rules)
    return {
        "SPDXID": "SPDXRef-File-" + hashlib.sha256(name.encode()).hexdigest()[:24],
        "fileName": name,
        "checksums": [
            {"algorithm": "SHA1", "checksumValue": hashlib.sha1(content).hexdigest()},
            {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()}],
        "licenseConcluded": spdx, "licenseInfoInFiles": [spdx], "copyrightText": "NOASSERTION"}


def verification_code(files: list[dict]) -> str:
    hashes = sorted(file["checksums"][0]["checksumValue"] for file in files)
    return hashlib.sha1("".join(hashes).encode()).hexdigest()


def identifier(package: str) -> str:
    return "SPDXRef-Package-" + re.sub(r"[^A-Za-z0-9.-]", "-", package)


def describe_other(name: str, version: str, spdx: str) -> dict:
    """A package that is not made here, or by another document."""
    own = name.startswith(("ixlal", "libixlal"))
    found = {
        "SPDXID": identifier(name), "name": name, "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False, "supplier": SUPPLIER if own else OF_DEBIAN,
        "licenseConcluded": "NOASSERTION", "licenseDeclared": "MIT" if own else spdx,
        "copyrightText": "NOASSERTION",
        "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                          "referenceLocator": f"pkg:deb/{'ixlal' if own else 'debian'}/"
                                              + name.replace("+", "%2B")}]}
    if version:
        found["versionInfo"] = version
    return found


def dependencies(depends: str) -> list[tuple[dict, str]]:
    """The packages of a Depends field, and the relationship to each."""
    found = []
    for entry in filter(None, (text.strip() for text in depends.split(","))):
        name, _, version = entry.partition(" ")
        name = name.partition(":")[0]
        version = version.strip("()").removeprefix("= ")
        found.append((describe_other(name, version, LICENSES.get(name, "NOASSERTION")),
                      "DEPENDS_ON"))
    return found


def compiled_in(package: str) -> list[tuple[dict, str]]:
    found = []
    for name, spdx in COMPILED_IN.get(package, {}).items():
        version = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", name], check=True,
                                 stdout=subprocess.PIPE, text=True).stdout
        found.append((describe_other(name, version, spdx), "STATIC_LINK"))
    return found


def relate(element: str, kind: str, related: str) -> dict:
    return {"spdxElementId": element, "relationshipType": kind, "relatedSpdxElement": related}


def describe(root: Path, output: Path, package: str, version: str, architecture: str,
             depends: str) -> dict:
    rules = license_rules()
    files = [describe_file(root, path, rules) for path in sorted(root.rglob("*"))
             if path.is_file() and not path.is_symlink() and path != output]
    names = sorted({file["licenseConcluded"] for file in files})
    code = verification_code(files)
    main = {
        "SPDXID": identifier(package), "name": package, "versionInfo": version,
        "downloadLocation": "NOASSERTION", "supplier": SUPPLIER, "filesAnalyzed": True,
        "packageVerificationCode": {
            "packageVerificationCodeValue": code,
            "packageVerificationCodeExcludedFiles": [f"./{output.relative_to(root)}"]},
        "licenseConcluded": " AND ".join(names), "licenseDeclared": " AND ".join(names),
        "licenseInfoFromFiles": names, "copyrightText": "2026 the ixlal authors",
        "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                          "referenceLocator": f"pkg:deb/ixlal/{package}@{version}"
                                              f"?arch={architecture}"}]}
    others = dependencies(depends) + compiled_in(package)
    created = datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), timezone.utc)
    return {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"{package}-{version}",
        "documentNamespace": f"https://ixlal.example.org/spdx/{package}-{version}-{code}",
        "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"),
                         "creators": [SUPPLIER, f"Tool: ixlal-sbom-{version}"]},
        "packages": [main, *(other for other, _ in others)], "files": files,
        "relationships": [
            relate("SPDXRef-DOCUMENT", "DESCRIBES", main["SPDXID"]),
            *(relate(main["SPDXID"], "CONTAINS", file["SPDXID"]) for file in files),
            *(relate(main["SPDXID"], kind, other["SPDXID"]) for other, kind in others)]}


def main() -> int:
    if len(sys.argv) != 6:
        print(__doc__.splitlines()[0], file=sys.stderr)
        return 2
    root, package = Path(sys.argv[1]), sys.argv[2]
    output = root / f"usr/share/doc/{package}/{package}.spdx.json"
    document = describe(root, output, package, *sys.argv[3:])
    output.write_text(json.dumps(document, indent=1, ensure_ascii=False) + "\n", encoding="utf-8")
    output.chmod(0o644)
    return 0


if __name__ == "__main__":
    sys.exit(main())
