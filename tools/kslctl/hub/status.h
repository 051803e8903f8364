// SPDX-License-Identifier: Apache-2.0
// The status of a chip: self-test, mode, age timer, and link, speed and duplex of its ports.
#pragma once

#include "kslctl/hub/registers.h"

namespace kslctl::hub {

struct SelfTest {
    bool passed;
    std::vector<uint32_t> failed_ports;

    bool operator==(const SelfTest &) const = default;
};

struct Mode {
    bool managed;
    bool forwarding;

    bool operator==(const Mode &) const = default;
};

enum class Duplex { half, full };

// Speed and duplex mean nothing without a link.
struct PortStatus {
    uint32_t port;
    Fact<bool> link;
    Fact<bool> changed; // since the last look
    Fact<uint32_t> speed;
    Fact<Duplex> duplex;
};

// What was not asked for means nothing.
struct ChipStatus {
    Fact<SelfTest> self_test;
    Fact<Mode> mode;
    Fact<uint32_t> age_timer;
    std::vector<PortStatus> ports;
    std::vector<Reading> registers; // in the order in which they were asked for
};

// Reads the wanted ones of the registers below in their order. Reading link_change clears the chip's change marks.
ChipStatus read_status(uint32_t chip, const WantedRegisters &wanted, Failures &failures);

// Leaves the other ports out. The registers stay whole.
void keep_ports(ChipStatus &status, std::span<const uint32_t> ports);

// All of them by one operation, which ends at the first failure. It clears the change marks, too.
extern const WantedRegisters kControlRegisters;
ChipStatus read_control_registers(uint32_t chip, Failures &failures);

// What the bits mean.
SelfTest decode_self_test(const Bytes &bytes);
Mode decode_mode(const Bytes &bytes);

} // namespace kslctl::hub
