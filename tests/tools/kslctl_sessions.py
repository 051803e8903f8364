#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What no case of golden.py can show: commands that go on until they are stopped, and an address table that is full.

Arguments: the folder of the tools, that of the scenario files, the emulator's words; then those of unittest after --.
"""

import contextlib
import fcntl
import json
import os
import pathlib
import pty
import re
import resource
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

BIN, SCENARIOS, *EMULATOR = sys.argv[1 : sys.argv.index("--")]
PATIENCE = 60  # seconds; far more than a loaded machine with an emulator needs
LINE = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z chip 0 port (\d+):((?: (?:0x[0-9a-f]{2}|[a-z]\w+)=[0-9.]+[kMG]?/s)+| -| \?)\n")
CLEARED = "\x1b[H\x1b[2J"


class Session(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="ksl-session-")))
        self.log = self.folder / "log"
        self.errors = self.folder / "errors"
        self.environment = {"PATH": os.environ["PATH"], "TERM": "xterm", "HWA_SIM_DIR": str(self.folder / "hub"),
                            "HWA_SIM_SCENARIO": f"{SCENARIOS}/busy.json", "HWA_SIM_LOG": str(self.log)}
        self.environment.update((name, value) for name, value in os.environ.items() if name.endswith("SAN_OPTIONS"))

    def enterContext(self, context):  # Python has its own since 3.11
        value = context.__enter__()
        self.addCleanup(context.__exit__, None, None, None)
        return value

    def start(self, *words, stdout=subprocess.PIPE):
        with self.errors.open("wb") as errors:
            process = subprocess.Popen([*EMULATOR, f"{BIN}/kslctl", "--simulate", *words], env=self.environment,
                                       stdin=subprocess.DEVNULL, stdout=stdout, stderr=errors, text=True, bufsize=1)
        self.addCleanup(lambda: (process.kill(), process.wait(), process.stdout and process.stdout.close()))
        return process

    def readings(self):
        """How many ports have been read."""
        return self.log.read_text().count("request=22/22") if self.log.exists() else 0

    def wait_for(self, happens):
        end = time.monotonic() + PATIENCE
        while not happens():
            self.assertLess(time.monotonic(), end, "it did not happen in time")
            time.sleep(0.01)

    def ends(self, process, status, errors=""):
        self.assertEqual(process.wait(PATIENCE), status)
        self.assertEqual(self.errors.read_text(), errors)


class Watch(Session):
    def rates(self, line):
        match = LINE.fullmatch(line)
        self.assertTrue(match, line)
        return int(match[1]), match[2]

    def test_a_pipe_gets_the_lines_of_each_interval_at_once(self):
        process = self.start("mib", "0-3", "--nonzero", "--watch", "0.1")
        for _ in range(3):
            self.assertEqual([self.rates(process.stdout.readline())[0] for _ in range(4)], [0, 1, 2, 3])
        self.assertIsNone(process.poll())
        process.send_signal(signal.SIGINT)
        rest = process.stdout.readlines()
        for line in rest:
            self.rates(line)
        self.assertEqual(len(rest) % 4, 0)
        self.ends(process, 0)

    def test_a_port_without_traffic_and_one_that_fails_have_lines(self):
        self.environment["HWA_SIM_FAULTS"] = "port=1 code=17"
        process = self.start("mib", "0-2", "--nonzero", "--watch", "0.1")
        lines = [self.rates(process.stdout.readline()) for _ in range(3)]
        self.assertEqual(lines[1:], [(1, " ?"), (2, " -")])
        rate = r"[\d.]+[kMG]?/s"
        self.assertRegex(lines[0][1], f"^ 0x00={rate} 0x18={rate} 0x50={rate} 0x7c={rate} 0x90={rate} total={rate}$")
        process.send_signal(signal.SIGTERM)
        process.stdout.read()
        self.assertEqual(process.wait(PATIENCE), 3)
        complaints = set(self.errors.read_text().splitlines())
        self.assertEqual(complaints, {"kslctl: chip 0: counters of port 1 (page 0x51) not read: "
                                      "ksl_read_MIB_counters_at_port returned 17 "
                                      "(a code that the simulated hub was told to give)"})

    def test_lines_are_sorted_and_have_names(self):
        names = self.folder / "names.json"
        names.write_text('{"counters": [{"offset": "0x98", "name": "spoiled"}]}')
        process = self.start("mib", "--nonzero", "--watch", "0.5", "--sort", "spoiled", "--top", "1", "--counter-names",
                             str(names))
        for _ in range(2):  # port 1 alone counts there
            port, rates = self.rates(process.stdout.readline())
            self.assertEqual(port, 1)
            self.assertRegex(rates, r" spoiled=[\d.]+/s total=[\d.]+k?/s$")
        process.send_signal(signal.SIGINT)
        process.stdout.read()
        self.ends(process, 0)

    def test_each_signal_ends_a_long_interval(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            self.log.unlink(missing_ok=True)
            process = self.start("mib", "0", "--watch", "3600")
            self.wait_for(lambda: self.readings() == 1)
            process.send_signal(number)
            self.assertEqual(process.stdout.read(), "")
            self.ends(process, 0)

    def test_a_reader_who_goes_away_ends_a_long_interval(self):
        process = self.start("mib", "0", "--watch", "3600")
        self.wait_for(lambda: self.readings() == 1)
        process.stdout.close()
        self.ends(process, 0)
        self.assertEqual(self.readings(), 1)

    def test_a_reader_who_goes_away_between_lines_is_no_failure(self):
        process = self.start("mib", "0", "--watch", "0.05")
        self.rates(process.stdout.readline())
        process.stdout.close()
        self.ends(process, 0)

    def test_a_second_signal_ends_a_read_that_does_not_end(self):
        self.environment["HWA_SIM_FAULTS"] = "get_multireg page=0x50 nth=2 delay=3600s"
        process = self.start("mib", "0", "--watch", "3600")
        self.wait_for(lambda: self.log.exists() and "request=1/22" in self.log.read_text())
        process.send_signal(signal.SIGINT)
        with self.assertRaises(subprocess.TimeoutExpired):
            process.wait(0.2)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(PATIENCE), -signal.SIGINT)

    def test_an_output_that_cannot_be_written_is_reported(self):
        with open("/dev/full", "wb") as full:
            process = self.start("mib", "0", "--watch", "0.05", stdout=full)
            self.ends(process, 3, "kslctl: the result cannot be written to the standard output: "
                                  "No space left on device\n")

    def test_documents_are_lines_whose_numbers_agree(self):
        process = self.start("--json", "mib", "0", "--nonzero", "--watch", "0.2")
        documents = [json.loads(process.stdout.readline()) for _ in range(3)]
        process.send_signal(signal.SIGINT)
        process.stdout.read()
        self.ends(process, 0)
        before = {}
        for document in documents:
            self.assertEqual((document["schema"], document["errors"]), ("ksl.mib/1", []))
            chip = document["chips"][0]
            self.assertGreaterEqual(chip["seconds"], 0.1)
            counters = chip["ports"][0]["counters"]
            self.assertEqual([counter["offset"] for counter in counters], [0x00, 0x18, 0x50, 0x7C, 0x90])
            for counter in counters:
                self.assertAlmostEqual(counter["per_second"], counter["change"] / chip["seconds"], delta=0.06)
                if before:
                    moved = counter["value"] - before[counter["offset"]]
                    self.assertEqual(counter["change"], moved % 2 ** (64 if counter["offset"] in (0, 0x7C) else 32))
            before = {counter["offset"]: counter["value"] for counter in counters}

    def test_each_document_has_the_failures_of_its_interval(self):
        self.environment["HWA_SIM_FAULTS"] = "get_multireg page=0x50 nth=23 code=17 once"
        process = self.start("--json", "mib", "0", "--watch", "0.1")
        counts = [len(json.loads(process.stdout.readline())["errors"]) for _ in range(2)]
        self.assertEqual(counts, [1, 0])
        process.send_signal(signal.SIGINT)
        process.stdout.read()
        self.assertEqual(process.wait(PATIENCE), 3)

    def frames(self, rows, *words):
        """What a terminal of so many rows is shown in two intervals."""
        terminal, writing_end = pty.openpty()
        fcntl.ioctl(writing_end, termios.TIOCSWINSZ, struct.pack("HHHH", rows, 80, 0, 0))
        process = self.start(*words, stdout=writing_end)
        os.close(writing_end)
        text = ""
        while text.count(CLEARED) < 4:
            text += os.read(terminal, 65536).decode()
        process.send_signal(signal.SIGINT)
        with contextlib.suppress(OSError):  # the other end is closed
            while os.read(terminal, 65536):
                pass
        os.close(terminal)
        process.wait(PATIENCE)
        before, waiting, *frames = text.replace("\r\n", "\n").split(CLEARED)
        self.assertEqual(before, "")
        self.assertIn("after the first", waiting)
        frames = [re.sub(r" +[\d.]+[kMG]?/s", " <rate>", frame).splitlines() for frame in frames[:2]]
        for frame in frames:
            self.assertRegex(frame[0], r"^\d\d:\d\d:\d\d UTC  every 0\.\d s$")
        return frames

    def test_a_terminal_is_redrawn(self):
        self.environment["NO_COLOR"] = "1"
        for frame in self.frames(24, "mib", "0", "--nonzero", "--watch", "0.2"):
            self.assertEqual(frame[1], "chip 0")
            self.assertRegex(frame[2], r"^port  counter +value +change +per second$")
            self.assertEqual([line.split()[:2] for line in frame[3:]],
                             [["0", "0x00"], ["0", "0x18"], ["0", "0x50"], ["0", "0x7c"], ["0", "0x90"], ["0", "total"]])

    def test_a_low_terminal_says_how_many_lines_are_missing(self):
        self.environment["NO_COLOR"] = "1"
        # 24 lines: one fits, one does not.
        for frame in self.frames(25, "mib", "0", "--watch", "0.2"):
            self.assertEqual((len(frame), frame[-1].split()[:2]), (24, ["0", "total"]))
        for frame in self.frames(24, "mib", "0", "--watch", "0.2"):
            self.assertEqual((len(frame), frame[-1]), (23, "(2 more lines: name ports, or use --nonzero or --top)"))

    def test_a_terminal_shows_failures_first(self):
        self.environment["HWA_SIM_FAULTS"] = "port=1 code=17"
        for frame in self.frames(24, "mib", "1", "--watch", "0.1"):
            self.assertIn("counters of port 1 (page 0x51) not read", frame[1])


class Screen(Session):
    """What a person sees on a terminal, the standard error included."""

    def shown(self, rows, *words, **environment):
        terminal, writing_end = pty.openpty()
        fcntl.ioctl(writing_end, termios.TIOCSWINSZ, struct.pack("HHHH", rows, 80, 0, 0))
        self.addCleanup(os.close, terminal)
        process = subprocess.Popen([*EMULATOR, f"{BIN}/kslctl", "--simulate", *words],
                                   env={**self.environment, "NO_COLOR": "1", "PAGER": "sed 's/^/>/'", **environment},
                                   stdin=subprocess.DEVNULL, stdout=writing_end, stderr=writing_end)
        os.close(writing_end)
        text = b""
        with contextlib.suppress(OSError):  # the other end is closed
            while part := os.read(terminal, 65536):
                text += part
        return process.wait(PATIENCE), text.decode().replace("\r\n", "\n").splitlines()

    def test_all_ports_have_room(self):
        for words in (("status",), ("port", "show")):
            status, lines = self.shown(24, *words)
            self.assertEqual(status, 0)
            self.assertLess(len(lines), 24)
            rows = [line for line in lines if re.match(r" +\d", line)]
            self.assertLessEqual(max(map(len, rows)), 80)
            self.assertEqual([re.match(rf" +{port}  .* {port + 12}  ", row) is not None for port, row in enumerate(rows)],
                             [True] * 12)

    def test_a_high_screen_has_a_row_for_each_port(self):
        status, lines = self.shown(60, "port", "show")
        self.assertEqual((status, len(lines), lines[-1].split()[0]), (0, 28, "23"))

    def test_what_is_longer_goes_through_the_pager(self):
        status, lines = self.shown(24, "--raw", "port", "show")
        self.assertEqual(status, 0)
        self.assertEqual({line[:1] for line in lines}, {">"})
        self.assertEqual(self.shown(24, "--no-pager", "--raw", "port", "show"), (0, [line[1:] for line in lines]))
        self.assertEqual(self.shown(len(lines) + 1, "--raw", "port", "show"), (0, [line[1:] for line in lines]))
        self.assertEqual(self.shown(len(lines), "--raw", "port", "show"), (0, lines))

    def test_long_help_goes_through_the_pager_too(self):
        status, lines = self.shown(24, "--help")
        self.assertEqual((status, {line[:1] for line in lines}), (0, {">"}))
        self.assertEqual(self.shown(200, "--help"), (0, [line[1:] for line in lines]))
        self.assertEqual(self.shown(24, "--no-pager", "--help"), (0, [line[1:] for line in lines]))
        self.assertEqual(self.shown(24, "--help", PAGER="no-such-pager")[0], 3)

    def test_messages_come_last(self):
        status, lines = self.shown(24, "--raw", "port", "show", HWA_SIM_FAULTS="getreg page=1 offset=0x1c code=17")
        self.assertEqual(status, 3)
        self.assertEqual([line[:1] for line in lines], [">"] * (len(lines) - 1) + ["k"])
        self.assertIn("port duplex status (page 0x01, offset 0x1c) not read", lines[-1])
        status, lines = self.shown(24, "arl", "--until-hidden")
        self.assertEqual((status, lines[0]), (0, "chip 0"))
        self.assertRegex(lines[-1], "^kslctl note: with --until-hidden")

    def test_a_pager_that_cannot_be_run_hides_nothing(self):
        status, lines = self.shown(24, "--raw", "port", "show", PAGER="no-such-pager")
        self.assertEqual(status, 3)
        self.assertIn('kslctl: the pager "no-such-pager" of PAGER cannot be run; PAGER=cat does without', lines)
        text = self.shown(24, "--no-pager", "--raw", "port", "show")[1]
        self.assertEqual(lines[-len(text):], text)


class FullTable(Session):
    ENTRIES = 8192

    def setUp(self):
        super().setUp()
        del self.environment["HWA_SIM_LOG"]
        addresses = [{"mac": f"02:00:00:00:{i >> 8:02x}:{i & 255:02x}", "port": 2 + i % 16} for i in range(self.ENTRIES)]
        ports = [{"port": port, "link": True, "pvid": 100 + port} for port in range(24)]
        scenario = self.folder / "full.json"
        scenario.write_text(json.dumps({"name": "full", "chips": [{"chip": 0, "ports": ports, "addresses": addresses}]}))
        self.environment["HWA_SIM_SCENARIO"] = str(scenario)

    def test_each_way_shows_all_of_it(self):
        for way in ("list", "walk", "search"):
            process = self.start("arl", way)
            lines = process.stdout.read().splitlines()
            self.assertEqual(process.wait(PATIENCE), 0)
            entries = [line.split() for line in lines[2 : 2 + self.ENTRIES]]
            vlan = (lambda i: [str(100 + 2 + i % 16)]) if way == "search" else (lambda i: [])
            self.assertEqual(entries, [[f"02:00:00:00:{i >> 8:02x}:{i & 255:02x}", str(2 + i % 16), "learned", *vlan(i)]
                                       for i in range(self.ENTRIES)])
            counts = [line.split() for line in lines[2 + self.ENTRIES + 2 :]]
            self.assertEqual(counts, [[str(port), "512"] for port in range(2, 18)] + [["all", "8192"]])


class Memory(Session):
    """However little memory a process may have, it ends with a status of its own and says why."""

    def run_with(self, kibibytes):
        limit = (kibibytes * 1024, kibibytes * 1024)
        return subprocess.run([f"{BIN}/kslctl", "--simulate", "status"], env=self.environment, capture_output=True,
                              text=True, timeout=PATIENCE,
                              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, limit))

    def test_of_any_size_ends_in_a_documented_status(self):
        seen = set()
        for kibibytes in range(4096, 20480, 64):
            process = self.run_with(kibibytes)
            if process.returncode == 127:
                continue  # the loader's own, which names the library
            seen.add(process.returncode)
            self.assertIn(process.returncode, (0, 3), f"{kibibytes} KiB: {process.stderr}")
            self.assertEqual(process.returncode == 0, process.stderr == "", kibibytes)
            self.assertNotIn("bad_alloc", process.stderr, kibibytes)
        self.assertEqual(seen, {0, 3})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[sys.argv.index("--") + 1 :])
