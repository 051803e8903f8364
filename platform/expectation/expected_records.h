// SPDX-License-Identifier: Apache-2.0
// What the records of a configuration library say, read as libksl reads them.
#pragma once

#include <array>
#include <cstdint>
#include <ksl/ksl.h>

namespace kslcfg {

// The value of a record; a register that is shorter than it has its bytes first.
using RecordValue = std::array<uint8_t, sizeof(ksl_cfg_record::value)>;

// Whether a record is the one that ends a list.
bool is_last(const ksl_cfg_record &record);

// The 2 bytes of the PVID registers by port: the last record of a port counts, and a port without one has zeros.
std::array<RecordValue, KSL_PORTS> expected_pvids(const ksl_cfg_record *records);

struct ExpectedVlanEntry {
    RecordValue bytes{};
    bool named = false; // by a record; else the bytes are those of the list's last entry, or zeros
};

// The VLAN table entry that libksl compares with a VLAN's: the last one before the first record that names the VLAN.
ExpectedVlanEntry expected_vlan_entry(const ksl_cfg_record *records, uint32_t vid);

} // namespace kslcfg
