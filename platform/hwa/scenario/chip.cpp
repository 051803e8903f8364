// SPDX-License-Identifier: Apache-2.0
#include "scenario/chip.h"

#include "chip/counters.h"
#include "chip/ports.h"
#include "chip/registers.h"
#include "chip/stored.h"

#include <algorithm>
#include <json/hex.h>
#include <register_values.h>

namespace hwa {
namespace {

// The bytes of a string of hexadecimal digits.
std::vector<uint8_t> read_bytes(const Node &node) {
    std::vector<uint8_t> bytes = json::hex_bytes(node.text(), ' ');
    if (bytes.empty()) {
        node.refuse("must be pairs of hexadecimal digits");
    }
    return bytes;
}

void read_firmware(const Node &node, ChipImage &chip) {
    const std::vector<uint8_t> bytes = read_bytes(node);
    if (bytes.size() != kVersionLength) {
        node.refuse("must have " + std::to_string(kVersionLength) + " bytes");
    }
    std::copy(bytes.begin(), bytes.end(), chip.firmware.begin());
}

void read_mode(const Node &node, ChipImage &chip) {
    node.only({"managed", "forwarding"});
    chip.managed = node.required("managed").boolean();
    chip.forwarding = node.required("forwarding").boolean();
}

void set_register(std::span<uint8_t> bytes, unsigned value) {
    bytes[0] = static_cast<uint8_t>(value >> 8);
    bytes[1] = static_cast<uint8_t>(value);
}

void read_partner(const Node &node, PortImage &port) {
    port.partner = node.required("link").boolean();
    if (const auto speed = node.optional("speed")) {
        const unsigned megabits = speed->number(10, 100);
        if (megabits != 10 && megabits != 100) {
            speed->refuse("must be 10 or 100");
        }
        port.partner_fast = megabits == 100;
    }
    if (const auto duplex = node.optional("duplex")) {
        port.partner_full_duplex = duplex->one_of({"half", "full"}) == 1;
    }
}

void read_port_registers(const Node &node, ChipImage &chip, size_t number) {
    if (const auto phy = node.optional("phy_control")) {
        const unsigned value = phy->number(0, 0xFFFF);
        if ((value & kPhySelfClearing) != 0) {
            phy->refuse("has bit 15 or 9 set, which always read as 0");
        }
        set_register(stored(chip, ksl_phy_control_register, number), value);
    }
    if (const auto control = node.optional("port_control")) {
        stored(chip, ksl_port_control_register, number)[0] = static_cast<uint8_t>(control->number(0, 0xFF));
    }
    const auto pvid = node.optional("pvid");
    const auto priority = node.optional("priority");
    set_register(stored(chip, ksl_pvid_register, number),
                 pvid_value(pvid ? pvid->number(0, 4095) : 0, priority ? priority->number(0, 7) : 0));
}

void read_rates(const Node &node, ChipImage &chip, size_t port) {
    std::set<unsigned> seen;
    for (const Node &rate : node.list("rates", kCounters)) {
        rate.only({"offset", "per_second"});
        const unsigned offset = rate.identity("offset", 0, kPageSize - 1, seen);
        const auto counter = counter_at(static_cast<uint8_t>(offset));
        if (!counter || counter->offset != offset) {
            rate.required("offset").refuse("is not where a counter begins");
        }
        chip.rates[port][counter->number] = to_bytes<4>(rate.required("per_second").number(0, UINT32_MAX));
    }
}

void read_port(const Node &node, ChipImage &chip, std::set<unsigned> &seen) {
    node.only(
        {"port", "link", "speed", "duplex", "self_test", "phy_control", "port_control", "pvid", "priority", "rates"});
    const unsigned number = node.identity("port", 0, kPorts - 1, seen);
    PortImage &port = chip.ports[number];
    read_partner(node, port);
    if (const auto self_test = node.optional("self_test")) {
        port.test_failed = self_test->one_of({"pass", "fail"}) == 1;
    }
    if (port.test_failed != 0 && port.partner != 0) {
        node.refuse("cannot have a link, because its self-test failed");
    }
    read_port_registers(node, chip, number);
    read_rates(node, chip, number);
}

void read_vlan_entry(const Node &node, VlanImage &vlan, std::set<unsigned> &seen) {
    node.only({"vid", "valid", "field", "upper_map", "lower_map"});
    const unsigned vid = node.identity("vid", 1, kLastVid, seen);
    const auto field = [&](const char *key, unsigned bits) -> uint32_t {
        const auto found = node.optional(key);
        return found ? found->number(0, (1U << bits) - 1) : 0;
    };
    const auto valid = node.optional("valid");
    vlan.entries[vid] = to_bytes<8>(vlan_entry_value({.valid = !valid || valid->boolean(),
                                                      .field = field("field", 5),
                                                      .upper_map = field("upper_map", 27),
                                                      .lower_map = field("lower_map", 27)}));
}

void read_vlan(const Node &node, ChipImage &chip) {
    node.only({"enabled", "entries"});
    stored(chip, ksl_vlan_enable_register)[0] = node.required("enabled").boolean() ? kVlanEnabled : 0;
    std::set<unsigned> vids;
    for (const Node &entry : node.list("entries", kLastVid)) {
        read_vlan_entry(entry, chip.vlan, vids);
    }
}

AddressImage read_address(const Node &node, const ChipImage &chip) {
    node.only({"mac", "port", "vid", "static", "silent"});
    const Node mac_node = node.required("mac");
    const std::string text = mac_node.text();
    const std::vector<uint8_t> mac = json::hex_bytes(text, ':');
    if (mac.size() != 6 || text.size() != 17) {
        mac_node.refuse("must be a MAC address such as \"02:00:00:00:00:01\"");
    }
    const unsigned port = node.required("port").number(0, kPorts - 1);
    const auto is_static = node.optional("static");

    const auto vid = node.optional("vid");

    AddressImage address{};
    const auto silent = node.optional("silent");
    address.silent = silent && silent->boolean();
    address.raw[1] = static_cast<uint8_t>((is_static && is_static->boolean() ? kStaticAddress : 0U) | port);
    std::copy(mac.begin(), mac.end(), address.raw.begin() + 2);
    address.vid = to_bytes<2>(vid ? vid->number(0, 4095) : ksl_pvid_vid(stored(chip, ksl_pvid_register, port).data()));
    return address;
}

void read_registers(const Node &node, ChipImage &chip) {
    node.only({"page", "offset", "bytes"});
    const unsigned page = node.required("page").number(0, kPages - 1);
    const unsigned offset = node.required("offset").number(0, kPageSize - 1);
    const Node bytes_node = node.required("bytes");
    const std::vector<uint8_t> bytes = read_bytes(bytes_node);
    if (offset + bytes.size() > kPageSize) {
        bytes_node.refuse("must end within the page of 256 bytes");
    }
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (const char *const key = scenario_key_of(static_cast<uint8_t>(page), static_cast<uint8_t>(offset + i))) {
            node.refuse("covers a register that \"" + std::string(key) + "\" states");
        }
        chip.pages[page][offset + i] = bytes[i];
    }
}

} // namespace

void read_chip(const Node &node, ChipImage &chip, std::set<unsigned> &seen) {
    node.only({"chip", "firmware", "seed", "mode", "ports", "vlan", "addresses", "registers"});
    chip.number = static_cast<uint8_t>(node.identity("chip", 0, 255, seen));
    chip.present = 1;
    chip.managed = chip.forwarding = 1;
    for (size_t port = 0; port < kPorts; ++port) {
        chip.ports[port].partner_fast = chip.ports[port].partner_full_duplex = 1;
        set_register(stored(chip, ksl_phy_control_register, port), kPhyPowerOn);
    }

    if (const auto firmware = node.optional("firmware")) {
        read_firmware(*firmware, chip);
    }
    if (const auto seed = node.optional("seed")) {
        chip.seed = to_bytes<8>(seed->number(0, UINT32_MAX));
    }
    if (const auto mode = node.optional("mode")) {
        read_mode(*mode, chip);
    }
    std::set<unsigned> ports;
    for (const Node &port : node.list("ports", kPorts)) {
        read_port(port, chip, ports);
    }
    if (const auto vlan = node.optional("vlan")) {
        read_vlan(*vlan, chip);
    }
    size_t count = 0;
    for (const Node &address : node.list("addresses", kMaxAddresses)) {
        chip.addresses[count++] = read_address(address, chip);
    }
    chip.address_count = to_bytes<2>(count);
    for (const Node &registers : node.list("registers", kPages * kPageSize)) {
        read_registers(registers, chip);
    }
    // A link that is there at the start is a change.
    for (size_t port = 0; port < kPorts; ++port) {
        chip.ports[port].link_changed = link_of(chip, port).up;
    }
}

} // namespace hwa
