// SPDX-License-Identifier: Apache-2.0
// The counters of the ports: as a listing, as lines, and for a metrics collector.
#pragma once

#include "kslctl/hub/counter_names.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// A rate in at most seven characters: "999.0", "99999", "100k", "100M", "100G", "1e+19".
std::string rate_text(double rate);

struct CounterView {
    const hub::CounterNames &names;
    bool has_short_rates = false;
};

// Changes also have a line for each port with several counters, for all of them together.
Shown counters(const hub::ChipCounters &counters, const CounterView &view, const Style &style);

// A line for each port with the rates of its counters, and with that of all together, for programs that read lines.
std::string rate_lines(const std::vector<hub::ChipCounters> &chips, const hub::CounterNames &names,
                       const std::string &time);

// OpenMetrics text, as a metrics collector reads it.
std::string openmetrics(const std::vector<hub::ChipCounters> &chips, const hub::CounterNames &names);

} // namespace kslctl::views
