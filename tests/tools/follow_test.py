#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""ksltrace follow while a writer comes and goes: follow_test.py BUILD [EMULATOR...]"""

import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

PATIENCE = 60  # seconds; an emulator on a busy machine is slow


class Follower:
    """A running "ksltrace follow" whose lines can be waited for."""

    def __init__(self, test, *arguments):
        self.process = subprocess.Popen([*test.tool("ksltrace"), "follow", *arguments], env=test.environment,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        test.addCleanup(self.stop)
        self.lines = queue.Queue()
        self.said = queue.Queue()
        for stream, into in ((self.process.stdout, self.lines), (self.process.stderr, self.said)):
            threading.Thread(target=lambda s=stream, i=into: [i.put(line.rstrip("\n")) for line in s],
                             daemon=True).start()

    def line(self):
        """The next line without dates, its time, file, thread, and durations."""
        text = self.lines.get(timeout=PATIENCE)
        while re.fullmatch(r"\d{4}-\d\d-\d\d UTC", text):
            text = self.lines.get(timeout=PATIENCE)
        return re.sub(r" in [\d.]+ [um]?s\b", "", re.sub(r"^\d\d:\d\d:\d\d\.\d{6} (\[[^]]+\] )?", "", text))

    def end(self, number):
        self.process.send_signal(number)
        return self.process.wait(PATIENCE)

    def stop(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()
        self.process.stderr.close()


class Follow(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ksl-follow-")
        self.addCleanup(folder.cleanup)
        self.traces = pathlib.Path(folder.name, "traces")
        self.traces.mkdir()
        self.environment = dict(os.environ, HWA_SIM_DIR=f"{folder.name}/hub", TRACE_KBUF_DIR=str(self.traces),
                                LANG="C", LC_ALL="C")

    def tool(self, name):
        return [*EMULATOR, f"{BUILD}/bin/{name}"]

    def write(self, *arguments):
        subprocess.run([*self.tool("kslctl"), "--simulate", *arguments], env=self.environment, check=True,
                       stdout=subprocess.DEVNULL, timeout=PATIENCE)

    def test_waits_for_a_buffer_and_goes_on_with_its_next_writer(self):
        follower = Follower(self, "XKSL")
        self.assertEqual(follower.said.get(timeout=PATIENCE),
                         f"ksltrace: {self.traces}/XKSL.kbuf is not there yet; waiting for it")
        for _ in range(2):
            self.write("mode")
            self.assertEqual(follower.line(), "- lower library opened")
            self.assertEqual(follower.line(), "ksl_read_switch_mode_reg chip=0 -> done")
        self.assertEqual(follower.end(signal.SIGINT), 0)
        self.assertTrue(follower.lines.empty() and follower.said.empty())

    def test_takes_up_a_buffer_that_was_made_anew(self):
        self.write("mode")
        follower = Follower(self, "XKSL", "--operation", "ksl_*")
        self.assertEqual(follower.line(), "ksl_read_switch_mode_reg chip=0 -> done")
        shutil.rmtree(self.traces)
        self.traces.mkdir()
        self.write("bist")
        self.assertEqual(follower.line(), "-- the buffer was begun anew --")
        self.assertEqual(follower.line(), "ksl_read_bist_status_reg chip=0 -> done top_bit=0")
        self.assertEqual(follower.end(signal.SIGTERM), 0)

    def test_shows_the_last_operations_of_what_was_there(self):
        self.write("--chip", "0,1,0", "mode")
        follower = Follower(self, "XKSL", "--last", "2", "--verbose")
        for chip in (1, 0):
            self.assertRegex(follower.line(), rf"> ksl_read_switch_mode_reg chip={chip} \(line \d+\)")
            self.assertRegex(follower.line(), r"  - bytes 03 \(line \d+\)")
            self.assertRegex(follower.line(), r"< ksl_read_switch_mode_reg out=0x\w{8} \(line \d+, [\d.]+ us\)")
        self.write("--chip", "0,1,0", "mode")
        self.assertRegex(follower.line(), r"- lower library opened \(line \d+\)")
        for _ in range(3):
            for _ in range(3):
                self.assertIn("line ", follower.line())
        self.assertEqual(follower.end(signal.SIGINT), 0)
        self.assertTrue(follower.lines.empty())

    def test_tells_an_operation_that_takes_long_twice(self):
        self.write("mode")
        program = SurveyProgram(self)
        follower = Follower(self, "XKSL", "--last", "1", "--operation", "survey", "--catalogue", str(program.catalogue))
        program.begin()
        self.assertEqual(follower.line(), "survey chip=7 -> no exit")
        program.finish()
        self.assertEqual(follower.line(), "survey -> -3 down=2")
        self.assertEqual(follower.end(signal.SIGINT), 0)

    def test_tells_an_operation_that_ends_soon_once(self):
        # On a busy machine the writer may come late, but not every time.
        self.write("mode")
        program = SurveyProgram(self)
        arguments = ["XKSL", "--last", "1", "--operation", "survey", "--catalogue", str(program.catalogue)]
        follower = Follower(self, *arguments)
        for _ in range(10):
            program.begin()
            time.sleep(0.15)
            program.finish()
            line = follower.line()
            if line == "survey chip=7 -> -3 down=2":
                break
            self.assertEqual(line, "survey chip=7 -> no exit")
            self.assertEqual(follower.line(), "survey -> -3 down=2")
        else:
            self.fail("it was always shown before its end")
        self.assertEqual(follower.end(signal.SIGINT), 0)

    def test_tells_a_damaged_record_once(self):
        self.write("mode")
        with open(self.traces / "kslctl" / "XKSL.kbuf", "r+b") as file:
            file.seek(4096 + 3 * 64 + 8)
            file.write(b"spoilt")
        follower = Follower(self, "XKSL")
        self.assertEqual(follower.line(), "- lower library opened")
        self.assertEqual(follower.line(), "ksl_read_switch_mode_reg chip=0 -> no exit")
        time.sleep(0.5)  # several looks
        self.write("mode")
        self.assertEqual(follower.line(), "-- 1 record damaged or not finished --")
        self.assertEqual(follower.line(), "- lower library opened")
        self.assertEqual(follower.line(), "ksl_read_switch_mode_reg chip=0 -> done")
        self.assertEqual(follower.end(signal.SIGINT), 0)
        self.assertTrue(follower.lines.empty())

    def test_a_killed_process_leaves_its_last_operation_without_an_exit(self):
        program = SurveyProgram(self)
        follower = Follower(self, "XKSL", "--catalogue", str(program.catalogue))
        program.begin()
        self.assertEqual(follower.line(), "survey chip=7 -> no exit")
        program.process.kill()
        program.process.wait(PATIENCE)
        shown = subprocess.run([*self.tool("ksltrace"), "--catalogue", str(program.catalogue), "show", "XKSL",
                                "--failed"], env=self.environment, capture_output=True, text=True, check=True)
        self.assertTrue(shown.stdout.endswith(" survey chip=7 -> no exit\n"), shown.stdout)
        self.assertEqual(follower.end(signal.SIGINT), 0)

    def test_follows_all_buffers_of_a_folder(self):
        self.write("mode")
        follower = Follower(self, "--last", "1")
        self.assertEqual(follower.line(), "ksl_read_switch_mode_reg chip=0 -> done")
        program = SurveyProgram(self)
        program.begin()
        program.finish()
        self.assertRegex(follower.lines.get(timeout=PATIENCE), r" \[XKSL \d+\] \? 0x80010001 line \d+: 0x00000007 ")
        self.assertRegex(follower.lines.get(timeout=PATIENCE), r" \[XKSL \d+\] \? 0x80010004 ")
        self.write("bist")
        self.assertEqual(follower.line(), "- lower library opened")
        self.assertRegex(follower.lines.get(timeout=PATIENCE), r" \[kslctl \d+\] ksl_read_bist_status_reg chip=0 ")
        self.assertEqual(follower.end(signal.SIGINT), 0)

    def test_waits_for_the_first_buffer_of_a_folder(self):
        follower = Follower(self, str(self.traces), "--verbose")
        self.assertEqual(follower.said.get(timeout=PATIENCE),
                         f"ksltrace: {self.traces} has no trace buffers yet; waiting for them")
        self.write("mode")
        self.assertRegex(follower.line(), r"- lower library opened \(line \d+\)")
        self.assertEqual(follower.end(signal.SIGINT), 0)

    def bytes_read(self, process):
        return int(re.search(r"rchar: (\d+)", pathlib.Path(f"/proc/{process.pid}/io").read_text())[1])

    def test_reads_what_is_new_and_no_more(self):
        self.write("mode")
        size = os.path.getsize(self.traces / "kslctl" / "XKSL.kbuf")
        follower = Follower(self, "XKSL")
        self.assertEqual(follower.line(), "- lower library opened")
        self.assertEqual(follower.line(), "ksl_read_switch_mode_reg chip=0 -> done")
        time.sleep(1)
        before = self.bytes_read(follower.process)
        time.sleep(2)  # twenty looks
        self.assertLess(self.bytes_read(follower.process) - before, size / 64)
        self.write("mode")
        self.assertEqual(follower.line(), "- lower library opened")
        self.assertEqual(follower.line(), "ksl_read_switch_mode_reg chip=0 -> done")
        self.assertLess(self.bytes_read(follower.process) - before, size / 16)
        self.assertEqual(follower.end(signal.SIGINT), 0)

    def test_refuses_a_pipe_at_once(self):
        os.mkfifo(self.traces / "XKSL.kbuf")
        follower = Follower(self, "XKSL")
        self.assertEqual(follower.said.get(timeout=PATIENCE),
                         f"ksltrace: {self.traces}/XKSL.kbuf is not a regular file; only files can be followed")
        self.assertEqual(follower.process.wait(PATIENCE), 3)

    def test_ends_when_nobody_reads_any_more(self):
        self.write("mode")
        reading_end, writing_end = os.pipe()
        process = subprocess.Popen([*self.tool("ksltrace"), "follow", "XKSL"], env=self.environment,
                                   stdout=writing_end, stderr=subprocess.PIPE)
        self.addCleanup(process.stderr.close)
        os.close(writing_end)
        os.read(reading_end, 65536)
        os.close(reading_end)
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertEqual(process.stderr.read(), b"")


class SurveyProgram:
    """Writes the entry of an operation, and its exit when the test asks for it."""

    SOURCE = pathlib.Path(__file__).parents[2] / "examples"

    def __init__(self, test):
        self.catalogue = self.SOURCE / "trace_records.json"
        self.process = subprocess.Popen([*EMULATOR, f"{BUILD}/tests/slow_survey"], env=test.environment,
                                        stdin=subprocess.PIPE, text=True)
        test.addCleanup(self.stop)

    def begin(self):
        self.process.stdin.write("begin\n")
        self.process.stdin.flush()

    def finish(self):
        self.process.stdin.write("finish\n")
        self.process.stdin.flush()

    def stop(self):
        self.process.stdin.close()
        self.process.wait(PATIENCE)


if __name__ == "__main__":
    BUILD, EMULATOR = sys.argv[1], sys.argv[2:]
    unittest.main(argv=sys.argv[:1], verbosity=2)
