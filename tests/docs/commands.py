# SPDX-License-Identifier: Apache-2.0
"""Holds the page of a tool against its --help: commands, operands, options, environment, exit statuses."""

import os
import re
import subprocess
import tempfile

from document import TOP, plain, sections

OPTION = r"--([a-z-]+)(?: ([A-Z]+))?"


# A value that suits each operand and option, by the name that --help and the pages give it.
SAMPLES = {"PORT": "3", "SPEED": "10", "VID": "1", "PRIORITY": "0", "INDEX": "1", "RAW": "1", "WAY": "search", "GROUP": "0",
           "A": "1", "B": "2", "CAPTURE": "5", "N": "2", "CONFIGURATION": "0", "PAGE": "0",
           "OFFSET": "0", "LENGTH": "1", "BYTES": "00", "SECONDS": "1", "PATTERN": "02:*", "FILTER": "1",
           "LIBRARY": "/nonexistent/library", "FILE": "/nonexistent/file", "COUNTER": "total",
           "NAMES": str(TOP / "examples/counter_names.json")}
REFUSED = 2
COLUMNS = 80


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


def help_is_narrow(run, name, words=()):
    """A terminal of 80 columns shows every help text without breaking a line."""
    text = run([*words, "--help"])
    for line in text.splitlines():
        if len(line) > COLUMNS:
            yield f"{' '.join((name, *words))} --help has a line of {len(line)} columns: {line.strip()}"
    listed = re.search(r"(?ms)^Commands:\n(.*?)(?:^$|\Z)", text)
    for command in re.findall(r"(?m)^  ([a-z-]+) ", listed[1]) if listed else ():
        yield from help_is_narrow(run, name, (*words, command))


def commands_of_page(page):
    found = {}
    for line in re.findall(r"(?m)^\*[a-z].*", sections(page)["COMMANDS"]):
        line = plain(line)
        options = set(re.findall(rf"\[{OPTION}\]", line))
        found[re.sub(rf" \[{OPTION}\]", "", line)] = options
    found["COMMAND"] = set(re.findall(rf"(?m)^(?:-\w, )?{OPTION}$", plain(sections(page)["OPTIONS"])))
    return found


def options_are_possible(tool, in_help):
    """Each option of a command of kslctl can be used: no command refuses one that it lists."""
    if not tool.endswith("kslctl"):
        return
    for command, options in in_help.items():
        if command == "COMMAND":
            continue
        # All operands, and only those without which there is no command.
        tokens = [token.replace("...", "") for token in command.split()]
        whole = [SAMPLES.get(token.strip("[]"), token) for token in tokens]
        least = [SAMPLES.get(token, token) for token in tokens if not token.startswith("[")]
        for option, value in sorted(options):
            chosen = [f"--{option}", *([SAMPLES[value]] if value else [])]
            if not any(possible(tool, words + chosen) for words in (least, whole)):
                yield f"{' '.join(whole + chosen)} is listed, and always refused"


def possible(tool, words):
    try:
        with tempfile.TemporaryDirectory() as folder:
            found = subprocess.run([tool, "--simulate", *words], env={**os.environ, "HWA_SIM_DIR": folder},
                                   capture_output=True, stdin=subprocess.DEVNULL, timeout=1, check=False)
        return found.returncode != REFUSED
    except subprocess.TimeoutExpired:
        return True


def answers_no(text):
    """The commands that a description of exit status 1 names."""
    return set(re.findall(r"[\"*]([a-z][a-z -]+)[\"*]", text))


def statuses_agree(run, name, page, in_help):
    """Each status of a command's own help is in the page; those with an answer are named where status 1 is described."""
    in_page = dict(re.findall(r"(?ms)^\*(\d)\*\n(.*?)(?=^\*\d|\Z)", sections(page)["EXIT STATUS"]))
    of_help = re.search(r"(?ms)^Exit status[^\n]*:\n(.*?)(?:^$|\Z)", run(["--help"]))[1]
    of_help = dict(re.findall(r"(?ms)^  (\d)  (.*?)(?=^  \d|\Z)", of_help))
    for status in sorted(of_help.keys() & in_page.keys()):
        for command in sorted(answers_no(of_help[status]) ^ answers_no(in_page[status])):
            where = page.name if command in answers_no(in_page[status]) else f"{name} --help"
            yield f'exit status {status} of "{command}" is only in {where}'
    for command in in_help:
        words = re.match(r"[a-z -]*", command)[0].split()
        if not words:
            continue
        own = re.search(r"(?ms)^Exit status: (.*?)(?:^$|\Z)", run([*words, "--help"]))
        for status in re.findall(r"\b\d\b(?= (?:when|where|if|without))", own[1]) if own else ():
            if status not in in_page:
                yield f"exit status {status} of {name} {' '.join(words)} is not in {page.name}"
            elif status == "1" and not any(" ".join(words).startswith(named) for named in answers_no(in_page["1"])):
                yield f"{page.name} does not say that {' '.join(words)} may end with exit status 1"


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
            yield f"{page.name} does not describe: {name} {command}"
        elif command not in in_help:
            yield f"{page.name} describes what {name} --help does not: {command}"
        else:
            for option in sorted(in_help[command] ^ in_page[command]):
                where = page.name if option in in_page[command] else f"{name} --help"
                yield f"--{' '.join(option).strip()} of {name} {command} is only in {where}"
    yield from options_are_possible(tool, in_help)
    yield from statuses_agree(run, name, page, in_help)
    yield from help_is_narrow(run, name)
    text = run(["--help"])
    for heading in ("Environment", "Exit status"):
        in_help = re.search(rf"(?ms)^{heading}[^\n]*:\n(.*?)(?:^$|\Z)", text)[1]
        in_help = set(re.findall(r"(?m)^  ([A-Z_]+|\d) ", in_help))
        terms = re.findall(r"(?m)^[A-Z_, ]+$|^\d$", plain(sections(page)[heading.upper()]))
        in_page = {term for line in terms for term in line.split(", ")} - {"LD_LIBRARY_PATH"}  # the loader's
        for term in sorted(in_help ^ in_page):
            yield f"{heading}: {term} is only in {page.name if term in in_page else f'{name} --help'}"
