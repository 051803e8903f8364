// SPDX-License-Identifier: Apache-2.0
// Mode, self-test, link, speed and duplex: views of the state of chip and ports.
#include "behaviour.h"
#include "transaction.h"

namespace hwa {
namespace {

// A word whose bit n is set for every port n with a property.
template <typename Property>
std::uint64_t port_bits(const ChipImage &chip, Property property) {
    std::uint64_t bits = 0;
    for (std::size_t port = 0; port < kPorts; ++port)
        bits |= std::uint64_t{property(chip.ports[port])} << port;
    return bits;
}

std::uint64_t switch_mode(const ChipImage &chip) {
    return (chip.managed != 0 ? 1U : 0U) | (chip.forwarding != 0 ? 2U : 0U);
}

std::uint64_t self_test(const ChipImage &chip) {
    constexpr std::uint64_t kFailed = std::uint64_t{1} << 47;
    const std::uint64_t ports = port_bits(chip, [](const PortImage &port) { return port.test_failed != 0; });
    return ports != 0 ? kFailed | ports : 0;
}

std::uint64_t link_status(const ChipImage &chip) {
    return port_bits(chip, [](const PortImage &port) { return port.link != 0; });
}

std::uint64_t link_change(const ChipImage &chip) {
    return port_bits(chip, [](const PortImage &port) { return port.link_changed != 0; });
}

void clear_link_change(Transaction &transaction, const ChipImage &chip, std::uint64_t delivered) {
    for (std::size_t port = 0; port < kPorts; ++port) {
        if ((delivered >> port & 1) != 0)
            transaction.store(chip.ports[port].link_changed, 0);
    }
}

// A port without a link has neither speed nor duplex to show.
std::uint64_t port_speed(const ChipImage &chip) {
    return port_bits(chip, [](const PortImage &port) { return port.link != 0 && port.fast != 0; });
}

std::uint64_t port_duplex(const ChipImage &chip) {
    return port_bits(chip, [](const PortImage &port) { return port.link != 0 && port.full_duplex != 0; });
}

constexpr Behaviour kTable[] = {
    {0x00, 0x00, 1, switch_mode, nullptr}, {0x01, 0x00, 6, self_test, nullptr},
    {0x01, 0x10, 4, link_status, nullptr}, {0x01, 0x14, 4, link_change, clear_link_change},
    {0x01, 0x18, 4, port_speed, nullptr},  {0x01, 0x1C, 4, port_duplex, nullptr},
};

} // namespace

const std::span<const Behaviour> kStatusRegisters = kTable;

} // namespace hwa
