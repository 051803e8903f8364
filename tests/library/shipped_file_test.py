# SPDX-License-Identifier: Apache-2.0
"""The shipped libksl.so as the loader and the linker see it.

usage: shipped_file_test.py [unittest options] LIBRARY READELF NM SOURCE_DIR
"""

import os
import re
import subprocess
import sys
import unittest
from pathlib import Path

LIBRARY, READELF, NM, SOURCE = sys.argv[-4:]
del sys.argv[-4:]

# Everything that the library may call; hwa_getreg is found when ksl_init() has opened the lower library.
CALLS = {
    "hwa_getreg",
    "trace_kbuf_init_buffer", "trace_kbuf_write_ints5", "trace_kbuf_write_ints9", "trace_kbuf_write_all",
    "trace_kbuf_free",
    "dlopen", "dlsym", "dlclose", "dlerror",
    "gettimeofday", "malloc", "free", "memcpy", "memset",
}
# What the compiler's start-up files ask for, if it is there.
WEAK = {"__cxa_finalize", "__gmon_start__", "_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable"}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def dynamic_entries():
    return re.findall(r"\((\w+)\)\s+(.*)", output(READELF, "--wide", "--dynamic", LIBRARY))


def symbols(which):
    """The dynamic symbols as (type, name)."""
    lines = output(NM, "--dynamic", which, LIBRARY).splitlines()
    return [(line.split()[-2], line.split()[-1].split("@")[0]) for line in lines]


class ShippedFile(unittest.TestCase):
    def test_needs_the_trace_library_and_the_c_library_only(self):
        needed = {re.search(r"\[(.*)\]", text)[1] for tag, text in dynamic_entries() if tag == "NEEDED"}
        self.assertEqual(needed, {"libtrace_kbuf.so", "libc.so.6"})

    def test_has_a_name_without_a_version_and_no_search_path(self):
        entries = dynamic_entries()
        self.assertEqual([text for tag, text in entries if tag == "SONAME"], ["Library soname: [libksl.so]"])
        self.assertEqual([text for tag, text in entries if tag in ("RPATH", "RUNPATH")], [])

    def test_binds_lazily(self):
        flags = [text for tag, text in dynamic_entries() if tag in ("FLAGS", "FLAGS_1", "BIND_NOW")]
        self.assertNotIn("NOW", " ".join(flags))

    def test_leaves_hwa_getreg_to_the_loader(self):
        self.assertIn(("U", "hwa_getreg"), symbols("--undefined-only"))

    def test_calls_nothing_but_its_platform(self):
        undefined = symbols("--undefined-only")
        self.assertLessEqual({name for kind, name in undefined if kind == "U"}, CALLS)
        self.assertLessEqual({name for kind, name in undefined if kind != "U"}, WEAK)

    def test_exports_what_the_header_declares(self):
        header = output("cpp", "-fpreprocessed", "-P", f"{SOURCE}/include/ksl/ksl.h")
        functions = set(re.findall(r"\b((?:ksl|dbg_ksl|__)\w+)\(", header)) - {"__attribute__", "__ksl_get_cfg"}
        variables = set(re.findall(r"^extern [^(]*?(\w+);", header, re.MULTILINE))
        self.assertIn("ksl_init", functions)
        self.assertIn("ksl_hwa_handle", variables)
        declared = functions | variables
        exported = [name for kind, name in symbols("--defined-only")]
        self.assertEqual(sorted(set(exported) - declared), [], "exported, but not declared in ksl.h")
        self.assertEqual(sorted(declared - set(exported)), [], "declared in ksl.h, but not exported")
        self.assertEqual(len(exported), len(declared))

    def test_exports_data_of_the_machines_own_sizes(self):
        lines = output(NM, "--dynamic", "--print-size", "--defined-only", LIBRARY).splitlines()
        data = {words[3]: int(words[1], 16) for words in map(str.split, lines) if words[2] not in "TtWw"}
        with open(LIBRARY, "rb") as file:
            pointer = 8 if file.read(5)[4] == 2 else 4
        self.assertEqual(data, {
            "ksl_hwa_handle": pointer, "ksl_cfg_handle": pointer, "ksl_scratch_buffer": pointer,
            "ksl_trace_buffer": 4, "ksl_time_enabled": 4,
            "ksl_start_time": 2 * pointer, "ksl_end_time": 2 * pointer, "ksl_time_zone": 8,
        })

    def test_holds_no_text_of_the_trace_tables(self):
        image = Path(LIBRARY).read_bytes()
        texts = []
        for table in Path(SOURCE, "src").glob("*/trace_points.def"):
            for values, text in re.findall(r'^KSL_TRACE_POINT\(.*"(.*)", "(.*)"\)$', table.read_text(), re.MULTILINE):
                texts += [part for part in (values, text) if " " in part]
        self.assertGreater(len(texts), 20)
        self.assertEqual([text for text in texts if text.encode() in image], [])

    def test_is_laid_out_in_the_pages_of_its_machine(self):
        loads = re.findall(r"^\s+LOAD\s.*\s(0x\w+)$", output(READELF, "--wide", "--segments", LIBRARY), re.MULTILINE)
        alignments = {int(align, 16) for align in loads}
        self.assertEqual(len(alignments), 1)
        if "Machine: PowerPC" in re.sub(r" +", " ", output(READELF, "--file-header", LIBRARY)):
            self.assertEqual(alignments, {4096}, "the hub has small pages")
        else:
            self.assertGreaterEqual(min(alignments), os.sysconf("SC_PAGE_SIZE"))


if __name__ == "__main__":
    unittest.main()
