#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs what a document shows, as a reader would who types it in, and compares what it prints.

    sessions.py BUILD DOCUMENT...

A session is a block of the kind "console", in a manual page one that begins with "$ ": lines with "$ " are typed
("> " continues one), the others are printed. "..." is any text; alone on a line, any lines. What differs
from run to run (golden.VOLATILE) may do so here. All sessions of a document are one shell's, which begins in a folder
of its own with the tree's folders and the build as build/native. A block after which the text says "Save it as NAME"
or "Saved as NAME" is that file. In a manual page a C program is built with the library and run, and prints the block
after it.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

from document import TOP, literal_blocks

sys.path.append(str(TOP / "tests/tools"))
from golden import VOLATILE

VOLATILE = [*VOLATILE, (r"\bstate /\S+/hub\.state$", "state <folder>/hub.state")]
LINKED = ("include", "examples", "docs", "src", "platform", "cmake", "tests")


def sessions(path):
    """Command lines with what they print, and the file names and texts that go before."""
    steps = []
    lines = path.read_text().splitlines()
    for kind, first, block in literal_blocks(path):
        after = re.sub(r"\s+", " ", " ".join(lines[first + len(block):][:4]))
        saved = re.match(r" *Saved? (?:it )?as [`*_]*([\w.-]+\w)", after)
        if saved:
            steps.append(("file", saved[1], "\n".join(block) + "\n"))
        if kind == "console" or path.suffix == ".scd" and block and block[0].startswith("$ "):
            for number, line in enumerate(block, first):
                if line.startswith("$ "):
                    steps.append((number, line[2:], []))
                elif line.startswith("> ") and not steps[-1][2]:
                    steps[-1] = (*steps[-1][:1], f"{steps[-1][1]}\n{line[2:]}", [])
                else:
                    steps[-1][2].append(line)
    return steps


def programs(path):
    """C programs of a manual page, each with what it prints."""
    blocks = literal_blocks(path) if path.suffix == ".scd" else []
    return [(first, "\n".join(block) + "\n", blocks[at + 1][2]) for at, (_, first, block) in enumerate(blocks)
            if any("int main" in line for line in block)]


def pattern(lines):
    """What is printed, as a regular expression."""
    parts = [r"(?:[^\n]*\n)*?" if line == "..." else re.escape(line).replace(r"\.\.\.", "[^\n]+") + r"\n"
             for line in lines]
    return "".join(parts)


def steady(lines):
    text = "\n".join(lines)
    for volatile, replacement in VOLATILE:
        text = re.sub(volatile, replacement, text, flags=re.M)
    return text.splitlines()


def compare(where, what, expected, actual):
    actual = "".join(line.rstrip() + "\n" for line in actual.splitlines())
    if not re.fullmatch(pattern(steady(expected)), "".join(line + "\n" for line in steady(actual.splitlines()))):
        shown = "".join(f"    {line}\n" for line in expected)
        printed = "".join(f"    {line}\n" for line in actual.splitlines())
        yield f"{where}: {what}\n  is shown to print\n{shown}  and prints\n{printed}"


def environment(folder, build):
    kept = {name: os.environ[name] for name in ("PATH", "ASAN_OPTIONS") if name in os.environ}
    runtime = pathlib.Path(folder, "run")
    runtime.mkdir()
    return {**kept, "PATH": f"{build}/bin:{kept['PATH']}", "HOME": folder, "LANG": "C.UTF-8", "LC_ALL": "C.UTF-8",
            "TMPDIR": folder, "XDG_RUNTIME_DIR": str(runtime)}


def check_sessions(path, build):
    steps = sessions(path)
    with tempfile.TemporaryDirectory(prefix="ksl-docs-") as folder:
        variables = environment(folder, build)
        here = pathlib.Path(folder, "here")
        (here / "build").mkdir(parents=True)
        (here / "build/native").symlink_to(build)
        for name in LINKED:
            (here / name).symlink_to(TOP / name)
        script = "".join(f"status=$?\nexec >{folder}/{at}.out 2>&1\n(exit $status)\n{command}\n"
                         for at, (number, command, _) in enumerate(steps) if number != "file")
        for number, name, text in steps:
            if number == "file":
                (here / name).write_text(text)
        subprocess.run(["sh", "-c", script], cwd=here, env=variables, stdin=subprocess.DEVNULL, timeout=240,
                       check=False)
        for at, (number, command, expected) in enumerate(steps):
            if number == "file":
                continue
            output = pathlib.Path(folder, f"{at}.out")
            if not output.exists():
                yield f"{path.name}:{number}: {command}\n  was never reached\n"
            else:
                yield from compare(f"{path.name}:{number}", command, expected, output.read_text())


def check_programs(path, build):
    for first, text, expected in programs(path):
        with tempfile.TemporaryDirectory(prefix="ksl-docs-") as folder:
            program = pathlib.Path(folder, "program")
            subprocess.run(["cc", "-Wall", "-Wextra", "-Werror", "-xc", "-", "-o", program, f"-I{TOP}/include",
                            f"-L{build}/lib", "-lksl", "-ltrace_kbuf", "-Wl,--allow-shlib-undefined"],
                           input=text, text=True, check=True)
            run = subprocess.run([program], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60,
                                 check=False, env={**environment(folder, build), "LD_LIBRARY_PATH": f"{build}/lib"})
            yield from compare(f"{path.name}:{first}", "the program", expected, run.stdout)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    complaints = []
    for path in map(pathlib.Path, sys.argv[2:]):
        if not sessions(path) and not programs(path):
            complaints.append(f"{path.name} has no session and no program\n")
        complaints += [*check_sessions(path, build), *check_programs(path, build)]
    print("".join(complaints), end="")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
