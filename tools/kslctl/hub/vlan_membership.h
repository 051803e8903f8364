// SPDX-License-Identifier: Apache-2.0
// Which ports a VLAN has, and where that contradicts other registers.
#pragma once

#include <cstdint>
#include <ksl/decode.h>
#include <map>
#include <vector>

namespace kslctl::hub {

// By VLAN. One that is not there is not valid and has no ports.
using VlanEntries = std::map<uint32_t, ksl_vlan_entry>;

// Where the upper map of an entry begins; the lower one begins at bit 0.
inline constexpr uint32_t kUpperMap = 27;

// Whether a port is in one of the maps of a VLAN. Which of them says what is not known here.
bool has_port(const ksl_vlan_entry &vlan, uint32_t port);

bool is_valid(const VlanEntries &vlans, uint32_t vid);

// Whether the VLAN is valid and has the port in neither map.
bool leaves_out(const VlanEntries &vlans, uint32_t vid, uint32_t port);

// Those that have the port and are valid, or are not.
std::vector<uint32_t> valid_vlans_with(const VlanEntries &vlans, uint32_t port);
std::vector<uint32_t> invalid_vlans_with(const VlanEntries &vlans, uint32_t port);

} // namespace kslctl::hub
