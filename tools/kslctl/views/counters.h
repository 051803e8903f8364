// SPDX-License-Identifier: Apache-2.0
// The counters of the ports: as a listing, as lines, and for a metrics collector.
#pragma once

#include "kslctl/hub/counters.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

Shown counters(const hub::ChipCounters &counters, const Style &style);

// A line for each port with the rates of its counters, for programs that read lines.
std::string rate_lines(const std::vector<hub::ChipCounters> &chips, const std::string &time);

// OpenMetrics text, as a metrics collector reads it.
std::string openmetrics(const std::vector<hub::ChipCounters> &chips);

} // namespace kslctl::views
