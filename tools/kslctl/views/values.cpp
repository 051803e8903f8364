// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/values.h"

#include "kslctl/hub/forwarding.h"
#include "kslctl/views/raw.h"
#include "kslctl/views/vlans.h"

#include <fmt/core.h>
#include <ksl/decode.h>

namespace kslctl::views {

namespace {

struct RegisterValue {
    const hub::Register *which;
    Cell (*cell)(const hub::Bytes &bytes);
};

Cell port_mask(const hub::Bytes &bytes) {
    const std::vector<uint32_t> ports = hub::ports_of(ksl_value32(bytes.data()));
    return {hub::describe_ports(ports), ports};
}

Cell mirror_control(const hub::Bytes &bytes) {
    const auto [enabled, ports] = hub::decode_mirror_control(bytes);
    return {fmt::format("{}, {}", enabled ? "on" : "off",
                        ports.empty() ? "no capture port" : "capture " + hub::describe_ports(ports)),
            {{"enabled", enabled}, {"capture_ports", ports}}};
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
    {&hub::registers::mirror_control, mirror_control},
    {&hub::registers::ingress_mirror_mask, port_mask},
    {&hub::registers::egress_mirror_mask, port_mask},
    {&hub::registers::learning_limit, [](const hub::Bytes &bytes) { return number(hub::decode_learning(bytes)); }},
    {&hub::registers::pvid, pvid},
    {&hub::registers::vlan_table_entry,
     [](const hub::Bytes &bytes) {
         return Cell{{}, vlan_entry(ksl_decode_vlan_entry(bytes.data()))};
     }},
};

Cell duplex_cell(hub::Duplex duplex) {
    const char *const text = duplex == hub::Duplex::full ? "full" : "half";
    return {text, text};
}

} // namespace

Cell port_control(hub::PortControl control) {
    constexpr const char *kTexts[] = {"on", "partly", "off"};
    const char *const text = kTexts[static_cast<size_t>(control)];
    return {text, text};
}

Cell link(const hub::PortStatus &port) {
    return cell(port.link, [](bool link) { return Cell{link ? "up" : "down", link}; });
}

Cell speed(const hub::PortStatus &port) {
    return cell(port.speed, number);
}

Cell duplex(const hub::PortStatus &port) {
    return cell(port.duplex, duplex_cell);
}

Cell phy_control(const hub::PhyControl &phy) {
    const Cell mode = duplex_cell(phy.duplex);
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
