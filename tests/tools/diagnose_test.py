#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What kslctl says about every scenario of faults/: diagnose_test.py BUILD [EMULATOR...]

The texts fit a terminal, the documents fit their schemas, and the proposed commands can be run. The words and the
rules are tested elsewhere."""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import jsonschema

HERE = pathlib.Path(__file__).resolve().parent
DOCS = HERE.parents[1] / "docs"
CHIPS = 8  # that a scenario may have
COLUMNS = 80
REFUSED = 2


def hubs():
    """The scenarios with one chip as hubs with as many as there may be."""
    chips = [json.loads(path.read_text())["chips"][0] for path in sorted((HERE / "faults").glob("*.json"))]
    for first in range(0, len(chips), CHIPS):
        some = chips[first:first + CHIPS]
        yield {"name": "faults", "chips": [{**chip, "chip": number} for number, chip in enumerate(some)]}


def check(document, schema):
    schema = json.loads((DOCS / "schemas" / schema).read_text())
    resolver = jsonschema.RefResolver(base_uri=(DOCS / "schemas").as_uri() + "/", referrer=schema)
    jsonschema.Draft7Validator(schema, resolver=resolver).validate(document)


class Faults(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ksl-diagnose-")
        self.addCleanup(folder.cleanup)
        self.scenario = pathlib.Path(folder.name, "hub.json")
        self.environment = dict(os.environ, HWA_SIM_DIR=f"{folder.name}/hub", HWA_SIM_SCENARIO=str(self.scenario))

    def run_kslctl(self, *words):
        return subprocess.run([*EMULATOR, f"{BUILD}/bin/kslctl", *words], env=self.environment, capture_output=True,
                              text=True, timeout=120, check=False)

    def set_up(self, hub):
        self.scenario.write_text(json.dumps(hub))
        return f"0-{len(hub['chips']) - 1}"

    def assert_narrow(self, text):
        for line in text.splitlines():
            self.assertLessEqual(len(line), COLUMNS, line)

    def test_texts_are_narrow(self):
        for hub in hubs():
            chips = self.set_up(hub)
            self.assert_narrow(self.run_kslctl("--simulate", "--chip", chips, "diagnose", "0-8").stdout)

    def test_documents_fit_the_schema(self):
        found = {}
        for hub in hubs():
            document = json.loads(self.run_kslctl("--simulate", "--chip", self.set_up(hub), "--json", "diagnose").stdout)
            check(document, "kslctl-diagnose.json")
            self.assertEqual(len(document["chips"]), len(hub["chips"]))
            for chip in document["chips"]:
                found.update({finding["rule"]: finding for finding in chip["findings"]})
        self.assertGreater(len(found), 15)
        # Each proposed command is one that kslctl takes, here without its long wait.
        for finding in found.values():
            program, *words = re.sub(r"(--for|--delta) \d+", r"\1 0.01", finding["command"]).split()
            self.assertEqual(program, "kslctl")
            self.assertNotEqual(self.run_kslctl(*words).returncode, REFUSED, finding["command"])

    def test_a_document_without_readings_fits_the_schema(self):
        self.environment["HWA_SIM_FAULTS"] = "any code=17"
        chips = self.set_up(next(hubs()))
        done = self.run_kslctl("--simulate", "--chip", chips, "--json", "diagnose", "1-2")
        document = json.loads(done.stdout)
        check(document, "kslctl-diagnose.json")
        self.assertEqual(done.returncode, 3)
        self.assertTrue(all(chip["not_judged"] and not chip["findings"] for chip in document["chips"]))

    def test_each_rule_is_described(self):
        in_help = re.findall(r"(?m)^  (\w+) +(fault|warning|note) ", self.run_kslctl("diagnose", "--help").stdout)
        rows = re.findall(r"(?m)^\| (`\w+`(?:, `\w+`)*) \| (fault|warning|note) \|", (DOCS / "kslctl-json.md").read_text())
        described = [(rule, severity) for rules, severity in rows for rule in re.findall(r"\w+", rules)]
        self.assertEqual(sorted(in_help), sorted(described))


if __name__ == "__main__":
    BUILD, *EMULATOR = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
