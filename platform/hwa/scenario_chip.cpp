// SPDX-License-Identifier: Apache-2.0
#include "scenario_chip.h"

#include "counters.h"
#include "ports.h"
#include "registers.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace hwa {
namespace {

unsigned hex_digit(char digit) {
    if (digit >= '0' && digit <= '9')
        return static_cast<unsigned>(digit - '0');
    return static_cast<unsigned>(std::tolower(static_cast<unsigned char>(digit)) - 'a' + 10);
}

// Pairs of hexadecimal digits, with `separator` allowed between the pairs. Empty if it is nothing of the kind.
std::vector<Byte> hex_bytes(const std::string &text, char separator) {
    std::vector<Byte> bytes;
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == separator && !bytes.empty() && i + 1 < text.size()) {
            ++i;
            continue;
        }
        if (i + 1 >= text.size() || !std::isxdigit(static_cast<unsigned char>(text[i])) ||
            !std::isxdigit(static_cast<unsigned char>(text[i + 1])))
            return {};
        bytes.push_back(static_cast<Byte>(hex_digit(text[i]) << 4 | hex_digit(text[i + 1])));
        i += 2;
    }
    return bytes;
}

// The bytes that a string of hexadecimal digits stands for.
std::vector<Byte> read_bytes(const JsonNode &node) {
    std::vector<Byte> bytes = hex_bytes(node.text(), ' ');
    if (bytes.empty())
        node.refuse("must be pairs of hexadecimal digits");
    return bytes;
}

void read_firmware(const JsonNode &node, ChipImage &chip) {
    const std::vector<Byte> bytes = read_bytes(node);
    if (bytes.size() != kVersionLength)
        node.refuse("must have " + std::to_string(kVersionLength) + " bytes");
    std::copy(bytes.begin(), bytes.end(), chip.firmware.begin());
}

void read_mode(const JsonNode &node, ChipImage &chip) {
    node.only({"managed", "forwarding"});
    chip.managed = node.required("managed").boolean();
    chip.forwarding = node.required("forwarding").boolean();
}

void set_register(ChipImage &chip, std::size_t page, std::size_t offset, unsigned value) {
    chip.pages[page][offset] = static_cast<Byte>(value >> 8);
    chip.pages[page][offset + 1] = static_cast<Byte>(value);
}

void read_partner(const JsonNode &node, PortImage &port) {
    port.partner = node.required("link").boolean();
    if (const auto speed = node.optional("speed")) {
        const unsigned megabits = speed->number(10, 100);
        if (megabits != 10 && megabits != 100)
            speed->refuse("must be 10 or 100");
        port.partner_fast = megabits == 100;
    }
    if (const auto duplex = node.optional("duplex"))
        port.partner_full_duplex = duplex->one_of({"half", "full"}) == 1;
}

void read_port_registers(const JsonNode &node, ChipImage &chip, std::size_t number) {
    if (const auto phy = node.optional("phy_control")) {
        const unsigned value = phy->number(0, 0xFFFF);
        if ((value & kPhySelfClearing) != 0)
            phy->refuse("has bit 15 or 9 set, which always read as 0");
        set_register(chip, kPhyPage + number, 0, value);
    }
    if (const auto control = node.optional("port_control"))
        chip.pages[kPortControlPage][kPortControl + number] = static_cast<Byte>(control->number(0, 0xFF));
    const auto pvid = node.optional("pvid");
    const auto priority = node.optional("priority");
    set_register(chip, kVlanPage, kPvid + 2 * number,
                 (priority ? priority->number(0, 7) : 0) << 13 | (pvid ? pvid->number(0, 4095) : 0));
}

void read_rates(const JsonNode &node, ChipImage &chip, std::size_t port) {
    std::set<unsigned> seen;
    for (const JsonNode &rate : node.list("rates", kCounters)) {
        rate.only({"offset", "per_second"});
        const unsigned offset = rate.identity("offset", 0, kPageSize - 1, seen);
        const auto counter = counter_at(static_cast<Byte>(offset));
        if (!counter || counter->offset != offset)
            rate.required("offset").refuse("is not where a counter begins");
        chip.rates[port][counter->number] = to_bytes<4>(rate.required("per_second").number(0, UINT32_MAX));
    }
}

void read_port(const JsonNode &node, ChipImage &chip, std::set<unsigned> &seen) {
    node.only(
        {"port", "link", "speed", "duplex", "self_test", "phy_control", "port_control", "pvid", "priority", "rates"});
    const unsigned number = node.identity("port", 0, kPorts - 1, seen);
    PortImage &port = chip.ports[number];
    read_partner(node, port);
    if (const auto self_test = node.optional("self_test"))
        port.test_failed = self_test->one_of({"pass", "fail"}) == 1;
    if (port.test_failed != 0 && port.partner != 0)
        node.refuse("cannot have a link, because its self-test failed");
    read_port_registers(node, chip, number);
    read_rates(node, chip, number);
}

void read_vlan_entry(const JsonNode &node, VlanImage &vlan, std::set<unsigned> &seen) {
    node.only({"vid", "valid", "field", "upper_map", "lower_map"});
    const unsigned vid = node.identity("vid", 1, kLastVid, seen);
    const auto field = [&](const char *key, unsigned bits) -> std::uint64_t {
        const auto found = node.optional(key);
        return found ? found->number(0, (1U << bits) - 1) : 0;
    };
    const auto valid = node.optional("valid");
    vlan.entries[vid] = to_bytes<8>(std::uint64_t{!valid || valid->boolean()} << 59 | field("field", 5) << 54 |
                                    field("upper_map", 27) << 27 | field("lower_map", 27));
}

void read_vlan(const JsonNode &node, ChipImage &chip) {
    node.only({"enabled", "entries"});
    chip.pages[kVlanPage][kVlanEnable] = node.required("enabled").boolean() ? kVlanEnabled : 0;
    std::set<unsigned> vids;
    for (const JsonNode &entry : node.list("entries", kLastVid))
        read_vlan_entry(entry, chip.vlan, vids);
}

AddressImage read_address(const JsonNode &node, const ChipImage &chip) {
    node.only({"mac", "port", "vid", "static", "silent"});
    const JsonNode mac_node = node.required("mac");
    const std::string text = mac_node.text();
    const std::vector<Byte> mac = hex_bytes(text, ':');
    if (mac.size() != 6 || text.size() != 17)
        mac_node.refuse("must be a MAC address such as \"02:00:00:00:00:01\"");
    const unsigned port = node.required("port").number(0, kPorts - 1);
    const auto is_static = node.optional("static");

    const auto &vlan_page = chip.pages[kVlanPage];
    const std::size_t pvid = kPvid + 2 * port;
    const auto vid = node.optional("vid");

    AddressImage address{};
    const auto silent = node.optional("silent");
    address.silent = silent && silent->boolean();
    address.raw[1] = static_cast<Byte>((is_static && is_static->boolean() ? kStaticAddress : 0U) | port);
    std::copy(mac.begin(), mac.end(), address.raw.begin() + 2);
    address.vid = vid ? to_bytes<2>(vid->number(0, 4095))
                      : std::array{static_cast<Byte>(vlan_page[pvid] & 0x0FU), vlan_page[pvid + 1]};
    return address;
}

void read_registers(const JsonNode &node, ChipImage &chip) {
    node.only({"page", "offset", "bytes"});
    const unsigned page = node.required("page").number(0, kPages - 1);
    const unsigned offset = node.required("offset").number(0, kPageSize - 1);
    const JsonNode bytes_node = node.required("bytes");
    const std::vector<Byte> bytes = read_bytes(bytes_node);
    if (offset + bytes.size() > kPageSize)
        bytes_node.refuse("must end within the page of 256 bytes");
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (const char *const key = scenario_key_of(static_cast<Byte>(page), static_cast<Byte>(offset + i)))
            node.refuse("covers a register that \"" + std::string(key) + "\" states");
        chip.pages[page][offset + i] = bytes[i];
    }
}

} // namespace

void read_chip(const JsonNode &node, ChipImage &chip, std::set<unsigned> &seen) {
    node.only({"chip", "firmware", "seed", "mode", "ports", "vlan", "addresses", "registers"});
    chip.number = static_cast<Byte>(node.identity("chip", 0, 255, seen));
    chip.present = 1;
    chip.managed = chip.forwarding = 1;
    for (std::size_t port = 0; port < kPorts; ++port) {
        chip.ports[port].partner_fast = chip.ports[port].partner_full_duplex = 1;
        set_register(chip, kPhyPage + port, 0, kPhyPowerOn);
    }

    if (const auto firmware = node.optional("firmware"))
        read_firmware(*firmware, chip);
    if (const auto seed = node.optional("seed"))
        chip.seed = to_bytes<8>(seed->number(0, UINT32_MAX));
    if (const auto mode = node.optional("mode"))
        read_mode(*mode, chip);
    std::set<unsigned> ports;
    for (const JsonNode &port : node.list("ports", kPorts))
        read_port(port, chip, ports);
    if (const auto vlan = node.optional("vlan"))
        read_vlan(*vlan, chip);
    std::size_t count = 0;
    for (const JsonNode &address : node.list("addresses", kMaxAddresses))
        chip.addresses[count++] = read_address(address, chip);
    chip.address_count = to_bytes<2>(count);
    for (const JsonNode &registers : node.list("registers", kPages * kPageSize))
        read_registers(registers, chip);
    // Whatever has a link at the start has it newly.
    for (std::size_t port = 0; port < kPorts; ++port)
        chip.ports[port].link_changed = link_of(chip, port).up;
}

} // namespace hwa
