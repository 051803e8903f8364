// SPDX-License-Identifier: Apache-2.0
// What there is to know about a chip and some of its ports, for a diagnosis.
#pragma once

#include "kslctl/hub/counter_names.h"
#include "kslctl/hub/forwarding.h"
#include "kslctl/hub/link_watch.h"
#include "kslctl/hub/ports.h"
#include "kslctl/hub/vlan_membership.h"
#include "kslctl/hub/vlans.h"

namespace kslctl::hub {

// How far a counter moved that is named as one of errors.
struct ErrorCount {
    std::string name;
    uint32_t offset;
    uint64_t by;
};

struct PortFacts {
    PortStatus status;
    Fact<PortControl> control;
    Fact<PhyControl> phy;
    Fact<Pvid> pvid;
    Fact<uint32_t> learned;
    Fact<uint32_t> learning_limit;
    Fact<uint32_t> link_changes;            // within the watch; means nothing without one
    Fact<std::vector<ErrorCount>> errors{}; // those that moved within it; means nothing without names of errors
};

struct ChipFacts {
    bool by_number; // the ports were asked for by their numbers, so that each of them is meant to be in use
    ChipStatus status;
    Mirroring mirroring;
    Trunks trunks;
    Fact<bool> vlans_enabled;
    Fact<VlanEntries> vlans; // those that are valid or have ports; means nothing while VLAN support is off
    std::vector<PortFacts> ports;
};

using Time = std::chrono::duration<double>;

// Without ports, those of the whole chip. With a time, the links are watched first, and so are counters that are named
// as errors.
ChipFacts read_chip_facts(uint32_t chip, std::span<const uint32_t> ports, std::optional<Time> watch, Failures &failures,
                          const CounterNames &names = {});

// Adds the errors to the facts, if there are names of errors. `moved` has the counters of the same ports that moved.
void add_errors(ChipFacts &facts, const ChipCounters &moved, const CounterNames &names);

// The capture ports while mirroring is on.
Fact<std::vector<uint32_t>> mirror_targets(const ChipFacts &chip);

// The members of group 0 while trunks are on and its flag is set. The library reads no other group.
Fact<std::vector<uint32_t>> trunk_members(const ChipFacts &chip);

// The valid VLANs that have the port, while VLAN support is on.
Fact<std::vector<uint32_t>> vlans_of(const ChipFacts &chip, uint32_t port);

} // namespace kslctl::hub
