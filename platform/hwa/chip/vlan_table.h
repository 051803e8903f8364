// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state/image.h"

namespace hwa {

// The entry of the VLAN table that the address register selects, or null.
const VlanEntry *addressed(const VlanImage &vlan);

} // namespace hwa
