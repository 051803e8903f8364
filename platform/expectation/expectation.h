// SPDX-License-Identifier: Apache-2.0
// What the registers of a switch chip are expected to hold, its JSON form (ksl-expectation(5)), and the records
// by which libksl compares it with the chip.
#pragma once

#include <array>
#include <cstdint>
#include <json/problem.h>
#include <ksl/ksl.h>
#include <string>
#include <string_view>
#include <vector>

namespace kslcfg {

using json::Unusable;

constexpr unsigned kLastVid = 4094;       // of the VLAN table
constexpr unsigned kLastPvid = 0xFFF;     // 12 bits
constexpr unsigned kLastPriority = 7;     // 3 bits
constexpr unsigned kLastField = 0x1F;     // 5 bits
constexpr unsigned kMapBits = 27;         // of a port map
constexpr unsigned kRegisterBytesMax = 8; // of one register

// What a port gives to a frame without a VLAN tag.
struct Pvid {
    uint16_t vid = 0;
    uint8_t priority = 0;

    bool operator==(const Pvid &) const = default;
};

// An entry of the VLAN table. Bit n of a port map is the one with the value 1 << n.
struct VlanEntry {
    uint16_t vid = 0;
    bool valid = true;
    uint8_t field = 0; // carried, compared by nothing
    uint32_t upper = 0;
    uint32_t lower = 0;

    bool operator==(const VlanEntry &) const = default;
};

// Any other register.
struct Setting {
    uint8_t page = 0;
    uint8_t offset = 0;
    std::vector<uint8_t> bytes; // 1 to 8, most significant first

    bool operator==(const Setting &) const = default;
};

struct Expectation {
    std::string name; // one line of text, or empty
    std::array<Pvid, KSL_PORTS> pvids;
    std::vector<VlanEntry> vlans;   // each vid once
    std::vector<Setting> registers; // none of those above, no byte twice

    bool operator==(const Expectation &) const = default;
};

// Reads the JSON form. Throws Unusable, such as "line 7, column 12: pvids[2].vid must be a number from 0 to 4095".
Expectation parse(std::string_view text);

// Reads a regular file. Throws Unusable, such as "hub.json, line 7, column 12: pvids[2].vid must be ...".
Expectation load(const std::string &path);

// The JSON form, ports with the same PVID in one row; parse() makes the same expectation of it. A value that the form
// cannot hold is cut to its width.
std::string to_json(const Expectation &expectation);

// The contents of registers, from their bytes as ksl_read_VLAN_PVID_regs() and ksl_read_VLAN_map() deliver them.
Pvid pvid_from(const void *word);
VlanEntry vlan_entry_from(uint16_t vid, const uint8_t *bytes);

// The expected entry of a VLAN; null where none is stated.
const VlanEntry *find_vlan(const Expectation &expectation, unsigned vid);

// Whether ksl_validate_VLAN_map() calls the two equal: both valid, both port maps the same.
bool matches(const VlanEntry &expected, const VlanEntry &found);

// The records of a configuration library, with the one that ends the list. A VLAN without an entry matches nothing.
std::vector<ksl_cfg_record> records(const Expectation &expectation);

} // namespace kslcfg
