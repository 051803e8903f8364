// SPDX-License-Identifier: Apache-2.0
// Everything about single ports, over a short while in which links may change and counters move.
#pragma once

#include "kslctl/hub/addresses.h"
#include "kslctl/hub/diagnosis.h"

namespace kslctl::hub {

struct PortInfo {
    ChipFacts chip; // with this port alone
    Fact<std::vector<Address>> addresses;
    ChipCounters counters; // of this port: those that moved
    Diagnosis diagnosis;

    const PortFacts &port() const { return chip.ports[0]; }
};

std::vector<PortInfo> read_port_infos(uint32_t chip, std::span<const uint32_t> ports, Time time, Failures &failures,
                                      const CounterNames &names = {});

} // namespace kslctl::hub
