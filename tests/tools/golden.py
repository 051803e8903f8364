#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the tools' command lines of the case files and compares what they print with the expected texts.

A case file (cases/*.cases) has, for each case, its name and what happens, line by line:

  case NAME           begins a case; the expected text is expected/NAME.txt
  native              the case cannot be run under an emulator
  env NAME VALUE      sets a variable for the runs that follow; without VALUE it is unset
  libs NAME...        puts libraries of the build into a folder of the case and LD_LIBRARY_PATH on it
  standins NAME...    the same with libraries that were built for these tests
  file PATH TEXT      writes a file (\\n in TEXT is a line end)
  cut PATH BYTES      shortens a file
  copy TOOL PATH      copies a tool to another place, from where "run" can start it
  link NAME PATH      lets a library of the build be found at another place
  spoil PATH OFFSET   inverts the bits of a byte of a file
  pipe PATH           makes a named pipe that nobody writes into
  into PATH           the next run's standard output goes to the file, too
  metrics PATH        what the metrics collector's own checker says of a file
  show PATH [WORD]    shows the lines of a file, or those that hold the word
  stdin PATH          the next run reads its standard input from the file
  answer TEXT         the next run's standard input is a terminal on which the text is typed
  stdout KIND         the next run's standard output is full, a broken pipe, a terminal, or closed
  run TOOL ARGUMENT...

Everywhere \\uXXXX is the character of that number, {tmp} is the folder of the case, {scenarios} that of the simulated
hub's scenario files, {faults} that of the scenarios with faults, {lib} that of the built libraries, and {standins} that
of the libraries that were built for these tests. HWA_SIM_DIR is {tmp}/hub. The expected text shows each run with its
output, and before it what was set for it. What differs from run to run is replaced as VOLATILE says.
"""

import argparse
import difflib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent

VOLATILE = [
    (r"(?<!\d)\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z", "<time>"),
    (r"(?m)\b\d{4}-\d\d-\d\d UTC$", "<date> UTC"),
    (r"(?<![\dT])\d\d:\d\d:\d\d\.\d{6}(?=[ <])", "<time>"),
    (r"(?m)^ *[+-]?\d+\.\d{6} ", "<seconds> "),
    (r"(?m)^(<time>|<seconds>) \[(\S+ )?\d+\]", r"\1 [\2<writer>]"),
    (r"\b(out\d?|error|file|buffer|fourth_byte|path|records|requests|verdict|word)=0x[0-9a-f]{8}\b", r"\1=<address>"),
    (r"([(,] ?)\d+\.\d (?:us|µs)", r"\1<us>"),
    (r"\bin \d+(?:\.\d+)? (?:us|µs|ms|s)\b", "in <duration>"),
    (r"(?: +\d+(?:\.\d+)? (?:us|ms|s)\b){4}", "  <durations>"),
    (r" +min +median +99 % +max", "  min  median  99 %  max"),
    (r"(\(|, )line \d+(?=[,)])(?!, column)", r"\1line <line>"),
    (r"(0x[0-9a-f]{8}) line \d+\b", r"\1 line <line>"),
    (r"\brun time \d+ us\b", "run time <us>"),
    (r"(?:little|big)-endian, (?:32|64) bits, trace_kbuf \d+\.\d+\.\d+ [^)\n]+", "<machine>"),
    (r" +\d+\.\d/s\b", " <rate>"),
    (r"=\d+\.\d/s\b", "=<rate>"),
    (r'"(elapsed_us|run_time_us|line|writer|seconds|per_second)": \d+(?:\.\d+)?\b', r'"\1": <number>'),
    (r'("name": "(?:out\d?|error|file|microseconds)",\s+"value": )\d+', r"\1<number>"),
    (r"\b(kslctl|ksltrace) \d+\.\d+\.\d+\b", r"\1 <version>"),
]

# Steps that change what the following runs print. The expected text shows them, so that two runs of the same command
# with different output explain themselves.
CAUSES = ("env", "libs", "standins", "file", "pipe", "cut", "copy", "link", "spoil", "into", "stdin", "answer", "stdout")


# A failure that follows from another one.
FOLLOWS = ": what it would change could not be read first"


def cause_of(message):
    """The chip, and the operation's code or another reason."""
    chip, _, reason = message.partition(": ")
    code = re.search(r" returned (-?\d+ \(.*\))$", reason)
    return chip, code[1] if code else reason.rpartition(": ")[2]


class Case:
    def __init__(self, name, file):
        self.name = name
        self.file = file
        self.steps = []

    @property
    def is_native_only(self):
        return ("native", "") in self.steps


def read_cases():
    cases = {}
    case = None
    for path in sorted((HERE / "cases").glob("*.cases")):
        for number, line in enumerate(path.read_text().splitlines(), 1):
            word, _, rest = line.strip().partition(" ")
            if not word or word.startswith("#"):
                continue
            if word == "case":
                if rest in cases:
                    sys.exit(f"{path}:{number}: the case {rest} is there twice")
                case = cases[rest] = Case(rest, path.name)
            elif case is None or not hasattr(Runner, f"do_{word}"):
                sys.exit(f"{path}:{number}: not understood: {line}")
            else:
                case.steps.append((word, rest.strip()))
    return cases


class Runner:
    def __init__(self, options, folder):
        self.options = options
        self.folder = pathlib.Path(folder)
        self.text = ""
        self.faults = []
        self.stdin = os.devnull
        self.answer = None
        self.stdout = "pipe"
        self.into = None
        self.keyboard = None
        inherited = ("PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS")
        self.environment = {name: os.environ[name] for name in inherited if name in os.environ}
        self.environment.update(HOME=folder, LANG="C", TERM="xterm", HWA_SIM_DIR=f"{folder}/hub")

    def run_case(self, case):
        for word, rest in case.steps:
            if word in CAUSES:
                self.text += f"[{word} {rest}]\n"
            getattr(self, f"do_{word}")(self.expand(rest))
        return self.text

    def expand(self, text):
        for name, path in self.places():
            text = text.replace(name, path)
        return re.sub(r"\\u([0-9a-f]{4})", lambda code: chr(int(code[1], 16)), text)

    def places(self):
        return (("{tmp}", str(self.folder)), ("{scenarios}", self.options.scenarios),
                ("{faults}", str(HERE / "faults")), ("{standins}", self.options.standins), ("{lib}", self.options.lib))

    def do_native(self, _):
        pass

    def do_env(self, rest):
        name, _, value = rest.partition(" ")
        self.environment.pop(name, None)
        if value:
            self.environment[name] = value

    def do_libs(self, rest):
        self.link_libraries(self.options.lib, rest.split())

    def do_standins(self, rest):
        self.link_libraries(self.options.standins, rest.split())

    def link_libraries(self, source, names):
        folder = self.folder / "libs"
        folder.mkdir(exist_ok=True)
        for name in names:
            (folder / name).symlink_to(pathlib.Path(source, name).resolve(strict=True))
        self.environment["LD_LIBRARY_PATH"] = str(folder)

    def do_file(self, rest):
        path, _, text = rest.partition(" ")
        os.makedirs(os.path.dirname(path), exist_ok=True)
        pathlib.Path(path).write_text(text.replace("\\n", "\n"))

    def do_pipe(self, rest):
        os.makedirs(os.path.dirname(rest), exist_ok=True)
        os.mkfifo(rest)

    def do_copy(self, rest):
        tool, path = rest.split()
        os.makedirs(os.path.dirname(path), exist_ok=True)
        shutil.copy(pathlib.Path(self.options.bin, tool), path)

    def do_link(self, rest):
        name, path = rest.split()
        os.makedirs(os.path.dirname(path), exist_ok=True)
        os.symlink(pathlib.Path(self.options.lib, name).resolve(strict=True), path)

    def do_cut(self, rest):
        path, size = rest.split()
        os.truncate(path, int(size))

    def do_spoil(self, rest):
        path, offset = rest.split()
        with open(path, "r+b") as file:
            file.seek(int(offset))
            byte = file.read(1)[0]
            file.seek(int(offset))
            file.write(bytes([byte ^ 0xFF]))

    def do_into(self, rest):
        self.into = pathlib.Path(rest)

    def do_show(self, rest):
        path, _, word = rest.partition(" ")
        lines = [line for line in pathlib.Path(path).read_text().splitlines() if word in line]
        self.text += self.steady(f"[{rest}]\n" + "".join(line + "\n" for line in lines))

    def do_metrics(self, rest):
        if not shutil.which("promtool"):
            sys.exit("promtool is missing: install the package prometheus, whose service is not needed")
        with open(rest, "rb") as metrics:
            checker = subprocess.run(["promtool", "check", "metrics"], stdin=metrics, stdout=subprocess.PIPE,
                                     stderr=subprocess.STDOUT, check=False)
        self.text += self.steady(f"[promtool check metrics {rest}]\n{checker.stdout.decode()}")
        self.text += f"[exit status {checker.returncode}]\n"

    def do_stdin(self, rest):
        self.stdin = rest

    def do_answer(self, rest):
        self.answer = rest

    def do_stdout(self, rest):
        self.stdout = rest

    def do_run(self, rest):
        words = shlex.split(rest)
        command = [*shlex.split(self.options.emulator), str(pathlib.Path(self.options.bin, words[0])), *words[1:]]
        status, stdout, stderr = self.launch(command)
        self.stdin, kind, self.stdout = os.devnull, self.stdout, "pipe"
        if self.into:
            self.into.write_text(stdout)
            self.into = None
        if kind == "pipe" and words[0] == "kslctl" and "--json" in words and status != 2:
            self.check_document(stdout, stderr)
        self.text += self.steady(f"$ {rest}\n{whole_lines(stdout)}")
        self.text += self.steady(f"[stderr]\n{whole_lines(stderr)}" if stderr else "") + f"[exit status {status}]\n"

    def launch(self, command):
        stdout, writing_end, close_stdout = subprocess.PIPE, None, None
        if self.stdout == "full":
            stdout = writing_end = os.open("/dev/full", os.O_WRONLY)
        elif self.stdout == "broken":
            reading_end, writing_end = os.pipe()
            os.close(reading_end)
            stdout = writing_end
        elif self.stdout == "terminal":
            terminal, writing_end = os.openpty()
            stdout = writing_end
        elif self.stdout == "closed":
            close_stdout = lambda: os.close(1)
        elif self.stdout != "pipe":
            sys.exit(f"no such standard output: {self.stdout}")
        with self.open_stdin() as stdin:
            process = subprocess.Popen(command, env=self.environment, cwd=self.folder, stdin=stdin, stdout=stdout,
                                       stderr=subprocess.PIPE, preexec_fn=close_stdout)
        if writing_end is not None:
            os.close(writing_end)
        output, errors = process.communicate(timeout=120)
        if self.keyboard is not None:
            os.close(self.keyboard)
            self.keyboard = None
        if self.stdout == "terminal":
            output = read_terminal(terminal)
        return process.returncode, (output or b"").decode(), errors.decode()

    def open_stdin(self):
        if self.answer is None:
            return open(self.stdin, "rb")
        self.keyboard, terminal = os.openpty()
        os.write(self.keyboard, self.answer.encode() + b"\n")
        self.answer = None
        return os.fdopen(terminal, "rb", buffering=0)

    def check_document(self, stdout, stderr):
        """Whatever befalls, there is one document. Of its failures, stderr has one line for each cause."""
        try:
            messages = [error["message"] for error in json.loads(stdout)["errors"]]
        except (ValueError, KeyError) as problem:
            self.faults.append(f"no valid document on stdout: {problem!r}")
            return
        own = [line.removeprefix("kslctl: ") for line in stderr.splitlines() if line.startswith("kslctl: ")]
        causes = list(dict.fromkeys(cause_of(message) for message in messages if not message.endswith(FOLLOWS)))
        if causes != [cause_of(line) for line in own]:
            self.faults.append(f"the document has the errors {messages}, stderr has {own}")

    def steady(self, text):
        for name, path in self.places():
            text = text.replace(path, name)
        text = text.replace(str(pathlib.Path(self.options.bin)), "{bin}")
        for pattern, replacement in VOLATILE:
            text = re.sub(pattern, replacement, text)
        return text


def read_terminal(terminal):
    output = b""
    try:
        while block := os.read(terminal, 65536):
            output += block
    except OSError:  # the other end is closed
        pass
    os.close(terminal)
    return output.replace(b"\r\n", b"\n")


def whole_lines(text):
    """The text with visible escape sequences and, if its last line has no end, a note of that."""
    text = text.replace("\x1b", "<esc>")
    return text if text.endswith("\n") or not text else text + "[no line end]\n"


def check(case, options):
    """Runs a case; returns what is wrong with it."""
    with tempfile.TemporaryDirectory(prefix="ksl-golden-") as folder:
        runner = Runner(options, folder)
        actual = runner.run_case(case)
    path = HERE / "expected" / f"{case.name}.txt"
    if options.accept:
        path.parent.mkdir(exist_ok=True)
        path.write_text(actual)
    expected = path.read_text() if path.exists() else ""
    difference = difflib.unified_diff(expected.splitlines(True), actual.splitlines(True), str(path), "actual")
    return runner.faults + list(difference)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--list", action="store_true", help="print the names of the cases and do nothing else")
    parser.add_argument("--accept", action="store_true", help="make what is printed now the expected text")
    parser.add_argument("--bin", default=".", help="folder of the tools")
    parser.add_argument("--lib", default=".", help="folder of the built libraries")
    parser.add_argument("--standins", default=".", help="folder of the libraries built for these tests")
    parser.add_argument("--scenarios", default=".", help="folder of the scenario files")
    parser.add_argument("--emulator", default="", help="command that runs the tools")
    parser.add_argument("names", nargs="*", metavar="CASE", help="a case, or a case file with all of its; default: all")
    options = parser.parse_args()

    cases = {name: case for name, case in read_cases().items() if not (options.emulator and case.is_native_only)}
    if options.list:
        print("\n".join(cases))
        return 0
    chosen = []
    for name in options.names or cases:
        of_file = [case for case in cases if cases[case].file == name]
        if name not in cases and not of_file:
            sys.exit(f"no such case or case file: {name}")
        chosen += of_file or [name]
    wrong = {name: complaints for name in chosen if (complaints := check(cases[name], options))}
    for name, complaints in wrong.items():
        print(f"== {name}")
        print("".join(line if line.endswith("\n") else line + "\n" for line in complaints), end="")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
