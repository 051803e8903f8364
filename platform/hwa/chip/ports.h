// SPDX-License-Identifier: Apache-2.0
// The ports: their links follow from their control registers and the partners at the other ends.
#pragma once

#include "state/image.h"

#include <linux/mii.h>

namespace hwa {

class Transaction;

struct Link {
    bool up;
    bool fast;        // 100 Mb/s, else 10; false without a link
    bool full_duplex; // false without a link

    bool operator==(const Link &) const = default;
};

// PHY control after power-on and after a reset of the PHY.
inline constexpr unsigned kPhyPowerOn = BMCR_ANENABLE | BMCR_SPEED100 | BMCR_FULLDPLX;

// Bits of PHY control that read as 0 again at once.
inline constexpr unsigned kPhySelfClearing = BMCR_RESET | BMCR_ANRESTART;

inline constexpr uint8_t kVlanEnabled = 0x80; // of VLAN enable

Link link_of(const ChipImage &chip, size_t port);

// Microseconds for which a port has had a link.
uint64_t active_time(const ChipImage &chip, size_t port);

// Notes the links before a write, and lets the write take effect afterwards.
class PortWrite {
public:
    explicit PortWrite(const ChipImage &chip);

    // Carries out the commands on the page, and notes the links that changed or were interrupted.
    void settle(Transaction &transaction, uint8_t page) const;

private:
    const ChipImage &chip_;
    std::array<Link, kPorts> before_;
};

} // namespace hwa
