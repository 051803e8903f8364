// SPDX-License-Identifier: Apache-2.0
#include "chip/ports.h"

#include "chip/stored.h"
#include "state/clock.h"
#include "state/transaction.h"

namespace hwa {
namespace {

// Bits of PHY control that leave the port without a link.
constexpr unsigned kCutOff = BMCR_LOOPBACK | BMCR_PDOWN | BMCR_ISOLATE;

// Bits of port control: either direction off.
constexpr unsigned kDisabled = 0x03;

unsigned phy_control(const ChipImage &chip, size_t port) {
    return ksl_value16(stored(chip, ksl_phy_control_register, port).data());
}

void set_phy_control(Transaction &transaction, const ChipImage &chip, size_t port, unsigned value) {
    const std::span<const uint8_t> bytes = stored(chip, ksl_phy_control_register, port);
    transaction.store(bytes[0], static_cast<uint8_t>(value >> 8));
    transaction.store(bytes[1], static_cast<uint8_t>(value));
}

// Carries out the commands among the bits of a port's PHY control. True if they interrupt the link.
bool obey_phy_control(Transaction &transaction, const ChipImage &chip, size_t port) {
    const unsigned control = phy_control(chip, port);
    if ((control & BMCR_RESET) != 0) {
        set_phy_control(transaction, chip, port, kPhyPowerOn);
        return true;
    }
    if ((control & BMCR_ANRESTART) != 0) {
        set_phy_control(transaction, chip, port, control & ~unsigned{BMCR_ANRESTART});
        return (control & BMCR_ANENABLE) != 0;
    }
    return false;
}

} // namespace

Link link_of(const ChipImage &chip, size_t number) {
    const PortImage &port = chip.ports[number];
    const unsigned control = phy_control(chip, number);
    if (port.partner == 0 || port.test_failed != 0 || (control & kCutOff) != 0 ||
        (stored(chip, ksl_port_control_register, number)[0] & kDisabled) != 0) {
        return {};
    }
    if ((control & BMCR_ANENABLE) != 0) {
        return {true, port.partner_fast != 0, port.partner_full_duplex != 0};
    }
    // The partner follows a forced speed if it can. It cannot know the duplex.
    const bool fast = (control & BMCR_SPEED100) != 0;
    if (fast && port.partner_fast == 0) {
        return {};
    }
    return {true, fast, (control & BMCR_FULLDPLX) != 0};
}

uint64_t active_time(const ChipImage &chip, size_t number) {
    const PortImage &port = chip.ports[number];
    const uint64_t now = link_of(chip, number).up ? time_of(chip) - from_bytes(port.since) : 0;
    return from_bytes(port.active) + now;
}

PortWrite::PortWrite(const ChipImage &chip) : chip_(chip) {
    for (size_t port = 0; port < kPorts; ++port) {
        before_[port] = link_of(chip, port);
    }
}

void PortWrite::settle(Transaction &transaction, uint8_t page) const {
    for (size_t port = 0; port < kPorts; ++port) {
        const bool interrupted =
            page == page_of(ksl_phy_control_register, port) && obey_phy_control(transaction, chip_, port);
        const PortImage &image = chip_.ports[port];
        const Link now = link_of(chip_, port);
        if (now != before_[port] || (now.up && interrupted)) {
            transaction.store(image.link_changed, 1);
        }
        if (now.up == before_[port].up) {
            continue;
        }
        const uint64_t time = time_of(chip_);
        if (before_[port].up) {
            transaction.store(image.active, to_bytes<8>(from_bytes(image.active) + time - from_bytes(image.since)));
        }
        transaction.store(image.since, to_bytes<8>(time));
    }
}

} // namespace hwa
