// SPDX-License-Identifier: Apache-2.0
#include "reset.h"

#include "ports.h"

namespace hwa {

void reset(ChipImage &chip, const ChipImage &start) {
    chip = start;
    for (std::size_t port = 0; port < kPorts; ++port)
        chip.pages[kCounterPage + port].fill(0);
    chip.was_reset = 1;
}

} // namespace hwa
