// SPDX-License-Identifier: Apache-2.0
#include "ports.h"

#include "clock.h"
#include "transaction.h"

namespace hwa {
namespace {

// PHY control, by clause 22 of IEEE 802.3.
constexpr unsigned kLoopback = 0x4000;
constexpr unsigned kSpeed100 = 0x2000;
constexpr unsigned kAutoNegotiation = 0x1000;
constexpr unsigned kPowerDown = 0x0800;
constexpr unsigned kIsolate = 0x0400;
constexpr unsigned kFullDuplex = 0x0100;
constexpr unsigned kCutOff = kLoopback | kPowerDown | kIsolate;

// Port control: either direction off.
constexpr unsigned kDisabled = 0x03;

unsigned phy_control(const ChipImage &chip, std::size_t port) {
    const auto &page = chip.pages[kPhyPage + port];
    return static_cast<unsigned>(page[0] << 8 | page[1]);
}

void set_phy_control(Transaction &transaction, const ChipImage &chip, std::size_t port, unsigned value) {
    const auto &page = chip.pages[kPhyPage + port];
    transaction.store(page[0], static_cast<Byte>(value >> 8));
    transaction.store(page[1], static_cast<Byte>(value));
}

// Carries out the commands among the bits of a port's PHY control. True if they interrupt the link.
bool obey_phy_control(Transaction &transaction, const ChipImage &chip, std::size_t port) {
    const unsigned control = phy_control(chip, port);
    if ((control & kPhyReset) != 0) {
        set_phy_control(transaction, chip, port, kPhyPowerOn);
        return true;
    }
    if ((control & kPhyRestart) != 0) {
        set_phy_control(transaction, chip, port, control & ~kPhyRestart);
        return (control & kAutoNegotiation) != 0;
    }
    return false;
}

} // namespace

Link link_of(const ChipImage &chip, std::size_t number) {
    const PortImage &port = chip.ports[number];
    const unsigned control = phy_control(chip, number);
    if (port.partner == 0 || port.test_failed != 0 || (control & kCutOff) != 0 ||
        (chip.pages[kPortControlPage][kPortControl + number] & kDisabled) != 0)
        return {};
    if ((control & kAutoNegotiation) != 0)
        return {true, port.partner_fast != 0, port.partner_full_duplex != 0};
    // The partner follows a forced speed if it can; nothing tells it the duplex.
    const bool fast = (control & kSpeed100) != 0;
    if (fast && port.partner_fast == 0)
        return {};
    return {true, fast, (control & kFullDuplex) != 0};
}

std::uint64_t active_time(const ChipImage &chip, std::size_t number) {
    const PortImage &port = chip.ports[number];
    const std::uint64_t now = link_of(chip, number).up ? time_of(chip) - from_bytes(port.since) : 0;
    return from_bytes(port.active) + now;
}

PortWrite::PortWrite(const ChipImage &chip) : chip_(chip) {
    for (std::size_t port = 0; port < kPorts; ++port)
        before_[port] = link_of(chip, port);
}

void PortWrite::settle(Transaction &transaction, Byte page) const {
    for (std::size_t port = 0; port < kPorts; ++port) {
        const bool interrupted = page == kPhyPage + port && obey_phy_control(transaction, chip_, port);
        const PortImage &image = chip_.ports[port];
        const Link now = link_of(chip_, port);
        if (now != before_[port] || (now.up && interrupted))
            transaction.store(image.link_changed, 1);
        if (now.up == before_[port].up)
            continue;
        const std::uint64_t time = time_of(chip_);
        if (before_[port].up)
            transaction.store(image.active, to_bytes<8>(from_bytes(image.active) + time - from_bytes(image.since)));
        transaction.store(image.since, to_bytes<8>(time));
    }
}

} // namespace hwa
