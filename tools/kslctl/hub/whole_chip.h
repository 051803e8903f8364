// SPDX-License-Identifier: Apache-2.0
// The state of a chip and all its settings: what is needed to build the same chip again.
#pragma once

#include "kslctl/hub/addresses.h"
#include "kslctl/hub/status.h"
#include "kslctl/hub/vlans.h"

namespace kslctl::hub {

// Every fact is read. Counters are not part of it.
struct WholeChip {
    uint32_t chip;
    ChipStatus status;
    std::vector<Reading> phy_controls;  // by port
    std::vector<Reading> port_controls; // by port
    Pvids pvids;
    Fact<Bytes> vlan_enable;
    Fact<VlanTable> vlans;
    std::vector<Address> addresses;
    std::vector<Reading> settings; // all others, also those that are zero
};

// None if something could not be read. Nothing is read after a kind of facts that has a failure.
std::optional<WholeChip> read_whole_chip(uint32_t chip, Failures &failures);

// The VLAN settings that an expected configuration is made of.
struct VlanSettings {
    uint32_t chip;
    Pvids pvids;
    Fact<VlanTable> vlans;
};

std::optional<VlanSettings> read_vlan_settings(uint32_t chip, Failures &failures);

} // namespace kslctl::hub
