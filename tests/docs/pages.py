#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds the manual pages to what they are about.

    pages.py lint            the pages are well-formed, and what they and the other documents refer to exists
    pages.py operations      every exported operation has its place, with the header's prototype
    pages.py registers       the registers in the pages are those of include/ksl/registers.h
    pages.py places KSLCTL   docs/README.md leads from each operation to its code, test, page and commands
    pages.py commands TOOL   every command, option and exit status of TOOL --help is in its page, and no other
"""

import re
import shutil
import subprocess
import sys

from commands import commands
from document import PAGES, TOP, names, plain, sections
from places import places
from registers import registers

# What scdoc always writes, harmless.
OF_SCDOC = ("skipping paragraph macro: PP", "input text line longer than 80 bytes", "lower case character in document")
# Pages that come with other packages.
FOREIGN = {"core(5)", "less(1)", "ntohl(3)"}


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
    """The operations of the export list; the variables after them are no part of the interface."""
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


def main():
    checks = {"lint": lint, "operations": operations, "registers": registers, "places": lambda: places(sys.argv[2]),
              "commands": lambda: commands(sys.argv[2])}
    complaints = list(checks[sys.argv[1]]())
    print("\n".join(complaints))
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
