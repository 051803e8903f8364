// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/port_info.h"

#include <algorithm>

namespace kslctl::hub {

namespace {

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

std::vector<PortInfo> read_port_infos(uint32_t chip, std::span<const uint32_t> ports, Time time, Failures &failures,
                                      const CounterNames &names) {
    const ChipCounters before = read_counters(chip, ports, failures);
    ChipFacts facts = read_chip_facts(chip, ports, time, failures);
    const ChipCounters moved = moved_since(before, failures);
    add_errors(facts, moved, names);
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
