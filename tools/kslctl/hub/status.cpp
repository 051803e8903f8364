// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/status.h"

#include <algorithm>
#include <cstring>
#include <ksl/decode.h>

namespace kslctl::hub {

namespace {

constexpr uint32_t kSelfTestVerdict = 47; // bit 47: a test failed; bits 23 to 0: port n failed
constexpr uint32_t kManaged = 0;
constexpr uint32_t kForwarding = 1;

bool has_bit(const Register &which, const Bytes &bytes, uint32_t bit) {
    return ksl_register_bit(bytes.data(), which.place.length, bit) != 0;
}

// Means nothing if the register was not asked for.
Fact<Bytes> bytes_of(const std::vector<Reading> &readings, const Register &which) {
    const auto found = std::find_if(readings.begin(), readings.end(),
                                    [&](const Reading &reading) { return reading.name == which.name; });
    return found == readings.end() ? Fact<Bytes>() : found->bytes;
}

ChipStatus status_of(std::vector<Reading> readings) {
    const Fact<Bytes> link = bytes_of(readings, registers::link_status);
    const Fact<Bytes> change = bytes_of(readings, registers::link_change);
    const Fact<Bytes> speed = bytes_of(readings, registers::port_speed);
    const Fact<Bytes> duplex = bytes_of(readings, registers::port_duplex);
    ChipStatus status{.self_test = bytes_of(readings, registers::self_test).map(decode_self_test),
                      .mode = bytes_of(readings, registers::switch_mode).map(decode_mode),
                      .age_timer = bytes_of(readings, registers::age_timer).map([](const Bytes &b) {
                          return ksl_age_time(b.data());
                      }),
                      .ports = {},
                      .registers = {}};
    status.registers = std::move(readings);
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        const auto bit = [port](const Bytes &word) { return ksl_port_bit(word.data(), port) != 0; };
        PortStatus of_port{port, link.map(bit), change.map(bit), {}, {}};
        const bool has_no_link = of_port.link.is_read() && !*of_port.link;
        if (!has_no_link || !speed.is_read()) {
            of_port.speed = speed.map([&](const Bytes &word) -> uint32_t { return bit(word) ? 100 : 10; });
        }
        if (!has_no_link || !duplex.is_read()) {
            of_port.duplex = duplex.map([&](const Bytes &word) { return bit(word) ? Duplex::full : Duplex::half; });
        }
        status.ports.push_back(of_port);
    }
    return status;
}

// One operation reads both; the first may be there although the second is not.
std::vector<Reading> read_both_link_registers(uint32_t chip, Failures &failures) {
    std::array<uint8_t, registers::link_status.place.length> link;
    std::array<uint8_t, registers::link_change.place.length> change;
    link.fill(kUntouched);
    change.fill(kUntouched);
    const int32_t code = ksl_read_link_status_regs(chip, link.data(), change.data());
    const Target targets[] = {{registers::link_status, link}, {registers::link_change, change}};
    return readings_of(chip, "ksl_read_link_status_regs", code, targets, failures);
}

} // namespace

const WantedRegisters kControlRegisters = {&registers::switch_mode, &registers::self_test,  &registers::link_status,
                                           &registers::link_change, &registers::port_speed, &registers::port_duplex,
                                           &registers::age_timer};

SelfTest decode_self_test(const Bytes &bytes) {
    return {!has_bit(registers::self_test, bytes, kSelfTestVerdict), ports_of(ksl_value32(bytes.data() + 2))};
}

Mode decode_mode(const Bytes &bytes) {
    return {has_bit(registers::switch_mode, bytes, kManaged), has_bit(registers::switch_mode, bytes, kForwarding)};
}

ChipStatus read_status(uint32_t chip, const WantedRegisters &wanted, Failures &failures) {
    const bool wants_change = std::find(wanted.begin(), wanted.end(), &registers::link_change) != wanted.end();
    std::vector<Reading> readings;
    for (const Register *const which : wanted) {
        if (which == &registers::link_change) {
            const std::vector<Reading> both = read_both_link_registers(chip, failures);
            readings.insert(readings.end(), both.begin(), both.end());
        } else if (which != &registers::link_status || !wants_change) {
            readings.push_back(reading_of(*which, 0, read(*which, chip, 0, failures)));
        }
    }
    return status_of(std::move(readings));
}

void keep_ports(ChipStatus &status, std::span<const uint32_t> ports) {
    std::erase_if(status.ports, [&](const PortStatus &of_port) {
        return std::find(ports.begin(), ports.end(), of_port.port) == ports.end();
    });
}

ChipStatus read_control_registers(uint32_t chip, Failures &failures) {
    ksl_cntrl_regs regs;
    std::memset(&regs, kUntouched, sizeof regs);
    const int32_t code = ksl_read_cntrl_regs(chip, &regs);
    const Target targets[] = {
        {registers::switch_mode, regs.switch_mode},  {registers::self_test, regs.bist_status},
        {registers::link_status, regs.link_status1}, {registers::link_change, regs.link_status2},
        {registers::port_speed, regs.port_speed},    {registers::port_duplex, regs.port_duplex},
        {registers::age_timer, regs.age_timer},
    };
    return status_of(readings_of(chip, "ksl_read_cntrl_regs", code, targets, failures));
}

} // namespace kslctl::hub
