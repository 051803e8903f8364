// SPDX-License-Identifier: Apache-2.0
// The address table, and how many addresses each port has.
#pragma once

#include "kslctl/hub/addresses.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// The table has a column of VLANs only where they are read.
Shown addresses(const hub::Addresses &addresses, bool with_vlans, const Style &style);

} // namespace kslctl::views
