// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/port_list.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <ksl/ksl.h>
#include <numeric>

namespace kslctl::hub {

std::vector<uint32_t> all_ports() {
    std::vector<uint32_t> ports(KSL_PORTS);
    std::iota(ports.begin(), ports.end(), 0);
    return ports;
}

std::vector<uint32_t> ports_of(uint32_t word) {
    std::vector<uint32_t> ports;
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        if ((word >> port & 1) != 0) {
            ports.push_back(port);
        }
    }
    return ports;
}

std::string describe_ports(const std::vector<uint32_t> &ports) {
    if (ports.empty()) {
        return "no port";
    }
    std::vector<std::string> ranges;
    for (auto first = ports.begin(); first != ports.end();) {
        const auto last = std::adjacent_find(first, ports.end(), [](uint32_t a, uint32_t b) { return b != a + 1; });
        const uint32_t end = last == ports.end() ? ports.back() : *last;
        ranges.push_back(end == *first ? fmt::format("{}", end) : fmt::format("{}-{}", *first, end));
        first = std::upper_bound(first, ports.end(), end);
    }
    return fmt::format("{} {}", ports.size() == 1 ? "port" : "ports", fmt::join(ranges, ", "));
}

} // namespace kslctl::hub
