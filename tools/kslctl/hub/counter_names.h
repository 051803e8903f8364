// SPDX-License-Identifier: Apache-2.0
// Names of counters, which the library does not know: they come from a file.
#pragma once

#include "kslctl/hub/counters.h"

#include <map>
#include <string>
#include <string_view>

namespace kslctl::hub {

struct CounterName {
    std::string name;
    std::string unit; // empty: not known
    bool is_error;    // what it counts should not happen

    bool operator==(const CounterName &) const = default;
};

// By the offset of the counter.
using CounterNames = std::map<uint32_t, CounterName>;

// "total" stands for all counters together.
inline constexpr std::string_view kTotal = "total";

// Both throw json::Unusable, with the line and the column of the first mistake.
CounterNames parse_counter_names(std::string_view text);
CounterNames load_counter_names(const std::string &path);

// Null without a name.
const CounterName *name_of(const Counter &counter, const CounterNames &names);
// Its name, or else its offset: "0x50".
std::string label_of(const Counter &counter, const CounterNames &names);
// The counter with that name; null if there is none.
const Counter *counter_named(std::string_view name, const CounterNames &names);

bool is_error(const Counter &counter, const CounterNames &names);
bool has_errors(const CounterNames &names);

} // namespace kslctl::hub
