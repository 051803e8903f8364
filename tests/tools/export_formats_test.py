#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Tries what ksltrace exports with others' tools: export_formats_test.py BUILD [EMULATOR...]

The trace has operations that went well and that failed, records of another program, and a damaged record."""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import jsonschema

SOURCE = pathlib.Path(__file__).parents[2]
SCHEMAS = SOURCE / "docs" / "schemas"
SLOT = 64
RECORDS = 4096  # where they begin in a trace file


def check(document, schema):
    schema = json.loads(schema.read_text())
    resolver = jsonschema.RefResolver(base_uri=SCHEMAS.as_uri() + "/", referrer=schema)
    jsonschema.Draft7Validator(schema, resolver=resolver).validate(document)


class Exports(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="ksl-export-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.environment = dict(os.environ, HWA_SIM_DIR=f"{folder.name}/hub", TRACE_KBUF_DIR=folder.name, LC_ALL="C")
        cls.run_tool("bin/kslctl", "--simulate", "--trace", "--chip", "0,9", "mode", status=3)
        cls.environment["TRACE_KBUF_DIR"] += "/kslctl"  # where kslctl keeps its trace
        cls.run_tool("tests/slow_survey", typed="begin\nend\n")
        with open(cls.folder / "kslctl" / "XKSL.kbuf", "r+b") as file:  # the bytes that chip 0's mode register had
            file.seek(RECORDS + 2 * SLOT + 8)
            file.write(b"spoilt")

    @classmethod
    def run_tool(cls, program, *arguments, status=0, typed=None):
        done = subprocess.run([*EMULATOR, f"{BUILD}/{program}", *arguments], env=cls.environment, input=typed,
                              capture_output=True, text=True, timeout=120)
        if done.returncode != status:
            raise AssertionError(f"{program} {arguments}: status {done.returncode}\n{done.stderr}")
        return done.stdout

    def ksltrace(self, *arguments, status=3):  # since a record is damaged
        return self.run_tool("bin/ksltrace", *arguments, status=status)

    def test_records_as_json(self):
        lines = [json.loads(line) for line in self.ksltrace("export", "XKSL", "--json").splitlines()]
        for line in lines:
            check(line, SCHEMAS / "trace.json")
        first, *records = lines
        self.assertEqual((first["buffer"]["written"], first["buffer"]["incomplete"]), (11, 1))
        self.assertEqual([r["sequence"] for r in records], [0, 1, 3, 4, 5, 6, 7, 8, 9, 10])
        self.assertEqual([r["lost_before"] for r in records], [0, 0, 1, 0, 0, 0, 0, 0, 0, 0])
        self.assertEqual([r["kind"] for r in records],
                         ["step", "entry", "exit", "elapsed", "entry", "failure", "exit", "elapsed", "unknown",
                          "unknown"])
        self.assertEqual(records[5]["register"], "switch mode")

    def test_statistics_as_json(self):
        document = json.loads(self.ksltrace("stats", "XKSL", "--json"))
        check(document, SCHEMAS / "trace-stats.json")
        mode, = document["operations"]
        self.assertEqual((mode["operation"], mode["count"], mode["failed"]), ("ksl_read_switch_mode_reg", 2, 1))
        self.assertGreaterEqual(mode["elapsed_us"]["max"], mode["elapsed_us"]["min"])
        self.assertIsNotNone(mode["run_time_us"])

    def test_catalogues(self):
        document = json.loads(self.ksltrace("catalogue", status=0))
        check(document, SCHEMAS / "trace-catalogue.json")
        self.assertEqual(document, json.loads(pathlib.Path(BUILD, "share/ksl/trace-points.json").read_text()))
        check(json.loads((SOURCE / "examples" / "trace_records.json").read_text()), SCHEMAS / "trace-catalogue.json")

    def test_trace_events(self):
        document = json.loads(self.ksltrace("export", "XKSL", "--perfetto"))
        check(document, pathlib.Path(__file__).with_name("trace_event.schema.json"))
        events = document["traceEvents"]
        self.assertEqual([(e["name"], e["cat"]) for e in events if e["ph"] == "X"],
                         [("ksl_read_switch_mode_reg", "operation"),
                          ("ksl_read_switch_mode_reg", "operation,failed")])
        for span in (e for e in events if e["ph"] == "X"):
            self.assertGreater(span["dur"], 0)
        self.assertEqual([e["name"] for e in events if e.get("cat") == "gap"], ["1 record lost"])

    def test_common_trace_format(self):
        folder = self.folder / "ctf"
        self.ksltrace("export", "XKSL", "--ctf", str(folder))
        read = subprocess.run(["babeltrace2", "--clock-gmt", "--clock-date", "--fields=loglevel", str(folder)],
                              capture_output=True, text=True, timeout=60)
        self.assertEqual(read.returncode, 0, read.stderr)
        self.assertRegex(read.stderr, r"discarded 1 event")
        lines = read.stdout.splitlines()
        self.assertEqual(len(lines), 10)
        records = [json.loads(line) for line in self.ksltrace("export", "XKSL", "--json").splitlines()[1:]]
        for line, record in zip(lines, records):
            time = re.match(r"\[(\d{4}-\d\d-\d\d) (\d\d:\d\d:\d\d\.\d{6})\d{3}\]", line)
            self.assertEqual(f"{time[1]}T{time[2]}Z", record["time"])
            self.assertIn(f" {record['point'] or 'unknown'}: ", line)
            self.assertIn(f"sequence = {record['sequence']}, writer = {record['writer']}, line = {record['line']} }}",
                          line)
        self.assertIn("TRACE_ERR", lines[5])
        self.assertTrue(lines[5].endswith("{ page = 0x0, offset = 0x0, length = 1 }"), lines[5])
        self.assertTrue(lines[9].endswith(
            "{ identifier = 0x80010004, count = 2, values = [ [0] = 0xFFFFFFFD, [1] = 0x2 ] }"), lines[9])

    def test_common_trace_format_with_a_catalogue(self):
        folder = self.folder / "ctf-with-catalogue"
        self.ksltrace("--catalogue", str(SOURCE / "examples" / "trace_records.json"), "export", "XKSL", "--ctf",
                      str(folder), "--operation", "survey")
        read = subprocess.run(["babeltrace2", str(folder)], capture_output=True, text=True, timeout=60)
        self.assertEqual(read.returncode, 0, read.stderr)
        entry, exit_ = read.stdout.splitlines()
        self.assertTrue(entry.endswith("{ chip = 7 }"), entry)
        self.assertTrue(exit_.endswith("{ result = -3, down = 2 }"), exit_)


if __name__ == "__main__":
    BUILD, EMULATOR = sys.argv[1], sys.argv[2:]
    unittest.main(argv=sys.argv[:1], verbosity=2)
