// SPDX-License-Identifier: Apache-2.0
// The MIB counters, which have no other names than their register offsets.
#pragma once

#include "kslctl/arguments.h"
#include "kslctl/report.h"
#include "kslctl/status_bits.h"

#include <array>
#include <chrono>
#include <map>
#include <optional>

namespace kslctl {

struct Counter {
    uint32_t offset;
    size_t length;   // 8 or 4 bytes
    size_t position; // in a port's block
};

// Those that the library reads, by their offsets.
inline constexpr size_t kCounters = 20;
extern const std::array<Counter, kCounters> kCounterTable;

constexpr uint32_t counter_page(uint32_t port) {
    return 0x50 + port;
}

// In the order of the table.
using CounterValues = std::array<uint64_t, kCounters>;

struct CounterReading {
    std::chrono::steady_clock::time_point time;
    std::map<uint32_t, std::optional<CounterValues>> ports; // none: not read
};

// Without ports, all of them by one operation. What cannot be read is reported.
CounterReading read_counters(uint32_t chip, const NumberSet &ports, Report &report);

// As the register's bytes.
Bytes counter_bytes(const Counter &counter, uint64_t value);

// How far a counter came between two readings, at most once around.
uint64_t counter_change(const Counter &counter, uint64_t before, uint64_t now);

// Of a counter in a second.
double counter_rate(uint64_t change, std::chrono::duration<double> time);

} // namespace kslctl
