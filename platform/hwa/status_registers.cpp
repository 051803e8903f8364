// SPDX-License-Identifier: Apache-2.0
// Mode, self-test, link, speed, duplex and learned addresses: views of the state of chip and ports.
#include "addresses.h"
#include "behaviour.h"
#include "ports.h"
#include "transaction.h"

namespace hwa {
namespace {

// A word whose bit n is set for every port n with a property.
template <typename Property>
std::uint64_t port_bits(Property property) {
    std::uint64_t bits = 0;
    for (std::size_t port = 0; port < kPorts; ++port)
        bits |= std::uint64_t{property(port)} << port;
    return bits;
}

std::uint64_t switch_mode(const ChipImage &chip, std::size_t) {
    return (chip.managed != 0 ? 1U : 0U) | (chip.forwarding != 0 ? 2U : 0U);
}

std::uint64_t self_test(const ChipImage &chip, std::size_t) {
    constexpr std::uint64_t kFailed = std::uint64_t{1} << 47;
    const std::uint64_t ports = port_bits([&](std::size_t port) { return chip.ports[port].test_failed != 0; });
    return ports != 0 ? kFailed | ports : 0;
}

std::uint64_t link_status(const ChipImage &chip, std::size_t) {
    return port_bits([&](std::size_t port) { return link_of(chip, port).up; });
}

std::uint64_t link_change(const ChipImage &chip, std::size_t) {
    return port_bits([&](std::size_t port) { return chip.ports[port].link_changed != 0; });
}

void clear_link_change(Transaction &transaction, const ChipImage &chip, std::uint64_t delivered) {
    for (std::size_t port = 0; port < kPorts; ++port) {
        if ((delivered >> port & 1) != 0)
            transaction.store(chip.ports[port].link_changed, 0);
    }
}

std::uint64_t port_speed(const ChipImage &chip, std::size_t) {
    return port_bits([&](std::size_t port) { return link_of(chip, port).fast; });
}

std::uint64_t port_duplex(const ChipImage &chip, std::size_t) {
    return port_bits([&](std::size_t port) { return link_of(chip, port).full_duplex; });
}

std::uint64_t speed_indication(const ChipImage &chip, std::size_t port) {
    return link_of(chip, port).fast ? 2 : 0;
}

std::uint64_t learned_count(const ChipImage &chip, std::size_t port) {
    AddressScan scan(chip);
    while (scan.next() != nullptr)
        ;
    return scan.learned(port);
}

constexpr Behaviour kTable[] = {
    {0x00, 0x00, 1, Row::single, "mode", switch_mode, nullptr},
    {0x01, 0x00, 6, Row::single, "ports", self_test, nullptr},
    {0x01, 0x10, 4, Row::single, "ports", link_status, nullptr},
    {0x01, 0x14, 4, Row::single, "ports", link_change, clear_link_change},
    {0x01, 0x18, 4, Row::single, "ports", port_speed, nullptr},
    {0x01, 0x1C, 4, Row::single, "ports", port_duplex, nullptr},
    {kPhyPage, 0x30, 2, Row::pages, "ports", speed_indication, nullptr},
    {kLearningPage, kLearnedCount, 2, Row::registers, "addresses", learned_count, nullptr},
};

} // namespace

const std::span<const Behaviour> kStatusRegisters = kTable;

} // namespace hwa
