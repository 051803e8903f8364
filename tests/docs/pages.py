#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds the manual pages to what they are about.

    pages.py lint            the pages are well-formed, and what they and the other documents refer to exists
    pages.py operations      every exported operation has its place, with the header's prototype
    pages.py commands TOOL   every command and option of TOOL --help is in its page, and no other
"""

import re
import shutil
import subprocess
import sys

from document import PAGES, TOP, names, plain, sections

# What scdoc always writes, harmless.
OF_SCDOC = ("skipping paragraph macro: PP", "input text line longer than 80 bytes", "lower case character in document")
# Pages that come with other packages.
FOREIGN = {"ntohl(3)", "less(1)"}


def lint():
    for tool in ("scdoc", "mandoc"):
        if not shutil.which(tool):
            sys.exit(f"{tool} is missing: install the package of that name")
    known = {page.stem.removesuffix(".scd") for page in PAGES}
    known |= {f"{name}.3" for page in PAGES if page.stem.endswith(".3") for name in names(page)}
    for page in PAGES:
        text = page.read_text()
        title, _, section = page.stem.rpartition(".")
        begin = f'{title}({section}) "ksl @PROJECT_VERSION@"\n\n; SPDX-License-Identifier: Apache-2.0\n'
        if not text.startswith(begin):
            yield f"{page.name} must begin with its title, the version and the licence"
        if "EXAMPLE" not in sections(page):
            yield f"{page.name} has no example"
        rendered = subprocess.run([TOP / "docs/man/render"], input=text, capture_output=True, text=True, check=False)
        if rendered.returncode != 0:
            yield f"{page.name}: {rendered.stderr.strip()}"
            continue
        mandoc = subprocess.run(["mandoc", "-Tlint"], input=rendered.stdout, capture_output=True, text=True,
                                check=False)
        for complaint in mandoc.stdout.splitlines():
            if not any(usual in complaint for usual in OF_SCDOC):
                yield f"{page.name}: {complaint}"
        for name, number in re.findall(r"\*([\w.\\-]+)\*\((\d)\)", text):
            name = plain(name)
            if f"{name}.{number}" not in known and f"{name}({number})" not in FOREIGN:
                yield f"{page.name} refers to {name}({number}), which is not there"
    for document in [*TOP.glob("*.md"), *TOP.glob("docs/*.md")]:
        for target in re.findall(r"\]\((?!https?:)([^)#]+)", document.read_text()):
            if not (document.parent / target).exists():
                yield f"{document.name} points to {target}, which is not there"


def exported():
    """The operations of the export list; the variables behind them are no part of the interface."""
    operations = (TOP / "src/ksl.map").read_text().split("# State")[0]
    return set(re.findall(r"(?m)^    (\w+);$", operations))


def prototypes(text):
    text = re.sub(r"/\*.*?\*/|//[^\n]*|^ *#[^\n]*(\\\n[^\n]*)*", "", text, flags=re.S | re.M)
    found = re.findall(r"(?:^|(?<=[;{}]))\s*((?:[a-z_0-9]+ +\**)+)(\w+)\(((?:[^()]|\([^()]*\))*)\)\s*(?=;)", text, re.M)
    return {name: re.sub(r"\s+", " ", f"{kind}{name}({arguments})").strip() for kind, name, arguments in found}


def operations():
    declared = prototypes((TOP / "include/ksl/ksl.h").read_text())
    overview = sections(next(page for page in PAGES if page.name == "libksl.7.scd"))["DESCRIPTION"]
    families = {plain(title): set(re.findall(r"\w+", plain(operations)))
                for title, operations in re.findall(r"(?m)^(\*.*\*\(3\)), .*\n((?:\t.*\n)+)", overview)}
    home = {}
    for page in PAGES:
        if not page.stem.endswith(".3"):
            continue
        title = page.stem.removesuffix(".3")
        shown = prototypes(sections(page)["SYNOPSIS"].replace("```", ""))
        for name in names(page):
            if name in home:
                yield f"{name} is in {home[name]} and {page.name}"
            home[name] = page.name
            if shown.get(name) != declared.get(name):
                yield f"{page.name} has {shown.get(name)}, the header has {declared.get(name)}"
            if f"*{name}*(" not in sections(page)["DESCRIPTION"].replace("\\", "") and f"[ {name}\n" not in \
                    page.read_text().replace("\\", ""):
                yield f"{page.name} does not describe {name}"
        if families.get(f"{title}(3)") != set(names(page)):
            yield f"libksl.7.scd does not name the operations of {page.name}"
        for heading in ("DESCRIPTION", "REGISTERS", "RETURN VALUE", "TRACE"):
            if heading not in sections(page):
                yield f"{page.name} has no section {heading}"
    for name in sorted(exported() - home.keys()):
        yield f"{name} is exported, and in no page"
    for name in sorted(home.keys() - exported()):
        yield f"{home[name]} is about {name}, which is not exported"


OPTION = r"--([a-z-]+)(?: ([A-Z]+))?"


def commands_of_help(run, words=()):
    """Each command that does something: its words with its operands, and its options."""
    text = run([*words, "--help"])
    listed = re.search(r"(?ms)^Commands:\n(.*?)(?:^$|\Z)", text)
    if listed and words:
        found = {}
    else:
        options = re.search(r"(?ms)^ *Options:\n(.*?)(?:^$|\Z)", text).group(1)
        options += "".join(re.findall(r"(?ms)^  Options:\n(.*?)(?:^$|\Z)", text)) if "Option Group" in text else ""
        operands = re.search(r"(?m)^Usage: \S+ (.*)", text).group(1).replace("[OPTIONS] ", "").replace("[OPTIONS]", "")
        found = {operands.strip(): set(re.findall(rf"(?m)^ +(?:-\w,)?{OPTION}", options))}
    for name in re.findall(r"(?m)^  ([a-z-]+) ", listed.group(1)) if listed else ():
        found.update(commands_of_help(run, (*words, name)))
    return found


def commands_of_page(page):
    found = {}
    for line in re.findall(r"(?m)^\*[a-z].*", sections(page)["COMMANDS"]):
        line = plain(line)
        options = set(re.findall(rf"\[{OPTION}\]", line))
        found[re.sub(rf" \[{OPTION}\]", "", line)] = options
    found["COMMAND"] = set(re.findall(rf"(?m)^(?:-\w, )?{OPTION}$", plain(sections(page)["OPTIONS"])))
    return found


def commands(tool):
    def run(words):
        return subprocess.run([tool, *words], capture_output=True, text=True, check=True).stdout

    name = tool.rpartition("/")[2]
    page = TOP / f"docs/man/{name}.1.scd"
    # Every command has --help; the page says so once.
    in_help = {command: {option for option in options if option[0] != "help" or command == "COMMAND"}
               for command, options in commands_of_help(run).items()}
    in_page = commands_of_page(page)
    for command in sorted(in_help.keys() | in_page.keys()):
        if command not in in_page:
            yield f"{page.name} does not tell of: {name} {command}"
        elif command not in in_help:
            yield f"{page.name} tells of what {name} --help does not: {command}"
        else:
            for option in sorted(in_help[command] ^ in_page[command]):
                where = page.name if option in in_page[command] else f"{name} --help"
                yield f"--{' '.join(option).strip()} of {name} {command} is only in {where}"
    text = run(["--help"])
    for heading in ("Environment", "Exit status"):
        in_help = re.search(rf"(?ms)^{heading}[^\n]*:\n(.*?)(?:^$|\Z)", text)[1]
        in_help = set(re.findall(r"(?m)^  ([A-Z_]+|\d) ", in_help))
        terms = re.findall(r"(?m)^[A-Z_, ]+$|^\d$", plain(sections(page)[heading.upper()]))
        in_page = {term for line in terms for term in line.split(", ")} - {"LD_LIBRARY_PATH"}  # the loader's
        for term in sorted(in_help ^ in_page):
            yield f"{heading}: {term} is only in {page.name if term in in_page else f'{name} --help'}"


def main():
    checks = {"lint": lint, "operations": operations, "commands": lambda: commands(sys.argv[2])}
    complaints = list(checks[sys.argv[1]]())
    print("\n".join(complaints))
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
