// SPDX-License-Identifier: Apache-2.0
// The VLAN registers and the fields of their words.
#pragma once

#include "frame/register_access.h"
#include "frame/words.h"

namespace ksl {

constexpr Register kVlanEnable{0x34, 0x00, 1};
constexpr Register kVlanTableCommand{0x08, 0x30, 3};
constexpr Register kVlanTableAddress{0x08, 0x32, 3};
constexpr Register kVlanTableData{0x08, 0x38, 8};

// Two bytes for each port. The extended VLAN control registers stand at the same places.
constexpr Register pvid(uint32_t port) {
    return {0x34, 0x10 + 2 * port, 2};
}

// Fields of a PVID word.
constexpr uint32_t kPvidVlanIdBit = 16;
constexpr uint32_t kPvidVlanIdBits = 12;
constexpr uint32_t kPvidPriorityBit = 29;
constexpr uint32_t kPvidPriorityBits = 3;

constexpr uint32_t pvid_vlan_id(uint32_t word) {
    return field(word, kPvidVlanIdBit, kPvidVlanIdBits);
}

constexpr uint32_t pvid_priority(uint32_t word) {
    return field(word, kPvidPriorityBit, kPvidPriorityBits);
}

// The number of a VLAN in the word of the table's address register.
constexpr uint32_t kTableVlanIdBit = 8;
constexpr uint32_t kTableVlanIdBits = 12;

// An entry of the VLAN table. The upper port map crosses the border of its two words and is kept in two parts.
struct VlanEntry {
    uint32_t valid;
    uint32_t extra;
    uint32_t upper_map_high;
    uint32_t upper_map_low;
    uint32_t lower_map;
};

inline VlanEntry load_vlan_entry(const uint8_t *bytes) {
    const uint32_t first = load_word(bytes);
    const uint32_t second = load_word(bytes + 4);
    return {field(first, 27, 1), field(first, 22, 5), field(first, 0, 22), field(second, 27, 5), field(second, 0, 27)};
}

inline void trace_vlan_entry(TracePlace<5> place, const VlanEntry &entry) {
    trace(place, entry.valid, entry.extra, entry.upper_map_high, entry.upper_map_low, entry.lower_map);
}

} // namespace ksl
