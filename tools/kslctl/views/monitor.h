// SPDX-License-Identifier: Apache-2.0
// What changed at a chip, for those who read lines or documents.
#pragma once

#include "kslctl/hub/monitor.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// The differences of one look at a chip. `simulated` is for failures, whose codes it explains. The text is a line for
// the chip, for each port and for each read that fails or works again; each begins with the time.
Shown differences(uint32_t chip, const hub::Differences &differences, const std::string &time, bool simulated);

} // namespace kslctl::views
