// SPDX-License-Identifier: Apache-2.0
// Mode, self-test, link, speed, duplex and learned addresses: views of the state of chip and ports.
#include "chip/addresses.h"
#include "chip/behaviour.h"
#include "chip/ports.h"
#include "state/transaction.h"

namespace hwa {
namespace {

// A word whose bit n is set for every port n with a property.
template <typename Property>
uint64_t port_bits(Property property) {
    uint64_t bits = 0;
    for (size_t port = 0; port < kPorts; ++port) {
        bits |= uint64_t{property(port)} << port;
    }
    return bits;
}

uint64_t switch_mode(const ChipImage &chip, size_t) {
    return (chip.managed != 0 ? 1U : 0U) | (chip.forwarding != 0 ? 2U : 0U);
}

uint64_t self_test(const ChipImage &chip, size_t) {
    constexpr uint64_t kFailed = uint64_t{1} << 47;
    const uint64_t ports = port_bits([&](size_t port) { return chip.ports[port].test_failed != 0; });
    return ports != 0 ? kFailed | ports : 0;
}

uint64_t link_status(const ChipImage &chip, size_t) {
    return port_bits([&](size_t port) { return link_of(chip, port).up; });
}

uint64_t link_change(const ChipImage &chip, size_t) {
    return port_bits([&](size_t port) { return chip.ports[port].link_changed != 0; });
}

void clear_link_change(Transaction &transaction, const ChipImage &chip, uint64_t delivered) {
    for (size_t port = 0; port < kPorts; ++port) {
        if ((delivered >> port & 1) != 0) {
            transaction.store(chip.ports[port].link_changed, 0);
        }
    }
}

uint64_t port_speed(const ChipImage &chip, size_t) {
    return port_bits([&](size_t port) { return link_of(chip, port).fast; });
}

uint64_t port_duplex(const ChipImage &chip, size_t) {
    return port_bits([&](size_t port) { return link_of(chip, port).full_duplex; });
}

uint64_t speed_indication(const ChipImage &chip, size_t port) {
    return link_of(chip, port).fast ? 2 : 0;
}

uint64_t learned_addresses(const ChipImage &chip, size_t port) {
    AddressScan scan(chip);
    while (scan.next() != nullptr) {
        ;
    }
    return scan.learned(port);
}

constexpr Behaviour kTable[] = {
    {ksl_switch_mode_register, "mode", switch_mode, nullptr},
    {ksl_self_test_register, "ports", self_test, nullptr},
    {ksl_link_status_register, "ports", link_status, nullptr},
    {ksl_link_change_register, "ports", link_change, clear_link_change},
    {ksl_port_speed_register, "ports", port_speed, nullptr},
    {ksl_port_duplex_register, "ports", port_duplex, nullptr},
    {ksl_speed_indication_register, "ports", speed_indication, nullptr},
    {ksl_learned_addresses_register, "addresses", learned_addresses, nullptr},
};

} // namespace

const std::span<const Behaviour> kStatusRegisters = kTable;

} // namespace hwa
