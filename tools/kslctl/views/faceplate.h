// SPDX-License-Identifier: Apache-2.0
// Chips as their faceplates, and the busiest or worst of their ports, as a picture of a given size.
#pragma once

#include "kslctl/hub/monitor.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

struct Frame {
    size_t rows;
    size_t columns;
    hub::Order order = hub::Order::busiest;
    bool is_paused = false;
    std::string time{};
    hub::Seconds interval{};
    bool simulated = false;
    hub::CounterNames names{};
};

// As many lines as the frame has rows, none wider than it, without an end of the last line. What has no room is counted
// in a line of its own.
std::string picture(const std::vector<hub::Seen> &chips, const Frame &frame, const Style &style);

} // namespace kslctl::views
