#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""kslctl monitor, and mib --watch, on a terminal and in a pipe, while another process changes the hub.

The arguments are those of kslctl_sessions.py.
"""

import fcntl
import json
import os
import pathlib
import re
import select
import shlex
import signal
import struct
import subprocess
import sys
import termios
import time
import unittest

import jsonschema

from kslctl_sessions import BIN, EMULATOR, PATIENCE, Session

SCHEMA = json.loads((pathlib.Path(__file__).parents[2] / "docs/schemas/kslctl-monitor.json").read_text())
TIME = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z "
ENTER = "\x1b[?1049h\x1b[?25l"
LEAVE = "\x1b[?25h\x1b[?1049l"
HOME = "\x1b[H"


class Monitored(Session):
    def setUp(self):
        super().setUp()
        del self.environment["HWA_SIM_LOG"]
        del self.environment["HWA_SIM_SCENARIO"]
        self.environment["NO_COLOR"] = "1"

    def change(self, *words):
        """Another process changes the hub; it has no faults."""
        environment = {name: value for name, value in self.environment.items() if name != "HWA_SIM_FAULTS"}
        return subprocess.run([*EMULATOR, f"{BIN}/kslctl", "--simulate", *words], env=environment, check=True,
                              capture_output=True, text=True, stdin=subprocess.DEVNULL).stdout


class Pipe(Monitored):
    def next_line(self, process):
        line = process.stdout.readline()
        self.assertRegex(line, f"^{TIME}chip 0")
        return re.sub(f"^{TIME}", "", line).rstrip("\n")

    def test_the_state_comes_at_once_and_then_each_change(self):
        process = self.start("monitor", "2-5", "--interval", "0.05")
        chip, *ports = [self.next_line(process) for _ in range(5)]
        self.assertTrue(chip.startswith("chip 0: self-test passed; mode managed, forwarding; trunk control on; "), chip)
        self.assertEqual(ports, ["chip 0 port 2: link up; speed 100; duplex full",
                                 "chip 0 port 3: link up; speed 100; duplex full",
                                 "chip 0 port 4: link up; speed 100; duplex half", "chip 0 port 5: link down"])
        self.change("port", "down", "3")
        self.assertEqual(self.next_line(process), "chip 0 port 3: link down")
        self.change("port", "up", "3")
        self.assertEqual(self.next_line(process), "chip 0 port 3: link up; speed 100; duplex full")
        self.change("reg", "set", "0x10", "0x00", "01", "00")  # port 0 is not asked for
        self.change("mirror", "set", "5", "2", "3")
        changes = ""
        while "mirrored when sent" not in changes:
            changes += self.next_line(process) + "\n"
        self.assertIn("mirroring on, to port 5", changes)
        self.assertIn("mirrored when sent ports 2-3", changes)
        self.assertNotIn("port 0:", changes)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.stdout.read(), "")
        self.ends(process, 0)

    def test_a_slow_interval_does_not_delay_the_state(self):
        process = self.start("monitor", "2", "--interval", "3600")
        self.next_line(process)
        self.assertEqual(self.next_line(process), "chip 0 port 2: link up; speed 100; duplex full")
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.stdout.read(), "")
        self.ends(process, 0)

    def test_the_change_marks_stay_for_others(self):
        self.change("link")
        self.change("port", "down", "4")
        process = self.start("monitor", "4", "--interval", "0.05")
        self.next_line(process)
        self.next_line(process)
        self.assertRegex(self.change("link"), r"(?m)^ +4  down  yes$")
        process.send_signal(signal.SIGHUP)
        self.ends(process, 0)

    def test_a_failure_begins_and_ends(self):
        self.environment["HWA_SIM_FAULTS"] = "getreg page=1 offset=0x10 nth=2 code=17 once"
        process = self.start("monitor", "5", "--interval", "0.05")
        lines = [self.next_line(process) for _ in range(4)]
        self.assertEqual(lines[1:], ["chip 0 port 5: link down",
                                     "chip 0: link status (page 0x01, offset 0x10) not read: ksl_read_link_status_reg "
                                     "returned 17 (a code that the simulated hub was told to give)",
                                     "chip 0: link status (page 0x01, offset 0x10) read again"])
        process.send_signal(signal.SIGINT)
        self.ends(process, 0)

    def test_what_is_not_read_in_the_end_is_a_failure(self):
        self.environment["HWA_SIM_FAULTS"] = "getreg page=1 offset=0x18 code=17"
        process = self.start("monitor", "5", "--interval", "0.05")
        lines = [self.next_line(process) for _ in range(3)]
        sentence = ("chip 0: port speed status (page 0x01, offset 0x18) not read: ksl_read_port_speed_reg returned 17 "
                    "(a code that the simulated hub was told to give)")
        self.assertEqual(lines[2], sentence)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.stdout.read(), "")
        self.ends(process, 3, f"kslctl: {sentence}\n")

    def test_a_reader_who_goes_away_ends_a_long_interval(self):
        process = self.start("monitor", "2", "--interval", "3600")
        self.next_line(process)
        process.stdout.close()
        self.ends(process, 0)

    def next_document(self, process):
        document = json.loads(process.stdout.readline())
        jsonschema.Draft7Validator(SCHEMA).validate(document)
        return document

    def test_documents_are_lines(self):
        self.environment["HWA_SIM_FAULTS"] = "getreg page=1 offset=0x00 nth=1 code=17 once"
        process = self.start("--json", "monitor", "4", "--interval", "0.05")
        first = self.next_document(process)
        self.assertEqual(first["schema"], "ksl.monitor/1")
        self.assertEqual([error["about"] for error in first["errors"]], ["self-test status (page 0x01, offset 0x00)"])
        self.assertIn({"port": 4, "what": "link", "before": None, "after": True}, first["chips"][0]["changes"])
        second = self.next_document(process)
        self.assertEqual(second["errors"], [])
        self.assertEqual(second["chips"][0]["read_again"], ["self-test status (page 0x01, offset 0x00)"])
        self.assertEqual([change["what"] for change in second["chips"][0]["changes"]], ["self_test"])
        self.change("port", "down", "4")
        self.assertEqual(self.next_document(process)["chips"][0]["changes"],
                         [{"port": 4, "what": "link", "before": True, "after": False}])
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.stdout.read(), "")
        self.ends(process, 0)


class Terminal(Monitored):
    """A process whose terminal is a pseudo terminal of this one."""

    def setUp(self):
        super().setUp()
        self.text = ""
        self.terminal, self.other_end = os.openpty()
        self.addCleanup(os.close, self.terminal)
        self.mode = termios.tcgetattr(self.other_end)

    def resize(self, rows, columns):
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def open(self, rows, columns, *words):
        return self.run_there(rows, columns, [*EMULATOR, f"{BIN}/kslctl", "--simulate", *words])

    def run_there(self, rows, columns, command):
        self.resize(rows, columns)
        take_terminal = lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0)
        with self.errors.open("wb") as errors:
            process = subprocess.Popen(command, env=self.environment, stdin=self.other_end, stdout=self.other_end,
                                       stderr=errors, start_new_session=True, preexec_fn=take_terminal)
        self.addCleanup(lambda: (process.kill(), process.wait()))
        return process

    def read_some(self):
        if select.select([self.terminal], [], [], 0.05)[0]:
            self.text += os.read(self.terminal, 65536).decode()

    def frame(self):
        """The lines of the last whole picture."""
        *_, last = self.text.split(HOME)
        lines = last.replace("\x1b[K", "").split("\r\n")
        return lines if len(self.text.split(HOME)) > 1 and lines[-1].endswith(("end", "~")) else []

    def wait_for_frame(self, has):
        end = time.monotonic() + PATIENCE
        while not (self.frame() and has(self.frame())):
            self.assertLess(time.monotonic(), end, f"it was not shown in time, but: {self.text[-3000:]}")
            self.read_some()
        return self.frame()

    def wait_for_text(self, text, count=1):
        end = time.monotonic() + PATIENCE
        while self.text.count(text) < count:
            self.assertLess(time.monotonic(), end, f"it was not shown in time, but: {self.text[-3000:]}")
            self.read_some()

    def press(self, keys):
        os.write(self.terminal, keys.encode())

    def has_restored(self, process, status):
        """The process ended, and nobody sees that it was there."""
        end = time.monotonic() + PATIENCE
        while process.poll() is None and time.monotonic() < end:
            self.read_some()
        self.assertEqual(process.wait(1), status)
        while select.select([self.terminal], [], [], 0)[0]:
            self.read_some()
        self.assertEqual(termios.tcgetattr(self.other_end), self.mode)
        self.assertEqual(self.text.count(ENTER), self.text.count(LEAVE))
        self.assertTrue(self.text.endswith(LEAVE), self.text[-300:])

    def is_ready(self, frame):
        return frame[0].startswith("kslctl monitor")


class Picture(Terminal):
    def test_it_fits_and_is_left_with_q(self):
        self.environment["HWA_SIM_SCENARIO"] = f"{sys.argv[2]}/busy.json"
        process = self.open(24, 80, "monitor", "--interval", "3600")
        first = self.wait_for_frame(self.is_ready)
        self.assertTrue(self.text.startswith(ENTER))
        self.assertEqual(first[3][:18], " 100F  10H   100F ")
        # Rates do not wait for the end of such an interval.
        frame = self.wait_for_frame(lambda lines: "0x00/s" in lines[7])
        self.assertEqual((len(frame), max(map(len, frame)) <= 80), (24, True))
        self.assertRegex(frame[8], r"^   0  100F")
        self.assertEqual(frame[22], "no room for 10 ports")
        self.assertNotEqual(termios.tcgetattr(self.other_end), self.mode)
        self.press("q")
        self.has_restored(process, 0)

    def test_a_small_window_says_what_is_missing(self):
        process = self.open(12, 40, "monitor", "--interval", "3600")
        frame = self.wait_for_frame(self.is_ready)
        self.assertEqual((len(frame), max(map(len, frame)) <= 40), (12, True))
        self.assertEqual(frame[10], "no room for 22 ports")
        self.press("q")
        self.has_restored(process, 0)

    def test_keys_change_the_order_and_pause(self):
        process = self.open(24, 80, "monitor", "--interval", "0.1")
        for order in ("by number", "worst first", "busiest first"):
            self.press("s")
            self.wait_for_frame(lambda lines: f"s order: {order} " in lines[-1])
        self.press("p")
        paused = self.wait_for_frame(lambda lines: lines[0].startswith("kslctl monitor  paused at "))
        self.assertIn(" 100F  100F  100F ", paused[3])
        self.change("port", "down", "0")
        self.press("s")
        still = self.wait_for_frame(lambda lines: "by number" in lines[-1])
        self.assertEqual(still[:7], paused[:7])
        self.press("\x1b[1;5s\x1bOp")  # other keys, whose sequences end with letters of its own
        self.press("p")
        self.wait_for_frame(lambda lines: lines[3].startswith(" -     100F  100F "))
        self.press("q")
        self.has_restored(process, 0)

    def test_it_shows_changes_of_others(self):
        process = self.open(24, 80, "monitor", "--interval", "0.1")
        self.press("ss")
        self.wait_for_frame(lambda lines: "worst first" in lines[-1])
        self.change("port", "down", "2")
        frame = self.wait_for_frame(lambda lines: re.match(r"   2  - +\d+ s", lines[8]))
        self.assertTrue(frame[3].startswith(" 100F  100F  -     100F "), frame[3])
        self.press("q")
        self.has_restored(process, 0)

    def test_it_follows_the_window(self):
        process = self.open(24, 80, "monitor", "--interval", "3600")
        self.wait_for_frame(self.is_ready)
        for rows, columns in ((12, 40), (30, 100), (5, 30)):
            self.resize(rows, columns)
            self.wait_for_frame(lambda lines: len(lines) == rows and max(map(len, lines)) <= columns)
        self.assertTrue(self.frame()[0].startswith("too small"))
        self.press("q")
        self.has_restored(process, 0)

    def test_each_signal_restores_the_terminal(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number.name):
                self.text = ""
                process = self.open(24, 80, "monitor", "--interval", "3600")
                self.wait_for_frame(self.is_ready)
                process.send_signal(number)
                self.has_restored(process, 0)

    def test_control_c_restores_the_terminal(self):
        process = self.open(24, 80, "monitor", "--interval", "3600")
        self.wait_for_frame(self.is_ready)
        self.press("\x03")
        self.has_restored(process, 0)

    def test_a_death_restores_the_terminal(self):
        for number in (signal.SIGQUIT, signal.SIGABRT):
            with self.subTest(number.name):
                self.text = ""
                process = self.open(24, 80, "monitor", "--interval", "3600")
                self.wait_for_frame(self.is_ready)
                process.send_signal(number)
                self.has_restored(process, -number)

    def test_a_second_signal_ends_a_read_that_does_not_end(self):
        self.environment["HWA_SIM_FAULTS"] = "getreg page=1 offset=0x10 delay=3600s"
        process = self.open(24, 80, "monitor")
        self.wait_for_text(ENTER)
        process.send_signal(signal.SIGTERM)
        with self.assertRaises(subprocess.TimeoutExpired):
            process.wait(0.3)
        process.send_signal(signal.SIGTERM)
        self.has_restored(process, -signal.SIGTERM)

    def test_it_is_stopped_and_goes_on(self):
        monitor = shlex.join([*EMULATOR, f"{BIN}/kslctl", "--simulate", "monitor", "--interval", "3600"])
        process = self.run_there(24, 80, ["sh", "-mc", f"{monitor}; stty -a; fg; echo status $?"])
        self.wait_for_frame(self.is_ready)
        self.press("\x1a")
        # The shell's commands come in turn: the terminal is as usual while it is stopped.
        self.wait_for_text(ENTER, 2)
        between = self.text.split(LEAVE)[1]
        self.assertRegex(between, r"(?s)[^-]icanon.*[^-]echo ")
        self.wait_for_frame(self.is_ready)
        self.press("q")
        self.wait_for_text("status 0\r\n")
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertEqual(self.text.count(LEAVE), 2)

    def test_failures_are_told_on_the_screen_and_in_the_end(self):
        self.environment["HWA_SIM_FAULTS"] = "getreg page=1 offset=0x10 code=17"
        process = self.open(24, 100, "monitor", "--interval", "0.1")
        frame = self.wait_for_frame(lambda lines: "not read" in lines[6])
        self.assertEqual(frame[3].split(), ["?"] * 12)
        self.assertEqual(self.errors.read_text(), "")
        self.press("q")
        self.has_restored(process, 3)
        self.assertEqual(self.errors.read_text().count("\n"), 1)

    def test_colours_are_for_those_who_want_them(self):
        for wanted in (False, True):
            self.environment["NO_COLOR"] = "" if wanted else "1"
            self.text = ""
            process = self.open(24, 80, "monitor", "--interval", "3600")
            self.wait_for_frame(lambda lines: "kslctl monitor" in lines[0])
            self.press("q")
            self.has_restored(process, 0)
            self.assertEqual("\x1b[32m100F\x1b[0m" in self.text, wanted)

    def test_a_terminal_that_goes_away_ends_it(self):
        process = self.open(24, 80, "monitor", "--interval", "3600")
        self.wait_for_frame(self.is_ready)
        os.close(self.other_end)
        os.dup2(os.open(os.devnull, os.O_RDWR), self.terminal)
        self.assertEqual(process.wait(PATIENCE), 0)


class Rates(Terminal):
    def test_mib_says_what_it_waits_for_and_ends_with_q(self):
        process = self.open(24, 80, "mib", "0-2", "--nonzero", "--watch", "3600")
        self.wait_for_text("rates that are not 0 of ports 0-2 after the first 3600 s; q ends\r\n")
        self.press("q")
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertEqual(termios.tcgetattr(self.other_end), self.mode)
        self.assertNotIn(ENTER, self.text)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[sys.argv.index("--") + 1 :])
