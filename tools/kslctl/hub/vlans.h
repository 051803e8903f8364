// SPDX-License-Identifier: Apache-2.0
// The VLAN settings of a chip, and what can be changed in them.
#pragma once

#include "kslctl/hub/changes.h"

#include <ksl/decode.h>
#include <map>

namespace kslctl::hub {

// The VLANs that the table has entries for.
inline constexpr uint32_t kFirstVlan = 1;
inline constexpr uint32_t kLastVlan = 4094;

struct Pvid {
    uint32_t vid;
    uint32_t priority;

    bool operator==(const Pvid &) const = default;
};

// By port, all by one operation. A failure ends the reading. One by one, read(registers::pvid) reads them.
using Pvids = std::array<Fact<Bytes>, KSL_PORTS>;
Pvids read_pvids(uint32_t chip, Failures &failures);

// Its bytes; ksl_decode_vlan_entry() takes them apart.
Fact<Bytes> read_vlan_entry(uint32_t chip, uint32_t vid, Failures &failures);

// Entries of the whole table by VLAN. The first failure ends the reading.
using VlanTable = std::map<uint32_t, Bytes>;
enum class VlanChoice { valid, valid_or_with_ports };
Fact<VlanTable> read_vlan_table(uint32_t chip, Failures &failures, VlanChoice choice = VlanChoice::valid);

struct PortPvid {
    uint32_t port;
    Fact<Pvid> pvid;
};

struct VlanEntry {
    uint32_t vid;
    Fact<ksl_vlan_entry> entry;
};

// What was not asked for means nothing, or is empty.
struct VlanState {
    Fact<bool> enabled{};
    std::vector<PortPvid> ports{};
    std::vector<VlanEntry> entries{}; // in ascending order
    std::vector<Reading> registers{}; // in the order in which they were read
};

// Each adds something to a state that has nothing of that kind yet. A VLAN that the table cannot have has no register.
void add_pvids(VlanState &state, uint32_t chip, std::span<const uint32_t> ports, Failures &failures);
void add_entries(VlanState &state, uint32_t chip, std::span<const uint32_t> vids, Failures &failures);
void add_entry(VlanState &state, uint32_t vid, const Fact<Bytes> &bytes);

VlanState read_vlan_enable(uint32_t chip, Failures &failures);
VlanState read_pvids_of(uint32_t chip, std::span<const uint32_t> ports, Failures &failures);
VlanState read_vlan_entries(uint32_t chip, std::span<const uint32_t> vids, Failures &failures);
// All of these: the entries of the VLANs among the PVIDs, or all valid ones.
VlanState read_vlan_state(uint32_t chip, bool whole_table, Failures &failures);

// Any index is taken, since only the low 8 bits of the offset count. The first 24 registers are the PVIDs of the ports.
Reading read_extended_vlan_control(uint32_t chip, uint32_t index, Failures &failures);

// For change_ports(). Without a priority, a port keeps the one that it has.
Change set_pvid(uint32_t vid, std::optional<uint32_t> priority);

// What the bits mean.
bool decode_vlan_enable(const Bytes &bytes);
Pvid decode_pvid(const Bytes &bytes);
Bytes pvid_bytes(const Pvid &pvid);

} // namespace kslctl::hub
