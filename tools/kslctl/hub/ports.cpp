// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/ports.h"

#include <algorithm>
#include <ksl/decode.h>
#include <linux/mii.h>

namespace kslctl::hub {

namespace {

constexpr uint8_t kPortOff = 0x03;

// What the operations write.
constexpr uint32_t kPhyWhenActivated = BMCR_SPEED100 | BMCR_ANENABLE;
constexpr uint32_t kPhyWhenDeactivated = BMCR_LOOPBACK;
constexpr uint32_t kForcedBits = BMCR_SPEED100 | BMCR_ANENABLE;

} // namespace

PortControl decode_port_control(const Bytes &bytes) {
    const unsigned off = bytes[0] & kPortOff;
    return off == 0 ? PortControl::on : off == kPortOff ? PortControl::off : PortControl::partly;
}

PhyControl decode_phy_control(const Bytes &bytes) {
    const uint32_t value = ksl_value16(bytes.data());
    return {.negotiates = (value & BMCR_ANENABLE) != 0,
            .speed = (value & BMCR_SPEED100) != 0 ? 100U : 10U,
            .duplex = (value & BMCR_FULLDPLX) != 0 ? Duplex::full : Duplex::half,
            .loopback = (value & BMCR_LOOPBACK) != 0,
            .power_down = (value & BMCR_PDOWN) != 0,
            .isolated = (value & BMCR_ISOLATE) != 0,
            .reset = (value & BMCR_RESET) != 0};
}

PortStates read_port_states(uint32_t chip, std::span<const uint32_t> ports, Failures &failures) {
    ChipStatus status = read_status(
        chip, {&registers::self_test, &registers::link_status, &registers::port_speed, &registers::port_duplex},
        failures);
    PortStates states{std::move(status.self_test), {}, std::move(status.registers)};
    for (const uint32_t port : ports) {
        const Fact<bool> passed = states.self_test.map([port](const SelfTest &test) {
            return std::find(test.failed_ports.begin(), test.failed_ports.end(), port) == test.failed_ports.end();
        });
        const Fact<Bytes> control = read(registers::port_control, chip, port, failures);
        const Fact<Bytes> phy = read(registers::phy_control, chip, port, failures);
        states.ports.push_back(
            {status.ports[port], passed, control.map(decode_port_control), phy.map(decode_phy_control)});
        states.registers.push_back(reading_of(registers::port_control, port, control));
        states.registers.push_back(reading_of(registers::phy_control, port, phy));
    }
    return states;
}

std::vector<PortSpeed> read_port_speeds(uint32_t chip, std::span<const uint32_t> ports, Failures &failures) {
    std::vector<PortSpeed> speeds;
    for (const uint32_t port : ports) {
        const Fact<uint32_t> is_fast =
            read_number(registers::speed_indication, chip, port, "ksl_get_port_speed", ksl_get_port_speed, failures);
        speeds.push_back({port, is_fast.map([](uint32_t fast) -> uint32_t { return fast != 0 ? 100 : 10; })});
    }
    return speeds;
}

Change forced_speed(uint32_t speed) {
    const auto with_speed = [speed](const Bytes &before) {
        const uint32_t others = ksl_value16(before.data()) & ~kForcedBits;
        return bytes16(others | (speed == 100 ? kForcedBits : 0));
    };
    return {
        .operation = "ksl_set_port_speed",
        .about = "speed of port {}",
        .undone = "not set",
        .writes = {{&registers::phy_control, with_speed}},
        .run = [speed](uint32_t chip, uint32_t port, const Bytes &) { return ksl_set_port_speed(chip, port, speed); },
    };
}

const Bytes kPhyControlWhenOn = bytes16(kPhyWhenActivated);

const Change kActivatePort{
    .operation = "ksl_activate_port",
    .about = "port {}",
    .undone = "not switched on",
    .writes = {{&registers::phy_control, always(bytes16(kPhyWhenActivated))}, {&registers::port_control, always({0})}},
    .run = [](uint32_t chip, uint32_t port, const Bytes &) { return ksl_activate_port(chip, port); },
};

const Change kDeactivatePort{
    .operation = "ksl_deactivate_port",
    .about = "port {}",
    .undone = "not switched off",
    .writes = {{&registers::phy_control, always(bytes16(kPhyWhenDeactivated))},
               {&registers::port_control, always({kPortOff})}},
    .run = [](uint32_t chip, uint32_t port, const Bytes &) { return ksl_deactivate_port(chip, port); },
};

std::vector<uint32_t> ports_not_restored(const Changes &changes) {
    const Bytes when_off = bytes16(kPhyWhenDeactivated);
    std::vector<uint32_t> ports;
    for (const ChangedRegister &row : changes.registers) {
        if (row.which != &registers::phy_control || !row.write) {
            continue;
        }
        const bool was_off = *row.before == when_off;
        const bool is_lost = *row.write == when_off ? !was_off && *row.before != kPhyControlWhenOn : was_off;
        if (is_lost) {
            ports.push_back(row.port);
        }
    }
    return ports;
}

const Change kResetPhy{
    .operation = "ksl_reset_PHY",
    .about = "PHY of port {}",
    .undone = "not reset",
    .writes = {{&registers::phy_control, always(bytes16(BMCR_RESET))}},
    .run = [](uint32_t chip, uint32_t port, const Bytes &) { return ksl_reset_PHY(chip, port); },
};

} // namespace kslctl::hub
