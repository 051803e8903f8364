// SPDX-License-Identifier: Apache-2.0
// VLANs and all ports at once, and where PVIDs and the VLAN table contradict each other.
#pragma once

#include "kslctl/hub/rules.h"

namespace kslctl::hub {

// What a rule of the diagnosis finds, at all ports that one VLAN concerns.
struct Contradiction {
    const Rule *rule;
    uint32_t vid;
    std::vector<uint32_t> ports;
};

struct VlanMatrix {
    // Of all ports. The entry of a VLAN that the table cannot have means nothing.
    VlanState state;
    // Also while VLAN support is off. What was not read contradicts nothing.
    std::vector<Contradiction> contradictions;
    // Why the VLAN table was not read. Only the VLANs of the PVIDs are known then.
    std::optional<Failure> unread_table{};
};

// Without VLANs: the valid ones, those that have ports, and those of the PVIDs.
VlanMatrix read_vlan_matrix(uint32_t chip, std::span<const uint32_t> vids, Failures &failures);

} // namespace kslctl::hub
