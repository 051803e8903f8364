// SPDX-License-Identifier: Apache-2.0
// A chip looked at again and again: what is seen in a look, and what changed since the looks before.
#pragma once

#include "kslctl/hub/counter_names.h"
#include "kslctl/hub/forwarding.h"
#include "kslctl/hub/status.h"

#include <chrono>
#include <map>
#include <variant>

namespace kslctl::hub {

using TimePoint = std::chrono::steady_clock::time_point;
using PortNumbers = std::vector<uint32_t>;

struct Look {
    uint32_t chip;
    TimePoint time{};
    Fact<SelfTest> self_test{};
    Fact<Mode> mode{};
    Fact<bool> trunks{}; // whether trunk control is on
    Fact<TrunkGroup> trunk_group{};
    Fact<MirrorControl> mirror{};
    Fact<PortNumbers> ingress_mirrored{};
    Fact<PortNumbers> egress_mirrored{};
    std::vector<PortStatus> ports{}; // those that were asked for, in ascending order
    std::optional<ChipCounters> counters{};
    Failures failures{};
};

// A chip of which nothing is known yet.
Look unseen(uint32_t chip, std::span<const uint32_t> ports);

enum class WithCounters { no, yes };

// Leaves the link change register alone: reading it would take the marks away from other readers.
Look look_at(uint32_t chip, std::span<const uint32_t> ports, WithCounters with_counters);

// ---- What changed ----

using SeenValue = std::variant<bool, uint32_t, Duplex, SelfTest, Mode, TrunkGroup, MirrorControl, PortNumbers>;

// A value that is read now and was another one, or was not known.
struct Difference {
    const Register *which;
    std::optional<uint32_t> port; // none: of the whole chip
    Fact<SeenValue> before;
    SeenValue now;

    bool operator==(const Difference &) const = default;
};

struct Differences {
    std::vector<Difference> values; // of the chip, then of its ports in their order
    Failures begun;                 // reads that failed, and did not fail in this way before
    Failures ended;                 // reads that failed before, and do not fail now

    bool empty() const { return values.empty() && begun.empty() && ended.empty(); }
};

// `before` has the same ports. A value that is not read now, or means nothing now, is no difference.
Differences differences(const Look &before, const Look &now);

// ---- What is known after several looks ----

struct Seen {
    Look last;                            // its counters have their changes since the look before
    Look known;                           // for each value, the last one that was read
    std::map<uint32_t, TimePoint> lost{}; // when a port was first seen without the link that it had

    Seen(uint32_t chip, std::span<const uint32_t> ports) : last(unseen(chip, ports)), known(last) {}
};

// Adds a look, and returns what it changes.
Differences see(Seen &seen, Look look);

// ---- The ports of several chips as one list ----

enum class MirrorRole { none, mirrored, capture };

struct SeenPort {
    uint32_t chip;
    PortStatus status;
    Fact<bool> failed;   // its self-test
    Fact<bool> in_trunk; // of a trunk group that is on
    Fact<MirrorRole> mirroring;
    Fact<std::vector<CounterValue>> counters; // means nothing if counters were not asked for
    std::optional<Seconds> lost;              // how long ago it lost its link, if that was lately
    uint64_t errors = 0;                      // since the look before, by the counters that are named so

    bool is_unread() const;
    double rate() const; // of all its counters
};

inline constexpr std::chrono::seconds kLately{60};

std::vector<SeenPort> seen_ports(const Seen &seen, const CounterNames &names = {});

enum class Order { busiest, by_number, worst };

// The worst ports are those that were not read, then those whose self-test failed, then those that lost their link
// lately, the last one first, then those that count errors, most first.
void sort(std::vector<SeenPort> &ports, Order order);

} // namespace kslctl::hub
