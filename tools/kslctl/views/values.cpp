// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/values.h"

#include "kslctl/views/raw.h"
#include "kslctl/views/vlans.h"

#include <fmt/ranges.h>
#include <ksl/decode.h>

namespace kslctl::views {

namespace {

struct RegisterValue {
    const hub::Register *which;
    Cell (*cell)(const hub::Bytes &bytes);
};

Cell port_mask(const hub::Bytes &bytes) {
    return port_numbers(hub::ports_of(ksl_value32(bytes.data())));
}

Cell pvid(const hub::Bytes &bytes) {
    const auto [vid, priority] = hub::decode_pvid(bytes);
    return {fmt::format("VLAN {}, priority {}", vid, priority), {{"vid", vid}, {"priority", priority}}};
}

// Every register that a command changes or compares has a row.
constexpr RegisterValue kValues[] = {
    {&hub::registers::port_control,
     [](const hub::Bytes &bytes) { return port_control(hub::decode_port_control(bytes)); }},
    {&hub::registers::phy_control, [](const hub::Bytes &bytes) { return phy_control(hub::decode_phy_control(bytes)); }},
    {&hub::registers::age_timer, [](const hub::Bytes &bytes) { return number(ksl_age_time(bytes.data())); }},
    {&hub::registers::mirror_control,
     [](const hub::Bytes &bytes) { return mirror_control(hub::decode_mirror_control(bytes)); }},
    {&hub::registers::ingress_mirror_mask, port_mask},
    {&hub::registers::egress_mirror_mask, port_mask},
    {&hub::registers::learning_limit,
     [](const hub::Bytes &bytes) { return learning_limit(hub::decode_learning(bytes)); }},
    {&hub::registers::pvid, pvid},
    {&hub::registers::vlan_table_entry,
     [](const hub::Bytes &bytes) {
         return Cell{{}, vlan_entry(ksl_decode_vlan_entry(bytes.data()))};
     }},
};

} // namespace

Cell port_control(hub::PortControl control) {
    constexpr const char *kTexts[] = {"on", "partly", "off"};
    const char *const text = kTexts[static_cast<size_t>(control)];
    return {text, text};
}

Cell self_test(const hub::SelfTest &test) {
    const char *const verdict = test.passed ? "passed" : "failed";
    return {test.failed_ports.empty() ? verdict
                                      : fmt::format("{} (ports {})", verdict, fmt::join(test.failed_ports, ", ")),
            {{"passed", test.passed}, {"failed_ports", test.failed_ports}},
            !test.passed || !test.failed_ports.empty()};
}

Cell mode(const hub::Mode &mode) {
    return {fmt::format("{}, {}", mode.managed ? "managed" : "unmanaged",
                        mode.forwarding ? "forwarding" : "not forwarding"),
            {{"managed", mode.managed}, {"forwarding", mode.forwarding}}};
}

Cell firmware_version(const hub::FirmwareVersion &version) {
    const std::string bytes = fmt::format("{:02x}", fmt::join(version, " "));
    return {bytes, bytes};
}

Cell link_state(bool link) {
    return {link ? "up" : "down", link};
}

Cell duplex_mode(hub::Duplex duplex) {
    const char *const text = duplex == hub::Duplex::full ? "full" : "half";
    return {text, text};
}

Cell link(const hub::PortStatus &port) {
    return cell(port.link, link_state);
}

Cell speed(const hub::PortStatus &port) {
    return cell(port.speed, number);
}

Cell duplex(const hub::PortStatus &port) {
    return cell(port.duplex, duplex_mode);
}

Cell trunk_control(bool enabled) {
    return {enabled ? "on" : "off", enabled};
}

Cell trunk_group(const hub::TrunkGroup &group) {
    return {fmt::format("flag {}, {}", group.flag ? "set" : "clear", hub::describe_ports(group.ports)),
            {{"flag", group.flag}, {"ports", group.ports}}};
}

Cell mirror_control(const hub::MirrorControl &control) {
    const auto &[enabled, ports] = control;
    return {fmt::format("{}, to {}", enabled ? "on" : "off", hub::describe_ports(ports)),
            {{"enabled", enabled}, {"capture_ports", ports}}};
}

Cell learning_limit(uint32_t limit) {
    return {limit == hub::kNoLearningLimit ? "no limit" : std::to_string(limit), limit};
}

Cell port_numbers(const std::vector<uint32_t> &ports) {
    return {hub::describe_ports(ports), ports};
}

Cell phy_control(const hub::PhyControl &phy) {
    const Cell mode = duplex_mode(phy.duplex);
    return {fmt::format("{} {} {}{}{}{}{}", phy.negotiates ? "auto" : "forced", phy.speed, mode.text,
                        phy.loopback ? ", loopback" : "", phy.power_down ? ", power down" : "",
                        phy.isolated ? ", isolated" : "", phy.reset ? ", reset" : ""),
            {{"negotiates", phy.negotiates},
             {"speed", phy.speed},
             {"duplex", mode.json},
             {"loopback", phy.loopback},
             {"power_down", phy.power_down},
             {"isolated", phy.isolated},
             {"reset", phy.reset}}};
}

Cell value_of(const hub::Register &which, const hub::Bytes &bytes) {
    for (const RegisterValue &value : kValues) {
        if (value.which == &which) {
            return value.cell(bytes);
        }
    }
    const std::string text = hex(bytes, which.place.length);
    return {text, text};
}

Cell value_or_bytes(const hub::Register &which, const hub::Fact<hub::Bytes> &fact, bool raw) {
    return raw ? bytes(fact, which.place.length)
               : cell(fact, [&](const hub::Bytes &known) { return value_of(which, known); });
}

} // namespace kslctl::views
