// SPDX-License-Identifier: Apache-2.0
// How the VLAN registers are read. What cannot be read is reported and left out.
#pragma once

#include "kslctl/report.h"
#include "kslctl/status_bits.h"

#include <array>
#include <ksl/ksl.h>
#include <map>
#include <optional>

namespace kslctl {

// By port. A read that fails also ends the reading.
using Pvids = std::array<std::optional<Bytes>, KSL_PORTS>;
Pvids read_pvids(uint32_t chip, Report &report);

std::optional<Bytes> read_vlan_enable(uint32_t chip, Report &report);
// Whether VLAN support is on.
bool vlan_enabled(const Bytes &bytes);

std::optional<Bytes> read_vlan_entry(uint32_t chip, uint32_t vid, Report &report);

// The valid entries of the whole table by VLAN; none where one could not be read.
std::optional<std::map<uint32_t, Bytes>> read_vlan_table(uint32_t chip, Report &report);
bool is_valid(const Bytes &vlan_entry);

} // namespace kslctl
