// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/link_watch.h"

#include <algorithm>
#include <cmath>
#include <ksl/decode.h>
#include <thread>

namespace kslctl::hub {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::duration<double> kInterval{0.1};
constexpr unsigned kLeastIntervals = 2; // a link that goes and comes back needs three reads

} // namespace

Fact<LinkChanges> watch_links(uint32_t chip, std::chrono::duration<double> time, Failures &failures) {
    const unsigned intervals = std::max(kLeastIntervals, static_cast<unsigned>(std::ceil(time / kInterval)));
    const auto interval = std::chrono::duration_cast<Clock::duration>(time / intervals);
    LinkChanges changes{};
    Fact<Bytes> before = read(registers::link_status, chip, 0, failures);
    Clock::time_point next = Clock::now();
    for (unsigned i = 0; i < intervals && before.is_read(); ++i) {
        next += interval;
        std::this_thread::sleep_until(next);
        const Fact<Bytes> now = read(registers::link_status, chip, 0, failures);
        for (uint32_t port = 0; port < KSL_PORTS && now.is_read(); ++port) {
            changes[port] += ksl_port_bit(before->data(), port) != ksl_port_bit(now->data(), port) ? 1U : 0U;
        }
        before = now;
    }
    return before.map([&](const Bytes &) { return changes; });
}

} // namespace kslctl::hub
