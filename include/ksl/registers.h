/* SPDX-License-Identifier: Apache-2.0 */
/**
 * The registers of the switch chip: where each is, how long it is, and what people call it.
 *
 * The chip has 256 pages of 256 bytes. A register of n bytes is the n bytes from its offset on, the most significant
 * first. Its bits are numbered within the register, from 0, the least significant, to 8 * n - 1. So bit 7 of a register
 * of one byte is the highest bit of that byte, also where a program keeps the byte in a word of four. All headers and
 * pages number bits in this way.
 *
 * C and C++.
 */
#ifndef KSL_REGISTERS_H
#define KSL_REGISTERS_H

#include <stdint.h>

/**
 * One row for each register: KSL_REGISTERS(row) expands to
 *     row(name, text, page, page_step, offset, offset_step, length)
 * name is an identifier; text is for people; length is in bytes. A register that each port has is listed once: from
 * port to port its page or its offset grows by a step. Both steps are 0 for a register of the whole chip.
 */
/* clang-format off */
#define KSL_REGISTERS(row)                                                      \
    row(switch_mode,            "switch mode",             0x00, 0, 0x00, 0, 1) \
    row(port_control,           "port control",            0x00, 0, 0xD0, 1, 1) \
    row(self_test,              "self-test status",        0x01, 0, 0x00, 0, 6) \
    row(link_status,            "link status",             0x01, 0, 0x10, 0, 4) \
    row(link_change,            "link change",             0x01, 0, 0x14, 0, 4) \
    row(port_speed,             "port speed status",       0x01, 0, 0x18, 0, 4) \
    row(port_duplex,            "port duplex status",      0x01, 0, 0x1C, 0, 4) \
    row(age_timer,              "age timer",               0x02, 0, 0x06, 0, 4) \
    row(mirror_control,         "mirror control",          0x02, 0, 0x10, 0, 4) \
    row(ingress_mirror_mask,    "ingress mirror mask",     0x02, 0, 0x14, 0, 4) \
    row(egress_mirror_mask,     "egress mirror mask",      0x02, 0, 0x20, 0, 4) \
    row(address_search_control, "address search control",  0x05, 0, 0x20, 0, 8) \
    row(address_entry,          "address entry",           0x05, 0, 0x24, 0, 8) \
    row(address_vlan,           "address VLAN",            0x05, 0, 0x2C, 0, 2) \
    row(vlan_table_command,     "VLAN table command",      0x08, 0, 0x30, 0, 3) \
    row(vlan_table_address,     "VLAN table address",      0x08, 0, 0x32, 0, 3) \
    row(vlan_table_entry,       "VLAN table entry",        0x08, 0, 0x38, 0, 8) \
    row(phy_control,            "PHY control",             0x10, 1, 0x00, 0, 2) \
    row(speed_indication,       "speed indication",        0x10, 1, 0x30, 0, 2) \
    row(trunk_control,          "trunk control",           0x32, 0, 0x00, 0, 1) \
    row(trunk_group_0,          "trunk group 0",           0x32, 0, 0x10, 0, 4) \
    row(vlan_enable,            "VLAN enable",             0x34, 0, 0x00, 0, 1) \
    row(vlan_control_1,         "VLAN control 1",          0x34, 0, 0x01, 0, 1) \
    row(vlan_control_2,         "VLAN control 2",          0x34, 0, 0x02, 0, 1) \
    row(vlan_control_7,         "VLAN control 7",          0x34, 0, 0x07, 0, 1) \
    row(vlan_control_8,         "VLAN control 8",          0x34, 0, 0x08, 0, 1) \
    row(pvid,                   "PVID",                    0x34, 0, 0x10, 2, 2) \
    row(learned_addresses,      "learned addresses",       0x41, 0, 0x30, 2, 2) \
    row(learning_limit,         "learning limit",          0x41, 0, 0x70, 2, 2)
/* clang-format on */

/** The page of the counters of port 0; each port has a page of its own, KSL_COUNTER_PAGE + port. */
#define KSL_COUNTER_PAGE 0x50

/** One row for each counter on these pages: KSL_COUNTERS(row) expands to row(offset, length), length in bytes. */
/* clang-format off */
#define KSL_COUNTERS(row)                                                         \
    row(0x00, 8) row(0x08, 4) row(0x10, 4) row(0x18, 4) row(0x1C, 4) row(0x30, 4) \
    row(0x38, 4) row(0x50, 4) row(0x54, 4) row(0x58, 4) row(0x5C, 4) row(0x60, 4) \
    row(0x64, 4) row(0x68, 4) row(0x70, 4) row(0x74, 4) row(0x78, 4) row(0x7C, 8) \
    row(0x84, 4) row(0x88, 4) row(0x90, 4) row(0x98, 4)
/* clang-format on */

/** Where a register is, and its length in bytes. */
struct ksl_register {
    uint8_t page;
    uint8_t page_step; /**< Added to the page from port to port. */
    uint8_t offset;
    uint8_t offset_step; /**< Added to the offset from port to port. */
    uint8_t length;
};

/** Each register of the table by its name: ksl_age_timer_register, ksl_pvid_register. */
#ifdef __cplusplus
#define KSL_REGISTER_CONSTANT constexpr
#else
#define KSL_REGISTER_CONSTANT static const
#endif
#define KSL_REGISTER_ROW(name, text, page, page_step, offset, offset_step, length)                                     \
    KSL_REGISTER_CONSTANT struct ksl_register ksl_##name##_register = {page, page_step, offset, offset_step, length};
KSL_REGISTERS(KSL_REGISTER_ROW)
#undef KSL_REGISTER_ROW
#undef KSL_REGISTER_CONSTANT

#endif
