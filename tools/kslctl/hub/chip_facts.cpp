// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/chip_facts.h"

#include <ksl/decode.h>

namespace kslctl::hub {

namespace {

Fact<VlanEntries> read_vlans(uint32_t chip, Failures &failures) {
    return read_vlan_table(chip, failures, VlanChoice::valid_or_with_ports).map([](const VlanTable &table) {
        VlanEntries entries;
        for (const auto &[vid, bytes] : table) {
            entries[vid] = ksl_decode_vlan_entry(bytes.data());
        }
        return entries;
    });
}

} // namespace

ChipFacts read_chip_facts(uint32_t chip, std::span<const uint32_t> ports, std::optional<Time> watch, Failures &failures,
                          const CounterNames &names) {
    std::optional<ChipCounters> counters;
    if (watch && has_errors(names)) {
        counters = read_counters(chip, ports, failures);
    }
    const Fact<LinkChanges> changes = watch ? watch_links(chip, *watch, failures) : Fact<LinkChanges>();
    if (counters) {
        counters = moved_since(*counters, failures);
    }
    ChipFacts facts{.by_number = !ports.empty(),
                    .status = read_status(chip,
                                          {&registers::self_test, &registers::switch_mode, &registers::link_status,
                                           &registers::port_speed, &registers::port_duplex, &registers::age_timer},
                                          failures),
                    .mirroring = read_mirroring(chip, failures),
                    .trunks = read_trunks(chip, failures),
                    .vlans_enabled = read(registers::vlan_enable, chip, 0, failures).map(decode_vlan_enable),
                    .vlans = {},
                    .ports = {}};
    if (const Failure *const failure = facts.vlans_enabled.failure()) {
        facts.vlans = *failure;
    } else if (*facts.vlans_enabled) {
        facts.vlans = read_vlans(chip, failures);
    }
    const std::vector<uint32_t> all = all_ports();
    for (const PortLearning &learning : read_learning(chip, facts.by_number ? ports : all, failures)) {
        const uint32_t port = learning.port;
        facts.ports.push_back({.status = facts.status.ports[port],
                               .control = read(registers::port_control, chip, port, failures).map(decode_port_control),
                               .phy = read(registers::phy_control, chip, port, failures).map(decode_phy_control),
                               .pvid = read(registers::pvid, chip, port, failures).map(decode_pvid),
                               .learned = learning.learned,
                               .learning_limit = learning.limit,
                               .link_changes = changes.map([port](const LinkChanges &c) { return c[port]; })});
    }
    if (counters) {
        add_errors(facts, *counters, names);
    }
    return facts;
}

void add_errors(ChipFacts &facts, const ChipCounters &moved, const CounterNames &names) {
    if (!has_errors(names)) {
        return;
    }
    for (PortFacts &port : facts.ports) {
        port.errors = moved.ports.at(port.status.port).map([&](const std::vector<CounterValue> &counters) {
            std::vector<ErrorCount> errors;
            for (const CounterValue &counter : counters) {
                if (is_error(*counter.which, names) && counter.change.is_read()) {
                    errors.push_back({label_of(*counter.which, names), counter.which->offset, counter.change->by});
                }
            }
            return errors;
        });
    }
}

Fact<std::vector<uint32_t>> mirror_targets(const ChipFacts &chip) {
    return chip.mirroring.control.where([](const MirrorControl &control) { return control.enabled; })
        .map([](const MirrorControl &control) { return control.capture_ports; });
}

Fact<std::vector<uint32_t>> trunk_members(const ChipFacts &chip) {
    if (chip.trunks.enabled.is_read() && *chip.trunks.enabled) {
        return chip.trunks.group0.where([](const TrunkGroup &group) { return group.flag; })
            .map([](const TrunkGroup &group) { return group.ports; });
    }
    const Failure *const failure = chip.trunks.enabled.failure();
    return failure != nullptr ? Fact<std::vector<uint32_t>>(*failure) : Fact<std::vector<uint32_t>>();
}

Fact<std::vector<uint32_t>> vlans_of(const ChipFacts &chip, uint32_t port) {
    return chip.vlans.map([port](const VlanEntries &entries) { return valid_vlans_with(entries, port); });
}

} // namespace kslctl::hub
