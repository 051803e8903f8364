#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs clang-tidy over C++ sources, several of one folder at a time: most of its time goes into the headers of libraries.

usage: tidy.py BUILD SOURCE...

A batch is the text of its sources, one after the other, so that every check sees them as it would see each alone. Sources
that give the same name to something of their own go into different batches. A batch that does not compile is checked
source by source.
"""

import json
import os
import re
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

LARGEST = 14
INCLUDE = re.compile(r'#include ["<].*[">]$')


def own_names(text):
    """The names that a source declares in its unnamed namespaces, and its macros."""
    names = set(re.findall(r"(?m)^#define (\w+)", text))
    for inside in re.findall(r"(?ms)^namespace \{$(.*?)^\} // namespace$", text):
        for line in re.findall(r"(?m)^[\w:].*", inside):
            line = re.sub(r"<[^()]*>", "", line)
            found = re.search(r"(\w+)(?=\(|\[| =|;|\{| \{| :)", line)
            names |= {found[1]} if found else set()
    return names


def batches(sources):
    """Sources of one folder with the same compiler flags, so that no two of a batch have a name in common."""
    filled = []
    for key, path, text in sources:
        names = own_names(text)
        for batch in filled:
            if batch["key"] == key and len(batch["sources"]) < LARGEST and not batch["names"] & names:
                break
        else:
            batch = {"key": key, "sources": [], "names": set()}
            filled.append(batch)
        batch["sources"].append((path, text))
        batch["names"] |= names
    return filled


def joined(batch):
    """The text of a batch, and which source each of its lines is from."""
    lines, origins, included = [], [], set()
    for path, text in batch["sources"]:
        seen = set()
        for number, line in enumerate(text.splitlines(), 1):
            if INCLUDE.match(line):
                if line in seen:
                    sys.exit(f"{path}:{number}: included twice: {line}")
                seen.add(line)
                if line in included:
                    line = ""
                included.add(line)
            lines.append(line)
            origins.append((path, number))
    return "\n".join(lines) + "\n", origins


def tidy(arguments):
    return subprocess.run(["clang-tidy", "--quiet", *arguments], capture_output=True, text=True, check=False)


def check(build, work, index, batch):
    """What clang-tidy says of the batch, and whether it is content."""
    folder, flags = batch["key"]
    text, origins = joined(batch)
    path = work / f"batch{index}.cpp"
    path.write_text(text)
    # The compilers see to shadowed names; here names of different sources would meet.
    command = [*shlex.split(flags), "-Wno-shadow", "-iquote", folder]
    result = tidy([f"--config-file={Path('.clang-tidy').resolve()}", str(path), "--", *command])
    if len(batch["sources"]) > 1 and "[clang-diagnostic-error]" in result.stdout:
        result = tidy(["-p", build, *(str(source) for source, _ in batch["sources"])])
        return result.stdout + result.stderr, result.returncode == 0

    def named(match):
        source, number = origins[int(match[1]) - 1]
        return f"{source}:{number}:"

    return re.sub(rf"{re.escape(str(path))}:(\d+):", named, result.stdout + result.stderr), result.returncode == 0


def main():
    build, *wanted = sys.argv[1:]
    commands = {os.path.relpath(entry["file"]): entry
                for entry in json.loads(Path(build, "compile_commands.json").read_text())}
    work = Path(build, "tidy").resolve()
    work.mkdir(exist_ok=True)
    sources = []
    for path in wanted:
        words = shlex.split(commands[path]["command"])
        start = next(i for i, word in enumerate(words) if word.startswith("-"))
        flags = words[start:words.index("-o")]
        if commands[path]["file"].endswith(".cpp"):
            sources.append(((str(Path(path).parent.resolve()), shlex.join(flags)), path, Path(path).read_text()))
    made = sorted(batches(sources), key=lambda batch: -len(batch["sources"]))
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(lambda numbered: check(build, work, *numbered), enumerate(made)))
    for text, content in results:
        if not content:
            print(text)
    print(f"{len(wanted)} sources in {len(made)} batches")
    return 0 if all(content for _, content in results) else 1


if __name__ == "__main__":
    sys.exit(main())
