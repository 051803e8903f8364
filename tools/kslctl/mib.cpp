// SPDX-License-Identifier: Apache-2.0
#include "kslctl/mib.h"

#include "kslctl/forwarding_registers.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/core.h>
#include <ksl/ksl.h>
#include <numeric>

namespace kslctl {

namespace {

using Block = ksl_mib_port_block;
using Blocks = std::array<Block, KSL_PORTS>;

// What a block holds that was not read. A port whose counters are really so is only read twice.
constexpr int kUntouchedByte = 0xA5;

bool is_untouched(const Block &block) {
    Block untouched;
    std::memset(&untouched, kUntouchedByte, sizeof untouched);
    return std::memcmp(&block, &untouched, sizeof block) == 0;
}

CounterValues values_of(const Block &block) {
    const auto *const bytes = reinterpret_cast<const uint8_t *>(&block);
    const auto value_of = [bytes](const Counter &counter) {
        uint64_t value = 0;
        for (size_t i = 0; i < counter.length; ++i) {
            value = value << 8 | bytes[counter.position + i];
        }
        return value;
    };
    CounterValues values{};
    std::transform(kCounterTable.begin(), kCounterTable.end(), values.begin(), value_of);
    return values;
}

// Many ports fail for the same reason.
void report_failures(uint32_t chip, const std::map<int32_t, NumberSet> &ports_by_code, Report &report) {
    for (const auto &[code, ports] : ports_by_code) {
        const auto add_bit = [](uint32_t bits, uint32_t port) { return bits | 1U << port; };
        const uint32_t bits = std::accumulate(ports.begin(), ports.end(), uint32_t{0}, add_bit);
        const std::string page = ports.size() == 1 ? fmt::format("0x{:02x}", counter_page(ports[0])) : "0x50 + port";
        const std::string about = fmt::format("counters of {} (page {})", ports_text(bits), page);
        report.fail({chip, "ksl_read_MIB_counters_at_port", about, code});
    }
}

} // namespace

const std::array<Counter, kCounters> kCounterTable = {{
    {0x00, 8, offsetof(Block, counter_00)}, {0x08, 4, offsetof(Block, counter_08)},
    {0x18, 4, offsetof(Block, counter_18)}, {0x1C, 4, offsetof(Block, counter_1c)},
    {0x30, 4, offsetof(Block, counter_30)}, {0x38, 4, offsetof(Block, counter_38)},
    {0x50, 4, offsetof(Block, counter_50)}, {0x54, 4, offsetof(Block, counter_54)},
    {0x58, 4, offsetof(Block, counter_58)}, {0x5C, 4, offsetof(Block, counter_5c)},
    {0x60, 4, offsetof(Block, counter_60)}, {0x64, 4, offsetof(Block, counter_64)},
    {0x68, 4, offsetof(Block, counter_68)}, {0x70, 4, offsetof(Block, counter_70)},
    {0x74, 4, offsetof(Block, counter_74)}, {0x78, 4, offsetof(Block, counter_78)},
    {0x7C, 8, offsetof(Block, counter_7c)}, {0x88, 4, offsetof(Block, counter_88)},
    {0x90, 4, offsetof(Block, counter_90)}, {0x98, 4, offsetof(Block, counter_98)},
}};

CounterReading read_counters(uint32_t chip, const NumberSet &ports, Report &report) {
    Blocks blocks;
    std::memset(blocks.data(), kUntouchedByte, sizeof blocks);
    CounterReading reading{std::chrono::steady_clock::now(), {}};
    if (ports.empty()) {
        // Its result is that of the last port alone; the blocks tell of each.
        ksl_read_MIB_counters(chip, blocks.data());
    }
    std::map<int32_t, NumberSet> failures;
    for (const uint32_t port : or_all_ports(ports)) {
        // By itself a port tells why it cannot be read.
        const int32_t code = is_untouched(blocks[port]) ? ksl_read_MIB_counters_at_port(chip, port, blocks.data()) : 0;
        if (code != 0) {
            failures[code].push_back(port);
        }
        reading.ports[port] = code == 0 ? std::optional(values_of(blocks[port])) : std::nullopt;
    }
    report_failures(chip, failures, report);
    return reading;
}

Bytes counter_bytes(const Counter &counter, uint64_t value) {
    Bytes bytes{};
    for (size_t i = 0; i < counter.length; ++i) {
        bytes[i] = static_cast<uint8_t>(value >> 8 * (counter.length - 1 - i));
    }
    return bytes;
}

uint64_t counter_change(const Counter &counter, uint64_t before, uint64_t now) {
    const uint64_t change = now - before;
    return counter.length == sizeof(uint64_t) ? change : change & 0xFFFFFFFF;
}

double counter_rate(uint64_t change, std::chrono::duration<double> time) {
    // Tenths are as good as the clock.
    return std::round(static_cast<double>(change) / time.count() * 10) / 10;
}

} // namespace kslctl
