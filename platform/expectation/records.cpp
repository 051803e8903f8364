// SPDX-License-Identifier: Apache-2.0
// The records that are made of what is expected.
#include "expectation.h"

#include <algorithm>
#include <ksl/decode.h>
#include <ksl/registers.h>
#include <register_values.h>

namespace kslcfg {
namespace {

constexpr uint32_t kMapMask = (1U << kMapBits) - 1;

// What selects the VLAN table in its address register, above the number of the VLAN.
constexpr uint32_t kVlanTable = 0x002000;

uint64_t number_of(const std::vector<uint8_t> &bytes) {
    uint64_t value = 0;
    for (const uint8_t byte : bytes) {
        value = value << 8 | byte;
    }
    return value;
}

ksl_cfg_record record(const ksl_register &place, uint64_t value, unsigned port = 0) {
    ksl_cfg_record made{};
    made.page = static_cast<uint8_t>(place.page + place.page_step * port);
    made.offset = static_cast<uint8_t>(place.offset + place.offset_step * port);
    for (unsigned i = 0; i < place.length; ++i) {
        made.value[i] = static_cast<uint8_t>(value >> 8 * (place.length - 1 - i));
    }
    return made;
}

ksl_cfg_record record(const Setting &setting) {
    const ksl_register place{setting.page, 0, setting.offset, 0, static_cast<uint8_t>(setting.bytes.size())};
    return record(place, number_of(setting.bytes));
}

uint64_t register_value(const Pvid &pvid) {
    return pvid_value(pvid.vid & kLastPvid, pvid.priority & kLastPriority);
}

uint64_t register_value(const VlanEntry &entry) {
    return vlan_entry_value({.valid = entry.valid,
                             .field = entry.field & kLastField,
                             .upper_map = entry.upper & kMapMask,
                             .lower_map = entry.lower & kMapMask});
}

} // namespace

Pvid pvid_from(const void *word) {
    return {.vid = static_cast<uint16_t>(ksl_pvid_vid(word)),
            .priority = static_cast<uint8_t>(ksl_pvid_priority(word))};
}

VlanEntry vlan_entry_from(uint16_t vid, const uint8_t *bytes) {
    const ksl_vlan_entry entry = ksl_decode_vlan_entry(bytes);
    return {.vid = vid,
            .valid = entry.valid != 0,
            .field = static_cast<uint8_t>(entry.field),
            .upper = entry.upper_map,
            .lower = entry.lower_map};
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
    for (unsigned port = 0; port < expectation.pvids.size(); ++port) {
        list.push_back(record(ksl_pvid_register, register_value(expectation.pvids[port]), port));
    }
    for (const Setting &setting : expectation.registers) {
        list.push_back(record(setting));
    }
    // An entry belongs to the VLAN whose number follows it.
    for (const VlanEntry &entry : expectation.vlans) {
        list.push_back(record(ksl_vlan_table_entry_register, register_value(entry)));
        list.push_back(record(ksl_vlan_table_address_register, kVlanTable | entry.vid));
    }
    // A VLAN that no record names is compared with the last entry of the list: one that is not valid equals none.
    list.push_back(record(ksl_vlan_table_entry_register, 0));
    ksl_cfg_record end{};
    end.end_flag = 1;
    list.push_back(end);
    return list;
}

} // namespace kslcfg
