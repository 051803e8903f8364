// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state/image.h"

namespace hwa {

// Resets a chip to its start, but with all counters at 0 and no address heard yet.
void reset(ChipImage &chip, const ChipImage &start);

} // namespace hwa
