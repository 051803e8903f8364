// SPDX-License-Identifier: Apache-2.0
// VLANs down, ports across.
#pragma once

#include "kslctl/hub/vlan_matrix.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// Lines of at most 80 columns: a row for each VLAN, what its signs mean, and the contradictions.
Shown vlan_matrix(const hub::VlanMatrix &matrix, const Style &style);

} // namespace kslctl::views
