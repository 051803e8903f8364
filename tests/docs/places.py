# SPDX-License-Identifier: Apache-2.0
"""Holds the table of docs/README.md that leads from an operation to its code, test, page and commands."""

import re
import subprocess

from document import PAGES, TOP, names, sections

ROW = r"(?m)^\| `(\w+/\w+)` \| [^|]+ \| \[([\w-]+)\(3\)\]\(man/[\w.-]+\) \| ([^|]*) \|$"

COMMAND = r"`([^`]+)`"


def defined(path):
    """The operations of a source file, without the helpers that they are made of."""
    return set(re.findall(r'(?m)^extern "C" [\w ]+[ *](?!__hwa_|__print_)(\w+)\(', path.read_text()))


def commands(tool, words=()):
    text = subprocess.run([tool, *words, "--help"], capture_output=True, text=True, check=True).stdout
    listed = re.search(r"(?ms)^Commands:\n(.*?)(?:^$|\Z)", text)
    if not listed:
        return {" ".join(words)}
    return {command for name in re.findall(r"(?m)^  ([a-z-]+) ", listed[1]) for command in commands(tool, (*words, name))}


def places(tool):
    text = (TOP / "docs/README.md").read_text()
    rows = [(file, page, re.findall(COMMAND, shown)) for file, page, shown in re.findall(ROW, text)]
    described = {page.name.removesuffix(".3.scd"): set(names(page)) for page in PAGES}
    related = {page.name.removesuffix(".3.scd"): re.sub(r"\s+", " ", sections(page)["SEE ALSO"]) for page in PAGES}
    there = commands(tool)
    for file, page, shown in rows:
        code, test = TOP / f"src/{file}.cpp", TOP / f"tests/{file}_test.cpp"
        if not code.exists() or not test.exists():
            yield f"docs/README.md leads to {file}, whose code or test is not there"
        elif missing := defined(code) - described.get(page, set()):
            yield f"docs/README.md leads from {file} to {page}(3), which does not describe {', '.join(sorted(missing))}"
        for command in shown:
            if command not in there:
                yield f"docs/README.md leads to kslctl {command}, which is not there"
            if f"*{command}*" not in related.get(page, ""):
                yield f"{page}(3) does not refer to kslctl {command}"
    for code in sorted(TOP.glob("src/*/*.cpp")):
        file = f"{code.parent.name}/{code.stem}"
        if file not in {row[0] for row in rows} and defined(code):
            yield f"docs/README.md has no row for {file}"
    for command in sorted(command for command in there if f"`{command}`" not in text):
        yield f"docs/README.md does not lead to kslctl {command}"
