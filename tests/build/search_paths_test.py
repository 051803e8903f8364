#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Every program and library of a tree looks for libraries in folders that are named in full.

usage: search_paths_test.py READELF FOLDER...

An empty entry of a search path means the current folder, and so does a relative one: whatever lies there would be loaded.
"""

import re
import subprocess
import sys
from pathlib import Path


def elf_files(folder):
    for path in sorted(Path(folder).rglob("*")):
        # CMake's own experiments are neither installed nor run again.
        if path.is_file() and not path.is_symlink() and "CMakeFiles" not in path.parts and path.suffix not in (".o", ".a"):
            with path.open("rb") as file:
                if file.read(4) == b"\x7fELF":
                    yield path


def is_whole(entry):
    return entry == "$ORIGIN" or entry.startswith(("/", "$ORIGIN/"))


def main():
    readelf, *folders = sys.argv[1:]
    complaints = []
    for folder in folders:
        seen = 0
        for path in elf_files(folder):
            seen += 1
            dynamic = subprocess.run([readelf, "--wide", "--dynamic", path], check=True, capture_output=True, text=True)
            for search_path in re.findall(r"\((?:RPATH|RUNPATH)\).*\[(.*)\]", dynamic.stdout):
                if not all(map(is_whole, search_path.split(":"))):
                    complaints.append(f"{path} looks for libraries in the current folder: {search_path}")
        if seen < 3:
            complaints.append(f"{folder} has only {seen} programs and libraries: is it the right folder?")
    print("\n".join(complaints))
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
