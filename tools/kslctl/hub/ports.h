// SPDX-License-Identifier: Apache-2.0
// The ports of a chip one by one, and what can be changed at them.
#pragma once

#include "kslctl/hub/changes.h"
#include "kslctl/hub/status.h"

namespace kslctl::hub {

// One of the two bits of port control alone switches a port off partly.
enum class PortControl { on, partly, off };

// The control register of clause 22 of IEEE 802.3.
struct PhyControl {
    bool negotiates;
    uint32_t speed; // 10 or 100
    Duplex duplex;
    bool loopback;
    bool power_down;
    bool isolated;
    bool reset;

    bool operator==(const PhyControl &) const = default;
};

struct PortState {
    PortStatus status;
    Fact<bool> passed; // its self-test
    Fact<PortControl> control;
    Fact<PhyControl> phy;
};

struct PortStates {
    Fact<SelfTest> self_test;
    std::vector<PortState> ports;
    std::vector<Reading> registers; // in the order in which they were read
};

PortStates read_port_states(uint32_t chip, std::span<const uint32_t> ports, Failures &failures);

struct PortSpeed {
    uint32_t port;
    Fact<uint32_t> speed; // as the PHY indicates it, also without a link
};

// The operation delivers the bit alone; the register's bytes come from read_ports({&registers::speed_indication}).
std::vector<PortSpeed> read_port_speeds(uint32_t chip, std::span<const uint32_t> ports, Failures &failures);

// For change_ports().
Change forced_speed(uint32_t speed);
extern const Change kActivatePort;
extern const Change kDeactivatePort;
extern const Change kResetPhy;

// Ports that are switched on have one PHY control, whatever they had before they were switched off.
extern const Bytes kPhyControlWhenOn;
// The ports of a change, on or off, that do not have again what they had, or will not have it: their PHY control was
// another one, or was already lost.
std::vector<uint32_t> ports_not_restored(const Changes &changes);

// What the bits mean.
PortControl decode_port_control(const Bytes &bytes);
PhyControl decode_phy_control(const Bytes &bytes);

} // namespace kslctl::hub
