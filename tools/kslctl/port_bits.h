// SPDX-License-Identifier: Apache-2.0
// What kslctl reads into the bits of the registers that each port has one of.
#pragma once

#include "kslctl/report.h"
#include "kslctl/status_bits.h"

#include <string>

namespace kslctl {

// Control register of clause 22 of IEEE 802.3.
struct PhyControl {
    bool reset;
    bool loopback;
    bool fast; // 100 Mb/s, else 10
    bool negotiates;
    bool power_down;
    bool isolated;
    bool full_duplex;
};

PhyControl phy_control(const Bytes &bytes);
std::string phy_control_text(const Bytes &bytes);
Json phy_control_json(const Bytes &bytes);

// The same register with a forced speed: 100 comes with auto-negotiation, 10 without.
Bytes with_speed(const Bytes &phy_control, uint32_t speed);

// "on", "off", or "partly" where only one of the two bits is set.
std::string port_control_text(const Bytes &bytes);
Json port_control_json(const Bytes &bytes);

// In Mb/s.
uint32_t indicated_speed(const Bytes &bytes);
std::string speed_indication_text(const Bytes &bytes);
Json speed_indication_json(const Bytes &bytes);

std::string pvid_text(const Bytes &bytes);
Json pvid_json(const Bytes &bytes);
Bytes pvid_bytes(uint32_t vid, uint32_t priority);

} // namespace kslctl
