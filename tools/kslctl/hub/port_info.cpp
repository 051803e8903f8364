// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/port_info.h"

#include <algorithm>

namespace kslctl::hub {

namespace {

// A port that fails the first time is not read again.
ChipCounters moved_since(const ChipCounters &before, uint32_t chip, Failures &failures) {
    std::vector<uint32_t> read;
    for (const auto &[port, counters] : before.ports) {
        if (counters.is_read()) {
            read.push_back(port);
        }
    }
    ChipCounters now = before;
    now.time = std::chrono::steady_clock::now();
    if (!read.empty()) {
        ChipCounters again = read_counters(chip, read, failures);
        now.time = again.time;
        again.ports.merge(now.ports);
        now.ports = std::move(again.ports);
    }
    return without_zeros(changes_since(before, std::move(now)));
}

Fact<std::vector<Address>> addresses_of(uint32_t port, const Fact<std::vector<Address>> &all) {
    return all.map([port](std::vector<Address> addresses) {
        std::erase_if(addresses, [port](const Address &address) { return address.port != port; });
        return addresses;
    });
}

Fact<std::vector<Address>> read_addresses(uint32_t chip, Failures &failures) {
    Addresses addresses = list_addresses(chip, true, failures);
    return addresses.whole ? Fact<std::vector<Address>>(std::move(addresses.entries)) : failures.back();
}

} // namespace

std::vector<PortInfo> read_port_infos(uint32_t chip, std::span<const uint32_t> ports, Time time, Failures &failures) {
    const ChipCounters before = read_counters(chip, ports, failures);
    const ChipFacts facts = read_chip_facts(chip, ports, time, failures);
    const ChipCounters moved = moved_since(before, chip, failures);
    const Fact<std::vector<Address>> addresses = read_addresses(chip, failures);

    std::vector<PortInfo> infos;
    for (const PortFacts &of_port : facts.ports) {
        const uint32_t port = of_port.status.port;
        PortInfo &info = infos.emplace_back(PortInfo{facts, addresses_of(port, addresses), moved, {}});
        info.chip.ports = {of_port};
        info.counters.ports = {{port, moved.ports.at(port)}};
        info.diagnosis = diagnose(info.chip);
    }
    return infos;
}

} // namespace kslctl::hub
