// SPDX-License-Identifier: Apache-2.0
#include "kslctl/port_bits.h"

#include <expectation.h>
#include <fmt/core.h>

namespace kslctl {

namespace {

constexpr unsigned kReset = 0x8000;
constexpr unsigned kLoopback = 0x4000;
constexpr unsigned kFast = 0x2000;
constexpr unsigned kNegotiates = 0x1000;
constexpr unsigned kPowerDown = 0x0800;
constexpr unsigned kIsolated = 0x0400;
constexpr unsigned kFullDuplex = 0x0100;

constexpr unsigned kPortOff = 0x03;

unsigned register16(const Bytes &bytes) {
    return static_cast<unsigned>(bytes[0] << 8 | bytes[1]);
}

Bytes bytes16(unsigned value) {
    return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

} // namespace

PhyControl phy_control(const Bytes &bytes) {
    const unsigned value = register16(bytes);
    return {.reset = (value & kReset) != 0,
            .loopback = (value & kLoopback) != 0,
            .fast = (value & kFast) != 0,
            .negotiates = (value & kNegotiates) != 0,
            .power_down = (value & kPowerDown) != 0,
            .isolated = (value & kIsolated) != 0,
            .full_duplex = (value & kFullDuplex) != 0};
}

std::string phy_control_text(const Bytes &bytes) {
    const PhyControl phy = phy_control(bytes);
    return fmt::format("{} {} {}{}{}{}{}", phy.negotiates ? "auto" : "forced", phy.fast ? 100 : 10,
                       phy.full_duplex ? "full" : "half", phy.loopback ? ", loopback" : "",
                       phy.power_down ? ", power down" : "", phy.isolated ? ", isolated" : "",
                       phy.reset ? ", reset" : "");
}

Json phy_control_json(const Bytes &bytes) {
    const PhyControl phy = phy_control(bytes);
    return {{"negotiates", phy.negotiates},
            {"speed", phy.fast ? 100 : 10},
            {"duplex", phy.full_duplex ? "full" : "half"},
            {"loopback", phy.loopback},
            {"power_down", phy.power_down},
            {"isolated", phy.isolated},
            {"reset", phy.reset}};
}

Bytes with_speed(const Bytes &phy_control, uint32_t speed) {
    const unsigned others = register16(phy_control) & ~(kFast | kNegotiates);
    return bytes16(others | (speed == 100 ? kFast | kNegotiates : 0));
}

std::string port_control_text(const Bytes &bytes) {
    const unsigned off = bytes[0] & kPortOff;
    return off == 0 ? "on" : off == kPortOff ? "off" : "partly";
}

Json port_control_json(const Bytes &bytes) {
    return port_control_text(bytes);
}

uint32_t indicated_speed(const Bytes &bytes) {
    return (bytes[1] & 0x02) != 0 ? 100 : 10;
}

std::string speed_indication_text(const Bytes &bytes) {
    return std::to_string(indicated_speed(bytes));
}

Json speed_indication_json(const Bytes &bytes) {
    return indicated_speed(bytes);
}

std::string pvid_text(const Bytes &bytes) {
    const kslcfg::Pvid pvid = kslcfg::pvid_from(bytes.data());
    return fmt::format("VLAN {}, priority {}", pvid.vid, pvid.priority);
}

Json pvid_json(const Bytes &bytes) {
    const kslcfg::Pvid pvid = kslcfg::pvid_from(bytes.data());
    return {{"vid", pvid.vid}, {"priority", pvid.priority}};
}

Bytes pvid_bytes(uint32_t vid, uint32_t priority) {
    return bytes16(priority << 13 | vid);
}

} // namespace kslctl
