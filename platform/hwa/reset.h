// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image.h"

namespace hwa {

// Makes a chip what it is after a reset: as it was at the start, but nothing counted and no address heard yet.
void reset(ChipImage &chip, const ChipImage &start);

} // namespace hwa
