// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/counters.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/core.h>
#include <numeric>
#include <tuple>

namespace kslctl::hub {

namespace {

using Block = ksl_mib_port_block;

// What a block holds that was not read. A port whose counters really hold it is only read twice.
constexpr int kUntouchedByte = 0xA5;

bool is_untouched(const Block &block) {
    Block untouched;
    std::memset(&untouched, kUntouchedByte, sizeof untouched);
    return std::memcmp(&block, &untouched, sizeof block) == 0;
}

std::vector<CounterValue> values_of(const Block &block) {
    std::vector<CounterValue> values;
    for (const Counter &counter : kCounters) {
        const auto *const bytes = reinterpret_cast<const uint8_t *>(&block) + counter.position;
        values.push_back({&counter, std::accumulate(bytes, bytes + counter.length, uint64_t{0},
                                                    [](uint64_t value, uint8_t byte) { return value << 8 | byte; })});
    }
    return values;
}

Bytes bytes_of(const CounterValue &counter) {
    Bytes bytes{};
    for (size_t i = 0; i < counter.which->length; ++i) {
        bytes[i] = static_cast<uint8_t>(counter.value >> 8 * (counter.which->length - 1 - i));
    }
    return bytes;
}

std::string describe_counters(const std::vector<uint32_t> &ports) {
    const std::string page = ports.size() == 1 ? fmt::format("0x{:02x}", KSL_COUNTER_PAGE + ports[0])
                                               : fmt::format("0x{:02x} + port", KSL_COUNTER_PAGE);
    return fmt::format("counters of {} (page {})", describe_ports(ports), page);
}

double in_tenths(double rate) {
    return std::round(rate * 10) / 10;
}

// A sum that has no room is as large as there is room for.
uint64_t sum_of(uint64_t a, uint64_t b) {
    return a > UINT64_MAX - b ? UINT64_MAX : a + b;
}

// By what ports are sorted.
uint64_t amount(const std::vector<CounterValue> &counters, const Counter *by, bool of_changes) {
    uint64_t sum = 0;
    for (const CounterValue &counter : counters) {
        if (by == nullptr || counter.which == by) {
            sum = sum_of(sum, !of_changes ? counter.value : counter.change.is_read() ? counter.change->by : 0);
        }
    }
    return sum;
}

// An unknown change may be any.
bool is_zero(const CounterValue &counter) {
    return counter.change.failure() == nullptr && (counter.change.is_read() ? counter.change->by : counter.value) == 0;
}

} // namespace

#define KSLCTL_COUNTER(digits)                                                                                         \
    { 0x##digits, sizeof(Block::counter_##digits), offsetof(Block, counter_##digits) }
const std::array<Counter, kCounterCount> kCounters = {{
    KSLCTL_COUNTER(00), KSLCTL_COUNTER(08), KSLCTL_COUNTER(18), KSLCTL_COUNTER(1c), KSLCTL_COUNTER(30),
    KSLCTL_COUNTER(38), KSLCTL_COUNTER(50), KSLCTL_COUNTER(54), KSLCTL_COUNTER(58), KSLCTL_COUNTER(5c),
    KSLCTL_COUNTER(60), KSLCTL_COUNTER(64), KSLCTL_COUNTER(68), KSLCTL_COUNTER(70), KSLCTL_COUNTER(74),
    KSLCTL_COUNTER(78), KSLCTL_COUNTER(7c), KSLCTL_COUNTER(88), KSLCTL_COUNTER(90), KSLCTL_COUNTER(98),
}};

const Counter *counter_at(uint32_t offset) {
    const auto *const found = std::find_if(kCounters.begin(), kCounters.end(),
                                           [offset](const Counter &counter) { return counter.offset == offset; });
    return found == kCounters.end() ? nullptr : found;
}
#undef KSLCTL_COUNTER

ChipCounters read_counters(uint32_t chip, std::span<const uint32_t> ports, Failures &failures) {
    std::array<Block, KSL_PORTS> blocks;
    std::memset(blocks.data(), kUntouchedByte, sizeof blocks);
    ChipCounters reading{.chip = chip, .time = std::chrono::steady_clock::now(), .ports = {}};
    std::vector<uint32_t> wanted(ports.begin(), ports.end());
    if (wanted.empty()) {
        wanted = all_ports();
        // It returns the code of the last port only; the blocks show which others failed.
        ksl_read_MIB_counters(chip, blocks.data());
    }
    std::map<int32_t, std::vector<uint32_t>> failed;
    for (const uint32_t port : wanted) {
        // Read alone, a port gives its own code.
        const int32_t code = is_untouched(blocks[port]) ? ksl_read_MIB_counters_at_port(chip, port, blocks.data()) : 0;
        if (code == 0) {
            reading.ports[port] = values_of(blocks[port]);
        } else {
            failed[code].push_back(port);
        }
    }
    for (const auto &[code, failed_ports] : failed) {
        const Failure &failure =
            note(failures, {chip, "ksl_read_MIB_counters_at_port", describe_counters(failed_ports), code});
        for (const uint32_t port : failed_ports) {
            reading.ports[port] = failure;
        }
    }
    return reading;
}

uint64_t distance(const Counter &which, uint64_t before, uint64_t now) {
    const size_t unused_bits = 64 - 8 * which.length;
    return (now - before) << unused_bits >> unused_bits;
}

ChipCounters changes_since(const ChipCounters &before, ChipCounters now) {
    const Seconds since = now.time - before.time;
    now.since = since;
    for (auto &[port, counters] : now.ports) {
        const Fact<std::vector<CounterValue>> &earlier = before.ports.at(port);
        counters = counters.map([&](std::vector<CounterValue> values) {
            for (size_t i = 0; i < values.size(); ++i) {
                values[i].change = earlier.map([&](const std::vector<CounterValue> &old) {
                    const uint64_t by = distance(*old[i].which, old[i].value, values[i].value);
                    return CounterChange{by, in_tenths(static_cast<double>(by) / since.count())};
                });
            }
            return values;
        });
    }
    return now;
}

ChipCounters moved_since(const ChipCounters &before, Failures &failures) {
    std::vector<uint32_t> read;
    for (const auto &[port, counters] : before.ports) {
        if (counters.is_read()) {
            read.push_back(port);
        }
    }
    ChipCounters now = before;
    now.time = std::chrono::steady_clock::now();
    if (!read.empty()) {
        // All ports by one operation.
        const std::span<const uint32_t> ports = read.size() < KSL_PORTS ? read : std::span<const uint32_t>();
        ChipCounters again = read_counters(before.chip, ports, failures);
        now.time = again.time;
        again.ports.merge(now.ports);
        now.ports = std::move(again.ports);
    }
    return without_zeros(changes_since(before, std::move(now)));
}

Fact<CounterChange> total_of(const std::vector<CounterValue> &counters) {
    Fact<CounterChange> total;
    for (const CounterValue &counter : counters) {
        if (total.is_read() && counter.change.is_read()) {
            total = CounterChange{sum_of(total->by, counter.change->by),
                                  in_tenths(total->per_second + counter.change->per_second)};
        } else if (!total.is_read()) {
            total = counter.change;
        }
    }
    return total;
}

ChipCounters sorted(ChipCounters counters, const Counter *by, std::optional<size_t> most) {
    using Key = std::tuple<bool, uint64_t, uint32_t>;
    std::vector<Key> keys;
    for (const auto &[port, values] : counters.ports) {
        const uint64_t large = values.is_read() ? amount(*values, by, counters.since.has_value()) : 0;
        keys.emplace_back(!values.is_read(), UINT64_MAX - large, port);
    }
    std::sort(keys.begin(), keys.end());
    keys.resize(std::min(keys.size(), most.value_or(keys.size())));
    counters.order.clear();
    std::transform(keys.begin(), keys.end(), std::back_inserter(counters.order),
                   [](const Key &key) { return std::get<uint32_t>(key); });
    return counters;
}

std::vector<uint32_t> ports_of(const ChipCounters &counters) {
    std::vector<uint32_t> ports = counters.order;
    if (ports.empty()) {
        std::transform(counters.ports.begin(), counters.ports.end(), std::back_inserter(ports),
                       [](const auto &each) { return each.first; });
    }
    return ports;
}

ChipCounters without_zeros(ChipCounters counters) {
    for (auto &[port, of_port] : counters.ports) {
        of_port = of_port.map([](std::vector<CounterValue> values) {
            std::erase_if(values, is_zero);
            return values;
        });
    }
    return counters;
}

std::vector<Reading> registers_of(const ChipCounters &counters) {
    std::vector<Reading> readings;
    for (const auto &[port, of_port] : counters.ports) {
        for (const CounterValue &counter : of_port.is_read() ? *of_port : values_of({})) {
            const Fact<Bytes> bytes = of_port.map([&](const auto &) { return bytes_of(counter); });
            readings.push_back({"counter",
                                {{"port", port}},
                                KSL_COUNTER_PAGE + port,
                                counter.which->offset,
                                counter.which->length,
                                bytes});
        }
    }
    return readings;
}

} // namespace kslctl::hub
