# SPDX-License-Identifier: Apache-2.0
"""What the checks of the documents share: manual pages (scdoc) and Markdown, taken apart."""

import pathlib
import re

TOP = pathlib.Path(__file__).resolve().parents[2]
PAGES = sorted((TOP / "docs/man").glob("*.scd"))


def plain(text):
    """scdoc's text without its emphasis and escapes."""
    text = re.sub(r"(?<!\\)\*", "", text)
    text = re.sub(r"(?<![\w\\])_(?=\S)|(?<=\S)(?<!\\)_(?!\w)", "", text)
    return text.replace("\\", "")


def sections(page):
    """The page's first-level sections by name, each as its text."""
    parts = re.split(r"(?m)^# (.+)\n", page.read_text())
    return dict(zip(parts[1::2], parts[2::2]))


def names(page):
    """What a manual page is about, from its NAME section."""
    return [name.strip() for name in plain(sections(page)["NAME"]).split(" - ")[0].split(",")]


def literal_blocks(path):
    """The blocks between fences, each with the word after the opening fence and the number of its first line."""
    blocks = []
    lines = None
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if lines is None and line.startswith("```"):
            lines, kind, first = [], line[3:].strip(), number + 1
        elif lines is not None and line == "```":
            if path.suffix == ".scd":
                lines = [text.replace("\\\\", "\\") for text in lines]
            blocks.append((kind, first, lines))
            lines = None
        elif lines is not None:
            lines.append(line)
    return blocks
