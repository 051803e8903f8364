// SPDX-License-Identifier: Apache-2.0
// The registers' bits, and the records made of them.
#include "expectation.h"
#include "register_areas.h"

#include <algorithm>
#include <span>

namespace kslcfg {
namespace {

// PVID register: VLAN id in bits 0 to 11, priority in bits 13 to 15.
constexpr unsigned kPriorityBit = 13;

// VLAN table entry, as a number of 64 bits.
constexpr unsigned kValidBit = 59;
constexpr unsigned kFieldBit = 54;
constexpr unsigned kUpperBit = 27;
constexpr std::uint32_t kMapMask = (1U << kMapBits) - 1;

// What selects the VLAN table in its address register, above the number of the VLAN.
constexpr std::uint32_t kVlanTable = 0x002000;

std::uint64_t big_endian(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

ksl_cfg_record record(unsigned page, unsigned offset, std::uint64_t value, unsigned length) {
    ksl_cfg_record made{};
    made.page = static_cast<std::uint8_t>(page);
    made.offset = static_cast<std::uint8_t>(offset);
    for (unsigned i = 0; i < length; ++i)
        made.value[i] = static_cast<std::uint8_t>(value >> 8 * (length - 1 - i));
    return made;
}

std::uint64_t register_value(const Pvid &pvid) {
    return (pvid.priority & kLastPriority) << kPriorityBit | (pvid.vid & kLastPvid);
}

std::uint64_t register_value(const VlanEntry &entry) {
    return std::uint64_t{entry.valid} << kValidBit | std::uint64_t{entry.field & kLastField} << kFieldBit |
           std::uint64_t{entry.upper & kMapMask} << kUpperBit | (entry.lower & kMapMask);
}

} // namespace

Pvid pvid_from(const void *word) {
    const std::uint64_t value = big_endian({static_cast<const std::uint8_t *>(word), 2});
    return {.vid = static_cast<std::uint16_t>(value & kLastPvid),
            .priority = static_cast<std::uint8_t>(value >> kPriorityBit)};
}

VlanEntry vlan_entry_from(std::uint16_t vid, const std::uint8_t *bytes) {
    const std::uint64_t value = big_endian({bytes, 8});
    return {.vid = vid,
            .valid = (value >> kValidBit & 1) != 0,
            .field = static_cast<std::uint8_t>(value >> kFieldBit & kLastField),
            .upper = static_cast<std::uint32_t>(value >> kUpperBit & kMapMask),
            .lower = static_cast<std::uint32_t>(value & kMapMask)};
}

const VlanEntry *find_vlan(const Expectation &expectation, unsigned vid) {
    const auto found = std::find_if(expectation.vlans.begin(), expectation.vlans.end(),
                                    [vid](const VlanEntry &entry) { return entry.vid == vid; });
    return found == expectation.vlans.end() ? nullptr : &*found;
}

bool matches(const VlanEntry &expected, const VlanEntry &found) {
    return expected.valid && found.valid && expected.upper == found.upper && expected.lower == found.lower;
}

std::vector<ksl_cfg_record> records(const Expectation &expectation) {
    std::vector<ksl_cfg_record> list;
    list.reserve(expectation.pvids.size() + expectation.registers.size() + 2 * expectation.vlans.size() + 2);
    for (unsigned port = 0; port < expectation.pvids.size(); ++port)
        list.push_back(record(kVlanPage, kPvidOffset + 2 * port, register_value(expectation.pvids[port]), 2));
    for (const Setting &setting : expectation.registers)
        list.push_back(record(setting.page, setting.offset, big_endian(setting.bytes),
                              static_cast<unsigned>(setting.bytes.size())));
    // An entry belongs to the VLAN whose number follows it.
    for (const VlanEntry &entry : expectation.vlans) {
        list.push_back(record(kTablePage, kTableDataOffset, register_value(entry), 8));
        list.push_back(record(kTablePage, kTableAddressOffset, kVlanTable | entry.vid, 3));
    }
    // A VLAN that no record names is compared with the last entry of the list: one that is not valid equals none.
    list.push_back(record(kTablePage, kTableDataOffset, 0, 8));
    ksl_cfg_record end{};
    end.end_flag = 1;
    list.push_back(end);
    return list;
}

} // namespace kslcfg
