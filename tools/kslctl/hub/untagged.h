// SPDX-License-Identifier: Apache-2.0
// Where frames without a tag get to when PVIDs are changed.
#pragma once

#include "kslctl/hub/changes.h"

namespace kslctl::hub {

struct UntaggedTrouble {
    bool is_valid;               // the VLAN
    std::vector<uint32_t> ports; // in none of its maps; all that got it if it is not valid

    bool operator==(const UntaggedTrouble &) const = default;
};

// After set_pvid(): what is wrong with the VLAN for the ports that got it, or in a dry run would get it. Means nothing
// while VLAN support is off, and if nothing is wrong.
Fact<UntaggedTrouble> read_untagged_trouble(uint32_t chip, uint32_t vid, const Changes &changes, Failures &failures);

} // namespace kslctl::hub
