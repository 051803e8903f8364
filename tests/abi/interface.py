#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints the binary interface of a library: a line for each function, variable, type and member.

usage: interface.py LIBRARY HEADER_FOLDER

The lines are sorted by kind and name, so an added function adds its own lines and leaves the others alone. abidw reads
the interface from the debugging information; nothing of this machine gets into the text.
"""

import subprocess
import sys
import xml.etree.ElementTree as ElementTree

# What they say is in the lines of what holds them.
PARTS = {"abi-corpus", "abi-instr", "elf-function-symbols", "elf-variable-symbols", "elf-symbol", "parameter", "return",
         "data-member", "subrange", "var-decl", "array-type-def", "function-type", "qualified-type-def"}
KINDS = {"func-type": "function", "object-type": "variable"}


class Interface:
    def __init__(self, root):
        self.root = root
        self.types = {element.get("id"): element for element in root.iter() if "id" in element.attrib}
        # Its lines by kind and name.
        self.found = {}
        for element in root.iter():
            describe = getattr(self, element.tag.replace("-", "_"), None)
            if describe:
                describe(element, element.get("name", ""))
            elif element.tag not in PARTS:
                sys.exit(f"interface.py cannot describe a {element.tag}")
        for element in root.findall("./abi-instr/var-decl"):
            name = element.get("name")
            self.found["variable", name] = [f"variable {self.declared(element.get('type-id'), name)}"]
        for symbol in root.iter("elf-symbol"):
            self.symbol(KINDS.get(symbol.get("type"), symbol.get("type")), symbol.get("name"), symbol.get("size"))

    def lines(self):
        yield f"architecture {self.root.get('architecture')}, soname {self.root.get('soname', 'none')}"
        for key in sorted(self.found):
            yield from self.found[key]

    # ---- What has lines of its own ----

    def function_decl(self, element, name):
        of = self.declared(element.find("return").get("type-id"), f"{name}({self.parameters(element)})")
        self.found["function", name] = [f"function {of}"]

    def class_decl(self, element, name):
        if element.get("is-declaration-only"):
            self.found.setdefault(("struct", name), [f"struct {name}"])
            return
        lines = [f"struct {name}, {size_of(element)}"]
        for member in element.findall("data-member"):
            variable = member.find("var-decl")
            offset = in_bytes(member.get("layout-offset-in-bits"))
            lines.append(f"    {offset}: {self.declared(variable.get('type-id'), variable.get('name'))}")
        self.found["struct", name] = lines

    def type_decl(self, element, name):
        size = f", {size_of(element)}" if element.get("size-in-bits") else ""
        self.found["type", name] = [f"type {name}{size}"]

    def typedef_decl(self, element, name):
        self.found["type", name] = [f"type {name} = {self.declared(element.get('type-id'))}"]

    def pointer_type_def(self, element, _):
        self.found["pointer", ""] = [f"pointer, {size_of(element)}"]

    def symbol(self, kind, name, size):
        lines = self.found.setdefault((kind, name), [f"{kind} {name}, which no public header declares"])
        if size:
            lines[0] += f", {size} bytes"

    # ---- Types ----

    def declared(self, identifier, name=""):
        """The type as C writes it, around the name of what has it."""
        element = self.types[identifier]
        target = element.get("type-id")
        if element.tag == "array-type-def":
            return self.declared(target, name + "".join(f"[{part.get('length')}]" for part in element.findall("subrange")))
        if element.tag == "pointer-type-def":
            wrapped = self.types[target].tag in ("array-type-def", "function-type")
            return self.declared(target, f"(*{name})" if wrapped else f"*{name}")
        if element.tag == "function-type":
            return self.declared(element.find("return").get("type-id"), f"{name}({self.parameters(element)})")
        if element.tag == "qualified-type-def":
            words = " ".join(word for word in ("const", "volatile", "restrict") if element.get(word) == "yes")
            if self.types[target].tag == "pointer-type-def":
                return self.declared(target, f" {words} {name}".rstrip())
            return f"{words} {self.declared(target, name)}"
        return f"{element.get('name')} {name}".strip()

    def parameters(self, function):
        return ", ".join("..." if part.get("is-variadic") == "yes" else self.declared(part.get("type-id"))
                         for part in function.findall("parameter")) or "void"


def in_bytes(bits):
    whole, rest = divmod(int(bits), 8)
    return f"{whole} and {rest} bits" if rest else str(whole)


def size_of(element):
    return f"{in_bytes(element.get('size-in-bits'))} bytes"


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    library, headers = sys.argv[1:]
    described = subprocess.run(
        ["abidw", "--headers-dir", headers, "--drop-private-types", "--exported-interfaces-only", "--no-parameter-names",
         "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs", "--no-elf-needed", library],
        check=True, stdout=subprocess.PIPE).stdout
    print("\n".join(Interface(ElementTree.fromstring(described)).lines()))


if __name__ == "__main__":
    main()
