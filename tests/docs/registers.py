# SPDX-License-Identifier: Apache-2.0
"""Holds the registers that the manual pages list against the table of include/ksl/registers.h."""

import re

from document import PAGES, TOP, plain


def in_header():
    """The text and length of each register by its place: page, step by port, offset, step by port."""
    header = (TOP / "include/ksl/registers.h").read_text()
    rows = re.findall(r'(?m)^ +row\((\w+), +"([^"]+)", +(\w+), (\d+), (\w+), (\d+), (\d+)\)', header)
    return {(int(page, 16), int(page_step), int(offset, 16), int(offset_step)): (text, int(length))
            for _, text, page, page_step, offset, offset_step, length in rows}


def tables(page):
    """The rows of the page's tables that have a page and an offset, each by its column heads."""
    for table in re.findall(r"(?m)^\[\[(?:.*\n)+?(?=^$)", page.read_text()):
        rows = [[plain(re.sub(r"\s+", " ", cell)).strip() for cell in re.split(r"(?m)^:\[", row)]
                for row in re.split(r"(?m)^[\[|]\[", table)[1:]]
        head = rows[0]
        if "Page" in head and "Offset" in head:
            # The counters have pages without an offset: they are in a table of their own.
            yield from (named for named in (dict(zip(head, row)) for row in rows[1:]) if named["Offset"])


def place(text):
    """A number and its step from port to port: "0x10 + 2 * port", "0x10 + 2p"."""
    found = re.fullmatch(r"(0x[0-9A-F]+|\d)(?: \+ (\d?)(?: \* )?(?:port|p)\b.*)?", text)
    if not found:
        return None
    return int(found[1], 0), (int(found[2] or 1) if "+" in text else 0)


def places(row):
    """The places that a row lists, each with the length that it gives there, None where it gives none."""
    lengths = [int(number) for number in re.findall(r"\d+", row.get("Length", row.get("Bytes", "")))]
    offsets = row["Offset"].split(", ")
    for index, offset in enumerate(offsets):
        page_and_step, offset_and_step = place(row["Page"]), place(offset)
        length = (lengths[index] if len(lengths) == len(offsets) else lengths[0]) if lengths else None
        yield page_and_step and offset_and_step and (*page_and_step, *offset_and_step), length


def registers():
    known = in_header()
    if len(known) < 20:
        yield "include/ksl/registers.h has no table that can be read here"
    listed = set()
    for page in PAGES:
        for row in tables(page):
            for where, length in places(row):
                shown = f"{page.name}: page {row['Page']}, offset {row['Offset']}"
                if where not in known:
                    yield f"{shown} is not in include/ksl/registers.h"
                    continue
                listed.add(where)
                text, whole = known[where]
                # The first byte of a register may be read and written alone.
                wanted = (1, f"{text}, first byte") if "first byte" in row.get("Register", "") else (whole, text)
                if length not in (None, wanted[0]):
                    yield f"{shown} has {length} bytes; registers.h says {wanted[0]}"
                if "Register" in row and wanted[1] not in row["Register"]:
                    yield f'{shown} is called "{row["Register"]}"; registers.h says "{wanted[1]}"'
    for where in sorted(known.keys() - listed):
        yield f"no manual page lists the register {known[where][0]}"
