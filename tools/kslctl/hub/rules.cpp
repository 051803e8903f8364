// SPDX-License-Identifier: Apache-2.0
// A rule judges only what the library can know. So none is about a learning limit of 0, as which a limit of 8192 is
// written, too, and none tells the two maps of a VLAN apart.
#include "kslctl/hub/rules.h"

#include <algorithm>
#include <fmt/ranges.h>

namespace kslctl::hub {

namespace {

using Ports = std::vector<uint32_t>;

// ---- From facts to a verdict ----

// The first fact that is not read decides. What it means nothing for is in order; what it failed for is not judged.
template <typename Judge>
Verdict over(const Judge &judge) {
    return judge();
}
template <typename Judge, typename T, typename... Others>
Verdict over(const Judge &judge, const Fact<T> &fact, const Fact<Others> &...others) {
    if (!fact.is_read()) {
        return fact.failure() != nullptr ? Verdict(*fact.failure()) : Verdict();
    }
    return over([&](const Others &...values) { return judge(*fact, values...); }, others...);
}

Fact<bool> where_true(const Fact<bool> &fact) {
    return fact.where([](bool value) { return value; });
}

Verdict met_if(bool is_met, const Sight &sight) {
    return is_met ? Verdict(sight) : Verdict();
}

// ---- What is seen ----

std::string bit(uint32_t number, int value) {
    return fmt::format("bit {}: {}", number, value);
}

std::string bit_of(const Register &which, uint32_t port, uint32_t number, int value) {
    return fmt::format("{}, {}", describe(which, port), bit(number, value));
}

// Of a register of the chip with a bit for each port.
std::string bits(const Ports &ports, int value) {
    return fmt::format("{} {}: {}", ports.size() == 1 ? "bit" : "bits", fmt::join(ports, ", "), value);
}
std::string bits_of(const Register &which, const Ports &ports, int value) {
    return fmt::format("{}, {}", describe(which), bits(ports, value));
}

std::string number_of(const Register &which, uint32_t port, uint32_t last_bit, uint32_t number) {
    return fmt::format("{}, bits {} to 0: {}", describe(which, port), last_bit, number);
}

Ports chosen(const Ports &ports, const std::function<bool(uint32_t port)> &is_chosen) {
    Ports some;
    std::copy_if(ports.begin(), ports.end(), std::back_inserter(some), is_chosen);
    return some;
}

bool is_in(uint32_t port, const Ports &ports) {
    return std::find(ports.begin(), ports.end(), port) != ports.end();
}

// ---- The chip ----

Verdict chip_self_test(const ChipFacts &chip) {
    const auto judge = [](const SelfTest &test) {
        return met_if(!test.passed && test.failed_ports.empty(),
                      {bit_of(registers::self_test, 0, 47, 1) + "; bits 23 to 0: 0"});
    };
    return over(judge, chip.status.self_test);
}

Verdict not_forwarding(const ChipFacts &chip) {
    const auto judge = [](const Mode &mode) {
        return met_if(!mode.forwarding, {bit_of(registers::switch_mode, 0, 1, 0)});
    };
    return over(judge, chip.status.mode);
}

Verdict not_managed(const ChipFacts &chip) {
    const auto judge = [](const Mode &mode) {
        return met_if(!mode.managed, {bit_of(registers::switch_mode, 0, 0, 0)});
    };
    return over(judge, chip.status.mode);
}

Verdict no_ageing(const ChipFacts &chip) {
    const auto judge = [](uint32_t time) { return met_if(time == 0, {number_of(registers::age_timer, 0, 19, time)}); };
    return over(judge, chip.status.age_timer);
}

// ---- Mirroring and trunks ----

// One operation reads the links of all ports, so all are read if one is.
const Fact<bool> &links(const ChipFacts &chip) {
    return chip.status.ports[0].link;
}

bool has_link(const ChipFacts &chip, uint32_t port) {
    return *chip.status.ports[port].link;
}

Verdict mirror_target_is_source(const ChipFacts &chip) {
    const auto judge = [](const Ports &targets, const Ports &ingress, const Ports &egress) {
        std::string text;
        Ports both;
        for (const auto &[mask, sources] : {std::pair(&registers::ingress_mirror_mask, &ingress),
                                            std::pair(&registers::egress_mirror_mask, &egress)}) {
            const Ports common = chosen(targets, [&, &in = *sources](uint32_t port) { return is_in(port, in); });
            text += common.empty() ? "" : "; " + bits_of(*mask, common, 1);
            both = common.empty() ? both : common;
        }
        return met_if(!both.empty(), {bits_of(registers::mirror_control, targets, 1) + text,
                                      fmt::format("{}", fmt::join(targets, ",")), targets});
    };
    return over(judge, mirror_targets(chip), chip.mirroring.ingress, chip.mirroring.egress);
}

Verdict mirror_target_no_link(const ChipFacts &chip) {
    const auto judge = [&](const Ports &targets, bool) {
        const Ports down = chosen(targets, [&](uint32_t port) { return !has_link(chip, port); });
        return met_if(!down.empty(), {fmt::format("{}; {}", bits_of(registers::mirror_control, down, 1),
                                                  bits_of(registers::link_status, down, 0)),
                                      fmt::format("{}", fmt::join(down, ",")), down});
    };
    return over(judge, mirror_targets(chip), links(chip));
}

Verdict trunk_member_no_link(const ChipFacts &chip) {
    const auto judge = [&](const Ports &members, bool) {
        const Ports down = chosen(members, [&](uint32_t port) { return !has_link(chip, port); });
        return met_if(!down.empty(), {fmt::format("{}; {}", bits_of(registers::trunk_group_0, members, 1),
                                                  bits_of(registers::link_status, down, 0)),
                                      fmt::format("{}", fmt::join(down, ",")), members});
    };
    return over(judge, trunk_members(chip), links(chip));
}

Verdict trunk_speeds_differ(const ChipFacts &chip) {
    const auto judge = [&](const Ports &members, bool) -> Verdict {
        const Ports up = chosen(members, [&](uint32_t port) { return has_link(chip, port); });
        if (up.empty()) {
            return {};
        }
        const auto judge_speeds = [&](uint32_t) {
            const Ports slow = chosen(up, [&](uint32_t port) { return *chip.status.ports[port].speed == 10; });
            const Ports fast = chosen(up, [&](uint32_t port) { return !is_in(port, slow); });
            return met_if(!slow.empty() && !fast.empty(),
                          {fmt::format("{}; {}; {}", bits_of(registers::trunk_group_0, members, 1),
                                       bits_of(registers::port_speed, fast, 1), bits(slow, 0)),
                           fmt::format("{}", fmt::join(members, ",")), members});
        };
        return over(judge_speeds, chip.status.ports[up[0]].speed);
    };
    return over(judge, trunk_members(chip), links(chip));
}

// ---- The port and its PHY ----

template <PortControl state>
Verdict port_control(const ChipFacts &, const PortFacts &port) {
    const auto judge = [&](PortControl control) {
        const char *const seen = control == PortControl::off ? "bits 1 and 0: 1" : "bits 1 and 0: not the same";
        return met_if(control == state,
                      {fmt::format("{}, {}", describe(registers::port_control, port.status.port), seen)});
    };
    return over(judge, port.control);
}

Verdict port_self_test(const ChipFacts &chip, const PortFacts &port) {
    const auto judge = [&](const SelfTest &test) {
        return met_if(is_in(port.status.port, test.failed_ports),
                      {bit_of(registers::self_test, 0, port.status.port, 1)});
    };
    return over(judge, chip.status.self_test);
}

// What switches a port off also writes its PHY control, so that of a port that is not on means nothing.
Fact<PhyControl> phy_of(const PortFacts &port) {
    return port.control.is_read() && *port.control != PortControl::on ? Fact<PhyControl>() : port.phy;
}

template <uint32_t number, bool PhyControl::*field, bool value = true>
Verdict phy_bit(const ChipFacts &, const PortFacts &port) {
    const auto judge = [&](const PhyControl &phy) {
        return met_if(phy.*field == value, {bit_of(registers::phy_control, port.status.port, number, value ? 1 : 0)});
    };
    return over(judge, phy_of(port));
}

// ---- The link ----

std::string phy_and_status(const PortFacts &port, const std::string &told, const Register &status, int value) {
    return fmt::format("{}, {}; {}", describe(registers::phy_control, port.status.port), told,
                       bit_of(status, 0, port.status.port, value));
}

Verdict speed_differs(const ChipFacts &, const PortFacts &port) {
    const auto judge = [&](bool, const PhyControl &phy, uint32_t speed) {
        return met_if(!phy.negotiates && speed != phy.speed,
                      {phy_and_status(port, bit(12, 0) + ", " + bit(13, phy.speed == 100 ? 1 : 0),
                                      registers::port_speed, speed == 100 ? 1 : 0)});
    };
    return over(judge, where_true(port.status.link), phy_of(port), port.status.speed);
}

Verdict duplex_differs(const ChipFacts &, const PortFacts &port) {
    const auto judge = [&](bool, const PhyControl &phy, Duplex duplex) {
        return met_if(!phy.negotiates && duplex != phy.duplex,
                      {phy_and_status(port, bit(12, 0) + ", " + bit(8, phy.duplex == Duplex::full ? 1 : 0),
                                      registers::port_duplex, duplex == Duplex::full ? 1 : 0)});
    };
    return over(judge, where_true(port.status.link), phy_of(port), port.status.duplex);
}

Verdict half_duplex(const ChipFacts &, const PortFacts &port) {
    const auto judge = [&](bool, const PhyControl &phy, Duplex duplex) {
        return met_if(phy.negotiates && duplex == Duplex::half,
                      {phy_and_status(port, bit(12, 1), registers::port_duplex, 0)});
    };
    return over(judge, where_true(port.status.link), phy_of(port), port.status.duplex);
}

Verdict link_unsteady(const ChipFacts &, const PortFacts &port) {
    const auto judge = [&](uint32_t changes) {
        return met_if(changes != 0,
                      {fmt::format("{}, bit {}: changed {} from read to read", describe(registers::link_status),
                                   port.status.port, changes == 1 ? "once" : fmt::format("{} times", changes))});
    };
    return over(judge, port.link_changes);
}

Verdict errors_counted(const ChipFacts &, const PortFacts &port) {
    const auto judge = [&](const std::vector<ErrorCount> &errors) {
        std::vector<std::string> seen;
        std::transform(errors.begin(), errors.end(), std::back_inserter(seen), [&](const ErrorCount &error) {
            return fmt::format("counter {} of port {} (page 0x{:02x}, offset 0x{:02x}): moved by {}", error.name,
                               port.status.port, KSL_COUNTER_PAGE + port.status.port, error.offset, error.by);
        });
        return met_if(!seen.empty(), {fmt::format("{}", fmt::join(seen, "; "))});
    };
    return over(judge, port.errors);
}

// Only for a port that somebody misses: the others may be unused.
Verdict no_link(const ChipFacts &chip, const PortFacts &port) {
    if (!chip.by_number) {
        return {};
    }
    const auto judge = [&](bool) -> Verdict {
        for (const Rule &rule : rules()) {
            const Verdict verdict = rule.explains_no_link ? rule.of_port(chip, port) : Verdict();
            if (const Failure *const failure = verdict.failure()) {
                return *failure;
            }
            if (verdict.is_read()) {
                return {};
            }
        }
        return Sight{bit_of(registers::link_status, 0, port.status.port, 0)};
    };
    return over(judge, port.status.link.where([](bool link) { return !link; }));
}

// ---- VLANs and addresses ----

// Without a link, only one that was asked for by its number.
Fact<bool> is_used(const ChipFacts &chip, const PortFacts &port) {
    return chip.by_number ? Fact<bool>(true) : where_true(port.status.link);
}

std::string pvid_text(const PortFacts &port, uint32_t vid) {
    return number_of(registers::pvid, port.status.port, 11, vid);
}

Verdict pvid_vlan_invalid(const ChipFacts &chip, const PortFacts &port) {
    const auto judge = [&](const VlanEntries &vlans, bool, const Pvid &pvid) {
        const bool has_entry = pvid.vid >= kFirstVlan && pvid.vid <= kLastVlan;
        return met_if(
            !is_valid(vlans, pvid.vid),
            {pvid_text(port, pvid.vid) + (has_entry ? fmt::format("; entry of VLAN {}, {}", pvid.vid, bit(59, 0))
                                                    : std::string(", which has no entry in the VLAN table"))});
    };
    return over(judge, chip.vlans, is_used(chip, port), port.pvid);
}

// In neither map.
Verdict pvid_not_member(const ChipFacts &chip, const PortFacts &port) {
    const auto judge = [&](const VlanEntries &vlans, bool, const Pvid &pvid) {
        return met_if(leaves_out(vlans, pvid.vid, port.status.port),
                      {fmt::format("{}; entry of VLAN {}, bits {} and {}: 0", pvid_text(port, pvid.vid), pvid.vid,
                                   port.status.port, kUpperMap + port.status.port),
                       std::to_string(pvid.vid)});
    };
    return over(judge, chip.vlans, is_used(chip, port), port.pvid);
}

Verdict member_of_invalid_vlan(const ChipFacts &chip, const PortFacts &port) {
    const auto judge = [&](const VlanEntries &vlans, bool) -> Verdict {
        const std::vector<uint32_t> invalid = invalid_vlans_with(vlans, port.status.port);
        if (invalid.empty()) {
            return {};
        }
        return Sight{fmt::format("{} {}, bit {} or {}: 1, {}",
                                 invalid.size() == 1 ? "entry of VLAN" : "entries of VLANs", describe_some(invalid),
                                 port.status.port, kUpperMap + port.status.port, bit(59, 0)),
                     std::to_string(invalid[0])};
    };
    return over(judge, chip.vlans, is_used(chip, port));
}

Verdict learning_limit(const ChipFacts &, const PortFacts &port) {
    const auto judge = [&](uint32_t learned, uint32_t limit) {
        return met_if(limit != kNoLearningLimit && learned >= limit,
                      {fmt::format("{}; {}", number_of(registers::learned_addresses, port.status.port, 12, learned),
                                   number_of(registers::learning_limit, port.status.port, 12, limit))});
    };
    return over(judge, port.learned, port.learning_limit);
}

// ---- The table ----

constexpr Rule kRules[] = {
    {.id = "chip_self_test",
     .title = "the chip failed a self-test",
     .meaning = "The chip found itself faulty and names no port. Any port may be concerned.",
     .command = "bist",
     .of_chip = chip_self_test,
     .severity = Severity::fault},
    {.id = "not_forwarding",
     .title = "the chip does not forward",
     .meaning = "No frame gets from one port to another, whatever is set at the ports.",
     .command = "hub-config --help",
     .of_chip = not_forwarding,
     .severity = Severity::fault},
    {.id = "port_off",
     .title = "the port is switched off",
     .meaning = "It has no link and carries no frames until it is switched on.",
     .command = "port up {}",
     .of_port = port_control<PortControl::off>,
     .severity = Severity::fault,
     .explains_no_link = true},
    {.id = "port_partly_off",
     .title = "the port is partly switched off",
     .meaning = "Each of the two bits alone switches off a part of the port.",
     .command = "port up {}",
     .of_port = port_control<PortControl::partly>,
     .severity = Severity::fault,
     .explains_no_link = true},
    {.id = "port_self_test",
     .title = "the port failed its self-test",
     .meaning = "The chip found the port faulty. No setting mends it; use another port.",
     .command = "bist",
     .of_port = port_self_test,
     .severity = Severity::fault,
     .explains_no_link = true},
    {.id = "phy_reset",
     .title = "the PHY is in reset",
     .meaning = "A PHY clears this bit when its reset is done. This one has not come to the end of it.",
     .command = "port reset-phy {}",
     .of_port = phy_bit<15, &PhyControl::reset>,
     .severity = Severity::fault,
     .explains_no_link = true},
    {.id = "phy_power_down",
     .title = "the PHY is powered down",
     .meaning = "It has no link until it gets power again.",
     .command = "port up {}",
     .of_port = phy_bit<11, &PhyControl::power_down>,
     .severity = Severity::fault,
     .explains_no_link = true},
    {.id = "phy_isolated",
     .title = "the PHY is isolated",
     .meaning = "It is cut off from its port of the chip: nothing gets from the one to the other.",
     .command = "port up {}",
     .of_port = phy_bit<10, &PhyControl::isolated>,
     .severity = Severity::fault,
     .explains_no_link = true},
    {.id = "phy_loopback",
     .title = "the PHY is in loopback",
     .meaning = "It returns what the port sends, and exchanges nothing with the partner.",
     .command = "port up {}",
     .of_port = phy_bit<14, &PhyControl::loopback>,
     .severity = Severity::fault,
     .explains_no_link = true},
    {.id = "pvid_vlan_invalid",
     .title = "the VLAN of the PVID is not valid",
     .meaning = "Frames that come without a tag belong to a VLAN that the chip does not know.",
     .command = "vlan show",
     .of_port = pvid_vlan_invalid,
     .severity = Severity::fault},
    {.id = "pvid_not_member",
     .title = "the port is not in the VLAN of its PVID",
     .meaning = "Frames that come without a tag belong to a VLAN that has the port in neither of its maps.",
     .command = "vlan entry {}",
     .of_port = pvid_not_member,
     .severity = Severity::fault},
    {.id = "not_managed",
     .title = "the chip is not managed",
     .meaning = "Settings that are made here, such as VLANs, may have no effect.",
     .command = "hub-config --help",
     .of_chip = not_managed,
     .severity = Severity::warning},
    {.id = "mirror_target_is_source",
     .title = "a mirror target is also mirrored",
     .meaning = "The port gets copies of its own frames.",
     .command = "mirror off {}",
     .of_chip = mirror_target_is_source,
     .severity = Severity::warning},
    {.id = "mirror_target_no_link",
     .title = "a mirror target has no link",
     .meaning = "The copies reach nobody.",
     .command = "diagnose {}",
     .of_chip = mirror_target_no_link,
     .severity = Severity::warning},
    {.id = "trunk_member_no_link",
     .title = "a trunk member has no link",
     .meaning = "The group has to do without this member.",
     .command = "diagnose {}",
     .of_chip = trunk_member_no_link,
     .severity = Severity::warning},
    {.id = "trunk_speeds_differ",
     .title = "trunk members have different speeds",
     .meaning = "What takes the slower member arrives later, or gets lost where there is too much of it.",
     .command = "port show {}",
     .of_chip = trunk_speeds_differ,
     .severity = Severity::warning},
    {.id = "phy_forced",
     .title = "the PHY does not negotiate",
     .meaning = "The partner must be forced to the same speed and duplex. One that negotiates cannot learn the duplex.",
     .command = "port speed {} 100",
     .of_port = phy_bit<12, &PhyControl::negotiates, false>,
     .severity = Severity::warning,
     .explains_no_link = true},
    {.id = "speed_differs",
     .title = "speed unlike the one the PHY is forced to",
     .meaning = "PHY and port do not agree, and one of the two is not as somebody wants it.",
     .command = "port speed {}",
     .of_port = speed_differs,
     .severity = Severity::warning},
    {.id = "duplex_differs",
     .title = "duplex unlike the one the PHY is forced to",
     .meaning = "PHY and port do not agree, and one of the two is not as somebody wants it.",
     .command = "port show {}",
     .of_port = duplex_differs,
     .severity = Severity::warning},
    {.id = "half_duplex",
     .title = "half duplex, although the PHY negotiates",
     .meaning = "The partner knows no full duplex, or it does not negotiate. If it is forced to full duplex, frames "
                "collide and get lost.",
     .command = "mib {} --delta 5",
     .of_port = half_duplex,
     .severity = Severity::warning},
    {.id = "link_unsteady",
     .title = "the link came or went during the look",
     .meaning = "A loose contact, a partner that starts anew, or two sides that find no common speed.",
     .command = "diagnose {} --for 60",
     .of_port = link_unsteady,
     .severity = Severity::warning},
    {.id = "errors_counted",
     .title = "a counter of errors moved during the look",
     .meaning = "The name says what goes wrong. Look at the cable, at the duplex of both sides, and at the partner.",
     .command = "mib {} --delta 5",
     .of_port = errors_counted,
     .severity = Severity::warning},
    {.id = "member_of_invalid_vlan",
     .title = "the port is in a VLAN that is not valid",
     .meaning = "The chip does not use the entry, so the port has no part in that VLAN.",
     .command = "vlan entry {}",
     .of_port = member_of_invalid_vlan,
     .severity = Severity::warning},
    {.id = "learning_limit",
     .title = "the learning limit is reached",
     .meaning = "The port may learn no further address. Only the chip knows what becomes of frames from further "
                "stations.",
     .command = "arl --port {}",
     .of_port = learning_limit,
     .severity = Severity::warning},
    {.id = "no_ageing",
     .title = "ageing is switched off",
     .meaning = "With an age time of 0, an address stays at its port, also when its station has moved to another one.",
     .command = "age",
     .of_chip = no_ageing,
     .severity = Severity::note},
    {.id = "no_link",
     .title = "no link, and nothing here explains it",
     .meaning = "Nothing is wrong on this side that keeps a link from coming. Look at the cable and at the partner.",
     .command = "diagnose {} --for 60",
     .of_port = no_link,
     .severity = Severity::note},
};

} // namespace

std::span<const Rule> rules() {
    return kRules;
}

const Rule &rule_named(std::string_view id) {
    return *std::find_if(std::begin(kRules), std::end(kRules), [&](const Rule &rule) { return rule.id == id; });
}

} // namespace kslctl::hub
