#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""ksltrace on a folder in which several programs keep their traces: trace_folder_test.py BUILD [EMULATOR...]"""

import json
import os
import pathlib
import pty
import re
import subprocess
import sys
import tempfile
import unittest

from export_formats_test import SCHEMAS, check

# "kslctl mib --watch 1" looks 3600 times an hour. Slow builds look less often, but still for some turns of its ring.
LOOKS = int(os.environ.get("KSL_TEST_LOOKS", "3600"))
CHIPS_A_RUN = 60


class TraceFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ksl-traces-")
        self.addCleanup(folder.cleanup)
        self.traces = pathlib.Path(folder.name, "traces")
        self.environment = dict(os.environ, HWA_SIM_DIR=f"{folder.name}/hub", TRACE_KBUF_DIR=str(self.traces), LC_ALL="C",
                                LD_LIBRARY_PATH=f"{BUILD}/lib", TERM="xterm", PAGER="cat")

    def run_tool(self, program, *arguments, status=0, **options):
        done = subprocess.run([*EMULATOR, f"{BUILD}/{program}", *arguments], env=self.environment, text=True,
                              stdout=subprocess.PIPE, timeout=300, check=False, **options)
        self.assertEqual(done.returncode, status)
        return done.stdout

    def run_service(self):
        done = subprocess.run([*EMULATOR, f"{BUILD}/tests/failing_service"], env=self.environment, timeout=60, check=False)
        self.assertIn(done.returncode, (-9, 128 + 9))  # an emulator may not die of the signal itself

    def look(self, chips=1):
        self.run_tool("bin/kslctl", "--simulate", "--chip", ",".join(["0"] * chips), "mib")

    def test_an_hour_of_looking_does_not_hide_what_a_service_did_before_it_failed(self):
        self.run_service()
        for _ in range(LOOKS // CHIPS_A_RUN):
            self.look(CHIPS_A_RUN)
        buffers = [json.loads(line)["buffer"] for line in self.run_tool("bin/ksltrace", "export", "--json").splitlines()
                   if '"schema"' in line]
        self.assertEqual(buffers[0]["overwritten"], 0)
        self.assertGreater(buffers[1]["overwritten"], buffers[1]["capacity"])

        heading, date, *lines, gap = self.run_tool("bin/ksltrace", "show", "--failed").splitlines()
        self.assertRegex(heading, r"/traces: 2 buffers, \d+ of \d+ records, \d+ overwritten$")
        self.assertRegex(gap, r"^-- \d+ records of kslctl overwritten --$")
        self.assertRegex(date, r"^\d{4}-\d\d-\d\d UTC$")
        self.assertEqual([re.sub(r"^\S+ \[XKSL \d+\] | in [\d.]+ \S+$", "", line) for line in lines],
                         ["ksl_read_link_status_reg chip=9 -> 101",
                          "  ! register read failed page=0x01 offset=0x10 length=4 (link status)"])

    def test_programs_and_processes_are_told_apart(self):
        self.environment["TRACE_KBUF_DIR"] = f"{self.traces}/%e-%p"
        self.run_service()
        self.run_service()
        self.look()
        lines = self.run_tool("bin/ksltrace", "show", "--operation", "ksl_read_*").splitlines()[2:]
        found = re.findall(r"^\S+ \[(\S+-\d+)(/kslctl)? (\d+)\] (ksl_\w+) ", "\n".join(lines), re.M)
        self.assertEqual([operation for _, _, _, operation in found],
                         ["ksl_read_link_status_reg"] * 4 + ["ksl_read_MIB_counters"])
        self.assertEqual([below for _, below, _, _ in found], [""] * 4 + ["/kslctl"])
        programs = [place for place, _, _, _ in found]
        self.assertEqual(programs[0], programs[1])
        self.assertEqual(len(set(programs)), 3)

    def test_exports_name_the_source_of_each_record(self):
        self.run_service()
        self.look()
        lines = [json.loads(line) for line in self.run_tool("bin/ksltrace", "export", "--json").splitlines()]
        for line in lines:
            check(line, SCHEMAS / "trace.json")
        self.assertEqual([line["source"] for line in lines if "schema" in line], ["XKSL", "kslctl"])
        records = [line for line in lines if "schema" not in line]
        self.assertEqual({record["source"] for record in records}, {"XKSL", "kslctl"})
        self.assertEqual([record["time"] for record in records], sorted(record["time"] for record in records))

        statistics = json.loads(self.run_tool("bin/ksltrace", "stats", "--json"))
        check(statistics, SCHEMAS / "trace-stats.json")
        self.assertEqual([each["source"] for each in statistics["buffers"]], ["XKSL", "kslctl"])

        events = json.loads(self.run_tool("bin/ksltrace", "export", "--perfetto"))["traceEvents"]
        self.assertEqual([event["args"]["name"] for event in events if event["name"] == "process_name"],
                         ["trace buffer XKSL", "trace buffer kslctl"])
        self.assertEqual({event["pid"] for event in events if event["ph"] == "X"}, {1, 2})

        self.run_tool("bin/ksltrace", "export", "--ctf", f"{self.traces}/ctf")
        environment = {name: value for name, value in self.environment.items() if name != "LD_LIBRARY_PATH"}
        read = subprocess.run(["babeltrace2", f"{self.traces}/ctf"], capture_output=True, text=True, timeout=60,
                              env=environment, check=True)
        self.assertEqual(len(re.findall(r'source = "XKSL" }', read.stdout)),
                         sum(record["source"] == "XKSL" for record in records))
        self.assertEqual(len(re.findall(r'source = "\w+" }', read.stdout)), len(records))

    def test_text_fits_a_narrow_terminal(self):
        self.run_service()
        self.environment["COLUMNS"] = "80"
        for arguments in (["show"], ["show", "--verbose"], ["stats"], ["list"]):
            terminal, writing_end = pty.openpty()
            subprocess.run([*EMULATOR, f"{BUILD}/bin/ksltrace", *arguments], env=self.environment, stdout=writing_end,
                           timeout=60, check=True)
            os.close(writing_end)
            output = b""
            try:
                while block := os.read(terminal, 65536):
                    output += block
            except OSError:  # the other end is closed
                pass
            os.close(terminal)
            lines = re.sub(r"\x1b\[\d*m", "", output.decode()).split("\r\n")
            self.assertGreater(len(lines), 2)
            self.assertLessEqual(max(map(len, lines)), 80, arguments)

    def test_help_fits_a_narrow_terminal(self):
        for command in ([], ["list"], ["show"], ["follow"], ["stats"], ["export"], ["catalogue"]):
            text = self.run_tool("bin/ksltrace", *command, "--help")
            self.assertLessEqual(max(map(len, text.splitlines())), 80, command)


if __name__ == "__main__":
    BUILD, EMULATOR = sys.argv[1], sys.argv[2:]
    unittest.main(argv=sys.argv[:1], verbosity=2)
