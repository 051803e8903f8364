# SPDX-License-Identifier: Apache-2.0
"""Every list of operations is held against the library's export list, and what is missing is named.

usage: lists_test.py SOURCE_DIR KSLCTL
"""

import re
import subprocess
import sys
import unittest
from pathlib import Path

SOURCE = Path(sys.argv[1])
KSLCTL = sys.argv[2]
del sys.argv[1:]

# What a person has no use for at a shell: the process' own trace buffer and timing, and what operations are made of.
WITHOUT_COMMAND = {"ksl_get_trace_buffer", "ksl_disable_time"}
# The first version had these; later ones are in the changelog by their names.
FIRST = set("""
    ksl_init ksl_terminate ksl_get_trace_buffer ksl_enable_time ksl_disable_time ksl_read_bist_status_reg
    ksl_read_link_status_regs ksl_read_link_status_reg ksl_read_switch_mode_reg ksl_read_port_speed_reg
    ksl_read_port_duplex_reg ksl_get_port_speed ksl_set_port_speed ksl_activate_port ksl_deactivate_port
    ksl_read_port_cntrl_reg ksl_reset_PHY ksl_read_VLAN_PVID_regs ksl_set_PVID ksl_read_VLAN_enable
    ksl_validate_VLAN_enable ksl_read_VLAN_map ksl_read_extended_VLAN_cntrl_regs ksl_validate_VLAN_PVID_set
    ksl_validate_VLAN_map ksl_read_MIB_counters ksl_read_MIB_counters_at_port ksl_read_age_timer_reg
    ksl_set_age_timer_reg ksl_read_cntrl_regs ksl_read_trunk_group_regs ksl_validate_trunk_group ksl_set_mirror_port
    ksl_unset_mirror_port ksl_read_ARL_table __KSL_READ_ARL_TABLE dbg_ksl_search_ARL_table ksl_get_SA_count_at_port
    ksl_get_learning_threshold_at_port ksl_set_learning_threshold_at_port ksl_set_MAC_filter
    ksl_read_EPN_firmware_version ksl_reset_switch dbg_ksl_set_EPN_configuration dbg_ksl_get_reg dbg_ksl_set_reg
    dbg_ksl_dump_reg""".split())


def text_of(*globs):
    return "\n".join(path.read_text() for pattern in globs for path in sorted(SOURCE.glob(pattern)))


def functions():
    """The exported functions; the state after them is for debuggers and tests."""
    return re.findall(r"(?m)^    (\w+);$", (SOURCE / "src/ksl.map").read_text().split("# State")[0])


def operations():
    """Those that callers use; the others are what operations are made of."""
    return [name for name in functions() if not re.match(r"__(hwa|print)_", name)]


def missing_from(text, names):
    return [name for name in names if not re.search(rf"\b{name}\b", text)]


def commands(words=()):
    """The commands of kslctl, from its own help."""
    text = subprocess.run([KSLCTL, *words, "--help"], check=True, capture_output=True, text=True).stdout
    listed = re.search(r"(?ms)^Commands:\n(.*?)(?:^$|\Z)", text)
    if not listed:
        return [" ".join(words)]
    return [command for name in re.findall(r"(?m)^  ([a-z-]+) ", listed[1]) for command in commands((*words, name))]


class EveryOperation(unittest.TestCase):
    def test_lists_are_found(self):
        self.assertGreater(len(operations()), 40)
        self.assertGreater(len(commands()), 25)

    def test_is_declared(self):
        self.assertEqual(missing_from(text_of("include/ksl/ksl.h"), functions()), [], "not in include/ksl/ksl.h")

    def test_has_a_behaviour_test(self):
        tests = text_of(*(f"tests/{family}/**/*.cpp" for family in ("frame", "port", "vlan", "forwarding", "chip")))
        self.assertEqual(missing_from(tests, functions()), [], "in no test of the families")

    def test_has_a_command(self):
        wanted = [name for name in operations() if name not in WITHOUT_COMMAND]
        self.assertEqual(missing_from(text_of("tools/kslctl/**/*.cpp"), wanted), [], "in no command of kslctl")

    def test_is_in_the_changelog(self):
        wanted = [name for name in operations() if name not in FIRST]
        self.assertEqual(missing_from(text_of("CHANGELOG.md"), wanted), [], "in no version of CHANGELOG.md")

    def test_has_published_trace_points(self):
        published = text_of("tests/library/published_trace_points.csv")
        points = re.findall(r'(?m)^KSL_TRACE_POINT\((\w+), \w+, (\w+),', text_of("src/*/trace_points.def"))
        self.assertGreater(len(points), 100)
        self.assertEqual([name for _, name in points if not re.search(rf"\b{name}\b", published)], [],
                         "not in published_trace_points.csv")


class EveryCommand(unittest.TestCase):
    def test_has_a_case(self):
        cases = text_of("tests/tools/cases/*.cases")
        run = [command for command in commands()
               if not re.search(rf"(?m)^  run .*\b{re.escape(command)}\b", cases)]
        self.assertEqual(run, [], "in no case of tests/tools/cases")

    def test_is_in_the_page_of_the_json(self):
        headings = " ".join(re.findall(r"(?m)^## .*", text_of("docs/kslctl-json.md")))
        self.assertEqual([command for command in commands() if command.removesuffix(" set") not in headings
                          and command not in headings], [], "in no heading of docs/kslctl-json.md")


if __name__ == "__main__":
    unittest.main()
