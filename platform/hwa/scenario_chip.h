// SPDX-License-Identifier: Apache-2.0
// One chip of a scenario.
#pragma once

#include "image.h"
#include "json_node.h"

namespace hwa {

// Fills in a chip that is all zero, with a number that was not yet seen. Throws Unusable naming the key that is wrong.
void read_chip(const JsonNode &node, ChipImage &chip, std::set<unsigned> &seen);

} // namespace hwa
