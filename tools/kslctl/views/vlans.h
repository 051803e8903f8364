// SPDX-License-Identifier: Apache-2.0
// The VLAN settings of a chip.
#pragma once

#include "kslctl/hub/vlans.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// A part of it, or all three.
Shown vlan_enable(const hub::VlanState &state, const Style &style);
Shown pvids(const hub::VlanState &state, const Style &style);
Shown vlan_entries(const hub::VlanState &state, const Style &style);
Shown vlans(const hub::VlanState &state, const Style &style);

Shown extended_vlan_control(const hub::Reading &reading, const Style &style);

// Above a picture: where bits 0, 5, 10, 15, 20 and 25 are.
inline constexpr std::string_view kMapRuler = "0    5    10   15   20   25";
// A port map: its 27 bits as columns, bit 0 first; for programs the numbers of the bits that are 1.
Cell port_map(uint32_t map);
// For programs: valid, field and both maps.
Json vlan_entry(const hub::Fact<ksl_vlan_entry> &entry);

} // namespace kslctl::views
