// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/whole_chip.h"

#include <algorithm>
#include <functional>

namespace kslctl::hub {

namespace {

std::vector<Reading> read_settings(uint32_t chip, std::span<const uint32_t> ports, Failures &failures) {
    constexpr uint32_t kChip[] = {0};
    std::vector<Reading> readings =
        read_ports({&registers::age_timer, &registers::mirror_control, &registers::ingress_mirror_mask,
                    &registers::egress_mirror_mask, &registers::trunk_control, &registers::trunk_group_0,
                    &registers::vlan_control_1, &registers::vlan_control_2, &registers::vlan_control_7,
                    &registers::vlan_control_8},
                   chip, kChip, failures);
    const std::vector<Reading> limits = read_ports({&registers::learning_limit}, chip, ports, failures);
    readings.insert(readings.end(), limits.begin(), limits.end());
    return readings;
}

// False as soon as a step has a failure.
bool run_without_failure(const Failures &failures, std::initializer_list<std::function<void()>> steps) {
    const size_t before = failures.size();
    return std::all_of(steps.begin(), steps.end(), [&](const std::function<void()> &step) {
        step();
        return failures.size() == before;
    });
}

} // namespace

std::optional<WholeChip> read_whole_chip(uint32_t chip, Failures &failures) {
    const std::vector<uint32_t> ports = all_ports();
    const WantedRegisters status = {&registers::self_test, &registers::switch_mode, &registers::link_status,
                                    &registers::port_speed, &registers::port_duplex};
    WholeChip found{};
    found.chip = chip;
    const bool is_whole = run_without_failure(
        failures,
        {[&] { found.status = read_status(chip, status, failures); }, [&] { found.pvids = read_pvids(chip, failures); },
         [&] { found.phy_controls = read_ports({&registers::phy_control}, chip, ports, failures); },
         [&] { found.port_controls = read_ports({&registers::port_control}, chip, ports, failures); },
         [&] { found.vlan_enable = read(registers::vlan_enable, chip, 0, failures); },
         [&] { found.vlans = read_vlan_table(chip, failures); },
         [&] { found.addresses = list_addresses(chip, true, failures).entries; },
         [&] { found.settings = read_settings(chip, ports, failures); }});
    return is_whole ? std::optional(found) : std::nullopt;
}

std::optional<VlanSettings> read_vlan_settings(uint32_t chip, Failures &failures) {
    VlanSettings found{chip, {}, {}};
    const bool is_whole = run_without_failure(failures, {[&] { found.pvids = read_pvids(chip, failures); },
                                                         [&] { found.vlans = read_vlan_table(chip, failures); }});
    return is_whole ? std::optional(found) : std::nullopt;
}

} // namespace kslctl::hub
