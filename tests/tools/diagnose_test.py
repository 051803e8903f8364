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
LINES = 24
COUNTERS = (0x00, 0x08, 0x18, 0x1C, 0x30, 0x38, 0x50, 0x54, 0x58, 0x5C,
            0x60, 0x64, 0x68, 0x70, 0x74, 0x78, 0x7C, 0x88, 0x90, 0x98)
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


def crowded_hub():
    """A port with everything: all counters move, many VLANs, addresses and findings; trunk; mirrored in both ways and
    mirror target."""
    members = [vid for first in range(1000, 4000, 10) for vid in range(first, first + 3)]
    rates = [{"offset": offset, "per_second": 4000000000} for offset in COUNTERS]
    return {"name": "crowded", "chips": [{
        "chip": 0,
        "mode": {"managed": False, "forwarding": False},
        "ports": [{"port": 22, "link": True, "phy_control": "0x2000", "pvid": 30, "priority": 7, "rates": rates},
                  {"port": 23, "link": True, "speed": 10, "pvid": 30}],
        "vlan": {"enabled": True, "entries": [
            *({"vid": vid, "lower_map": "0x0400000"} for vid in members),
            *({"vid": vid, "valid": False, "lower_map": "0x0400000"} for vid in range(1, 900, 2))]},
        "addresses": [{"mac": f"02:00:00:00:{n >> 8:02x}:{n & 255:02x}", "port": 22, "static": n < 3}
                      for n in range(4000)],
        "registers": [{"page": "0x41", "offset": "0x9c", "bytes": "0f9d"},  # 3997, so many are not static
                      {"page": "0x02", "offset": "0x10", "bytes": "80d55555"},
                      {"page": "0x02", "offset": "0x14", "bytes": "00ffffff"},
                      {"page": "0x02", "offset": "0x20", "bytes": "00ffffff"},
                      {"page": "0x32", "offset": "0x00", "bytes": "02"},
                      {"page": "0x32", "offset": "0x10", "bytes": "08d55555"}]}]}


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

    def test_all_means_the_chips_that_are_listed(self):
        hub = next(hubs())
        self.set_up(hub)
        document = json.loads(self.run_kslctl("--simulate", "--json", "chips").stdout)
        check(document, "kslctl-chips.json")
        numbers = [chip["chip"] for chip in document["chips"]]
        self.assertEqual(numbers, [chip["chip"] for chip in hub["chips"]])
        modes = json.loads(self.run_kslctl("--simulate", "--json", "--chip", "all", "mode").stdout)
        self.assertEqual([(chip["chip"], chip["mode"]) for chip in modes["chips"]],
                         [(chip["chip"], chip["mode"]) for chip in document["chips"]])
        self.environment["HWA_SIM_FAULTS"] = "getreg page=1 code=17; engpowercmd code=17"
        done = self.run_kslctl("--simulate", "--json", "chips")
        self.assertEqual(done.returncode, 3)
        document = json.loads(done.stdout)
        check(document, "kslctl-chips.json")
        self.assertEqual([chip["chip"] for chip in document["chips"] if chip["firmware"] is None], numbers)

    def test_a_document_without_readings_fits_the_schema(self):
        self.environment["HWA_SIM_FAULTS"] = "any code=17"
        chips = self.set_up(next(hubs()))
        done = self.run_kslctl("--simulate", "--chip", chips, "--json", "diagnose", "1-2")
        document = json.loads(done.stdout)
        check(document, "kslctl-diagnose.json")
        self.assertEqual(done.returncode, 3)
        self.assertTrue(all(chip["not_judged"] and not chip["findings"] for chip in document["chips"]))

    def test_everything_about_a_port_fits_a_screen(self):
        self.set_up(crowded_hub())
        done = self.run_kslctl("--simulate", "port", "info", "22", "--for", "0.2")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assert_narrow(done.stdout)
        self.assertLessEqual(done.stdout.count("\n"), LINES, done.stdout)
        self.assertEqual(set(re.findall(r"0x(\w\w)=\d", done.stdout)), {f"{offset:02x}" for offset in COUNTERS})
        for words in ("and more", "and 3997 more", "group 0", "received frames yes", "sent frames yes", "target yes",
                      "[not_forwarding]", "more kslctl --simulate diagnose 22"):
            self.assertIn(words, re.sub(r"\s+", " ", done.stdout))

    def test_port_info_fits_a_screen_and_its_schema(self):
        chips = self.set_up(next(hubs()))
        done = self.run_kslctl("--simulate", "--chip", chips, "--json", "port", "info", "0-3", "--for", "0.01")
        check(json.loads(done.stdout), "kslctl-port-info.json")
        text = self.run_kslctl("--simulate", "--chip", chips, "port", "info", "2-3", "--for", "0.01").stdout
        self.assert_narrow(text)
        for screen in text.split("\n\n"):
            self.assertLessEqual(screen.count("\n"), LINES, screen)

    def test_port_info_without_readings_fits_its_schema(self):
        self.environment["HWA_SIM_FAULTS"] = "any code=17"
        self.set_up(next(hubs()))
        done = self.run_kslctl("--simulate", "--json", "port", "info", "2", "--for", "0.01")
        document = json.loads(done.stdout)
        check(document, "kslctl-port-info.json")
        self.assertEqual(done.returncode, 3)
        port = document["chips"][0]["ports"][0]
        facts = set(port) - {"port", "findings", "not_judged"}
        self.assertEqual({key for key in facts if port[key] is not None}, set())
        self.assertEqual(port["findings"], [])

    def test_vlan_matrix_is_narrow_and_fits_its_schema(self):
        found = set()
        for hub in hubs():
            chips = self.set_up(hub)
            self.assert_narrow(self.run_kslctl("--simulate", "--chip", chips, "vlan", "matrix").stdout)
            document = json.loads(self.run_kslctl("--simulate", "--chip", chips, "--json", "vlan", "matrix").stdout)
            check(document, "kslctl-vlan-matrix.json")
            found |= {each["rule"] for chip in document["chips"] for each in chip["contradictions"]}
        self.assertEqual(found, {"pvid_vlan_invalid", "pvid_not_member", "member_of_invalid_vlan"})
        self.environment["HWA_SIM_FAULTS"] = "any code=17"
        done = self.run_kslctl("--simulate", "--json", "vlan", "matrix", "1,30")
        check(json.loads(done.stdout), "kslctl-vlan-matrix.json")
        self.assertEqual(done.returncode, 3)

    def test_counters_of_errors(self):
        """With the example of counter names; the scenario is that of the simulated hub's busy chip."""
        names = HERE.parents[1] / "examples/counter_names.json"
        check(json.loads(names.read_text()), "counter-names.json")
        self.set_up({"name": "spoiled", "chips": [{"chip": 0, "ports": [
            {"port": 2, "link": True, "rates": [{"offset": 0x98, "per_second": 1000000}]}]}]})
        self.environment["KSL_COUNTER_NAMES"] = str(names)
        done = self.run_kslctl("--simulate", "diagnose", "2", "--for", "0.05")
        self.assertRegex(done.stdout, r"\[errors_counted\]\n  seen   counter spoiled of port 2 \(page 0x52, offset 0x98\):")
        self.assert_narrow(done.stdout)
        document = json.loads(self.run_kslctl("--simulate", "--json", "diagnose", "2", "--for", "0.05").stdout)
        check(document, "kslctl-diagnose.json")
        self.assertIn("errors_counted", [finding["rule"] for finding in document["chips"][0]["findings"]])
        document = json.loads(self.run_kslctl("--simulate", "--json", "port", "info", "2", "--for", "0.05").stdout)
        check(document, "kslctl-port-info.json")
        self.assertEqual(document["chips"][0]["ports"][0]["counters"][0]["name"], "spoiled")

    def test_each_rule_is_described(self):
        in_help = re.findall(r"(?m)^  (\w+) +(fault|warning|note) ", self.run_kslctl("diagnose", "--help").stdout)
        rows = re.findall(r"(?m)^\| (`\w+`(?:, `\w+`)*) \| (fault|warning|note) \|", (DOCS / "kslctl-json.md").read_text())
        described = [(rule, severity) for rules, severity in rows for rule in re.findall(r"\w+", rules)]
        self.assertEqual(sorted(in_help), sorted(described))


if __name__ == "__main__":
    BUILD, *EMULATOR = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
