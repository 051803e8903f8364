// SPDX-License-Identifier: Apache-2.0
// What the records of a configuration library say, read as libksl reads them.
#pragma once

#include "kslctl/status_bits.h"

#include <array>
#include <ksl/ksl.h>

namespace kslctl {

// The PVID registers by port; zero for a port that no record names.
std::array<Bytes, KSL_PORTS> expected_pvids(const ksl_cfg_record *records);

struct ExpectedVlanEntry {
    Bytes bytes;
    bool named; // by a record; else it is the last entry of the list, or zero
};
ExpectedVlanEntry expected_vlan_entry(const ksl_cfg_record *records, uint32_t vid);

} // namespace kslctl
