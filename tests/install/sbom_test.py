# SPDX-License-Identifier: MIT
"""What packaging/sbom.py writes is valid, and check_sbom.py finds errors: sbom_test.py SBOM"""

import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import check_sbom

SBOM = sys.argv.pop(1)
DEPENDS = "libc6 (>= 2.34), libixlal (= 1.2.3), python3:any"


class SbomTest(unittest.TestCase):
    def setUp(self):
        self.root = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.own = self.root / "usr/share/doc/sample/sample.spdx.json"
        self.program = self.root / "usr/bin/sample ä"
        for path, text in ((self.program, "one"), (self.own.parent / "copyright", "two"),
                           (self.root / "usr/share/ixlal/ixla-new-plugin/main.in", "three"),
                           (self.root / "usr/share/doc/ixlal-doc/html/css/base.css", "four")):
            path.parent.mkdir(parents=True)
            path.write_text(text, encoding="utf-8")
        (self.root / "usr/bin/link").symlink_to("nowhere")
        self.write()
        self.document = json.loads(self.own.read_text(encoding="utf-8"))

    def write(self):
        subprocess.run([SBOM, self.root, "sample", "1.2.3", "i386", DEPENDS], check=True,
                       env={**os.environ, "SOURCE_DATE_EPOCH": "1800000000"})

    def problems(self, document=None):
        if document is not None:
            self.own.write_text(json.dumps(document), encoding="utf-8")
        return check_sbom.problems(self.root, "sample", "1.2.3", DEPENDS)

    def test_is_valid_and_always_the_same(self):
        self.assertEqual([], self.problems())
        first = self.own.read_bytes()
        self.write()
        self.assertEqual(first, self.own.read_bytes())

    def test_has_time_versions_and_licenses(self):
        self.assertEqual("2027-01-15T08:00:00Z", self.document["creationInfo"]["created"])
        versions = {entry["name"]: entry.get("versionInfo") for entry in self.document["packages"]}
        self.assertEqual({"sample": "1.2.3", "libc6": ">= 2.34", "libixlal": "1.2.3",
                          "python3": None}, versions)
        licenses = {Path(entry["fileName"]).name: entry["licenseConcluded"]
                    for entry in self.document["files"]}
        self.assertEqual({"sample ä": "MIT", "copyright": "MIT", "main.in": "MIT-0",
                          "base.css": "BSD-2-Clause"}, licenses)
        self.assertEqual("BSD-2-Clause AND MIT AND MIT-0",
                         self.document["packages"][0]["licenseDeclared"])

    def test_changed_files_are_found(self):
        self.program.write_text("other", encoding="utf-8")
        self.assertEqual(["another SHA1: ./usr/bin/sample ä", "another SHA256: ./usr/bin/sample ä"],
                         self.problems())
        self.program.unlink()
        (self.root / "usr/bin/more").touch()
        self.assertEqual(["another list of files: ./usr/bin/more",
                          "another list of files: ./usr/bin/sample ä"], self.problems())

    def test_missing_fields_are_found(self):
        for key in ("spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace",
                    "creationInfo"):
            kept = {name: value for name, value in self.document.items() if name != key}
            self.assertNotEqual([], self.problems(kept), key)
        for kind, keys in (("packages", check_sbom.OF_PACKAGES), ("files", check_sbom.OF_FILES)):
            for key in keys:
                document = json.loads(json.dumps(self.document))
                del document[kind][0][key]
                self.assertNotEqual([], self.problems(document), key)

    def test_wrong_content_is_found(self):
        changes = (
            ("another list of dependencies: python3",
             lambda document: document["relationships"].pop()),
            ("an identifier is used twice",
             lambda document: document["files"].append(document["files"][0])),
            ("another verification code",
             lambda document: document["packages"][0]["packageVerificationCode"].clear()),
            ("another name or version",
             lambda document: document["packages"][0].update(versionInfo="1.2.4")))
        for wanted, change in changes:
            document = json.loads(json.dumps(self.document))
            change(document)
            self.assertIn(wanted, self.problems(document))
        document = json.loads(json.dumps(self.document))
        document["files"][0]["licenseConcluded"] = "MIT, or so"
        self.assertRegex("\n".join(self.problems(document)), "has no valid licenseConcluded")


if __name__ == "__main__":
    unittest.main()
