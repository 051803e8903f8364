// SPDX-License-Identifier: Apache-2.0
// The counters of the ports, which have no other names than their offsets in their port's page.
#pragma once

#include "kslctl/hub/registers.h"

#include <chrono>
#include <ksl/ksl.h>
#include <map>

namespace kslctl::hub {

struct Counter {
    uint32_t offset;
    size_t length;   // 8 or 4 bytes
    size_t position; // in a port's block
};

// Those that the library reads, by their offsets.
inline constexpr size_t kCounterCount = 20;
extern const std::array<Counter, kCounterCount> kCounters;

// Null if the library reads none there.
const Counter *counter_at(uint32_t offset);

using Seconds = std::chrono::duration<double>;

struct CounterChange {
    uint64_t by;
    double per_second; // in tenths

    bool operator==(const CounterChange &) const = default;
};

struct CounterValue {
    const Counter *which;
    uint64_t value;
    Fact<CounterChange> change = {}; // since an earlier reading; means nothing without one
};

struct ChipCounters {
    uint32_t chip;
    std::chrono::steady_clock::time_point time;
    std::map<uint32_t, Fact<std::vector<CounterValue>>> ports; // the counters by their offsets
    std::optional<Seconds> since = std::nullopt;               // how long ago the earlier reading was
    std::vector<uint32_t> order{};                             // those to show; empty: all by their numbers
};

// Without ports, all of them by one operation. One failure is noted for all ports that fail with the same code.
ChipCounters read_counters(uint32_t chip, std::span<const uint32_t> ports, Failures &failures);

// A reading with what changed since an earlier one of the same ports.
ChipCounters changes_since(const ChipCounters &before, ChipCounters now);

// How far a counter came, if it wrapped around at most once.
uint64_t distance(const Counter &which, uint64_t before, uint64_t now);

// What moved since an earlier reading. A port that failed then is not read again.
ChipCounters moved_since(const ChipCounters &before, Failures &failures);

// All counters of a port together, whatever they count: how busy it is. Those whose change is not known are left out;
// without a known one it is not known either.
Fact<CounterChange> total_of(const std::vector<CounterValue> &counters);

// Ports by a counter or, without one, by all together: by the change if these are changes, else by the value. The
// largest comes first; a port that was not read comes last. At most so many are kept in the order.
ChipCounters sorted(ChipCounters counters, const Counter *by, std::optional<size_t> most);

// The ports to show.
std::vector<uint32_t> ports_of(const ChipCounters &counters);

// Without the counters that are 0, or if these are changes, without those that did not change.
ChipCounters without_zeros(ChipCounters counters);

std::vector<Reading> registers_of(const ChipCounters &counters);

} // namespace kslctl::hub
