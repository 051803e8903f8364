// SPDX-License-Identifier: Apache-2.0
// Values of registers from the fields that files have. <ksl/decode.h> has the way back.
#pragma once

#include <ksl/decode.h>

constexpr uint32_t pvid_value(uint32_t vid, uint32_t priority) {
    return priority << 13 | vid;
}

constexpr uint64_t vlan_entry_value(const ksl_vlan_entry &entry) {
    return uint64_t{entry.valid} << 59 | uint64_t{entry.field} << 54 | uint64_t{entry.upper_map} << 27 |
           entry.lower_map;
}
