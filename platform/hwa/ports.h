// SPDX-License-Identifier: Apache-2.0
// The ports: what their control registers and the partners at the other ends make of their links.
#pragma once

#include "image.h"

namespace hwa {

class Transaction;

struct Link {
    bool up;
    bool fast;        // 100 Mb/s, else 10; false without a link
    bool full_duplex; // false without a link

    bool operator==(const Link &) const = default;
};

// PHY control after power-on and after a reset of the PHY: auto-negotiation, 100 Mb/s, full duplex.
inline constexpr unsigned kPhyPowerOn = 0x3100;

// Bits of PHY control that read as 0 again at once.
inline constexpr unsigned kPhyReset = 0x8000;
inline constexpr unsigned kPhyRestart = 0x0200; // of the auto-negotiation
inline constexpr unsigned kPhySelfClearing = kPhyReset | kPhyRestart;

// Where the registers of the ports are.
inline constexpr Byte kPhyPage = 0x10; // of port 0
inline constexpr Byte kPortControlPage = 0x00;
inline constexpr Byte kPortControl = 0xD0; // of port 0
inline constexpr Byte kVlanPage = 0x34;
inline constexpr Byte kVlanEnable = 0x00;
inline constexpr Byte kVlanEnabled = 0x80;
inline constexpr Byte kPvid = 0x10; // of port 0
inline constexpr Byte kAgePage = 0x02;
inline constexpr Byte kAgeTimer = 0x06;
inline constexpr Byte kLearningPage = 0x41;
inline constexpr Byte kLearnedCount = 0x30; // of port 0
inline constexpr Byte kThreshold = 0x70;    // of port 0
inline constexpr Byte kCounterPage = 0x50;  // of port 0

Link link_of(const ChipImage &chip, std::size_t port);

// Microseconds for which a port has had a link.
std::uint64_t active_time(const ChipImage &chip, std::size_t port);

// Watches the links while registers are written, and lets what was written take effect.
class PortWrite {
public:
    explicit PortWrite(const ChipImage &chip);

    // Clears what clears itself on the page, and notes the links that changed or were interrupted.
    void settle(Transaction &transaction, Byte page) const;

private:
    const ChipImage &chip_;
    std::array<Link, kPorts> before_;
};

} // namespace hwa
