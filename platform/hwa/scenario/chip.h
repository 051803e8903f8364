// SPDX-License-Identifier: Apache-2.0
// One chip of a scenario.
#pragma once

#include "state/image.h"

#include <json/node.h>

namespace hwa {

using json::Node;

// Fills in a chip that is all zero, with a number that was not yet seen. Throws Unusable.
void read_chip(const Node &node, ChipImage &chip, std::set<unsigned> &seen);

} // namespace hwa
