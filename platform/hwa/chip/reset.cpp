// SPDX-License-Identifier: Apache-2.0
#include "chip/reset.h"

#include <ksl/registers.h>

namespace hwa {

void reset(ChipImage &chip, const ChipImage &start) {
    chip = start;
    for (size_t port = 0; port < kPorts; ++port) {
        chip.pages[KSL_COUNTER_PAGE + port].fill(0);
    }
    chip.was_reset = 1;
}

} // namespace hwa
