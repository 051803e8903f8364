// SPDX-License-Identifier: Apache-2.0
// The chips of the hub.
#pragma once

#include "kslctl/hub/chips.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// A row for each; for programs a list of objects.
Shown chips(const std::vector<hub::ChipSummary> &chips, const Style &style);

} // namespace kslctl::views
