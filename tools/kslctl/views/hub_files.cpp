// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/hub_files.h"

#include "kslctl/views/raw.h"
#include "kslctl/views/values.h"

#include <algorithm>
#include <expectation.h>
#include <fmt/core.h>
#include <fmt/ranges.h>
#include <ksl/decode.h>
#include <linux/mii.h>

namespace kslctl::views {

namespace {

constexpr uint32_t kClearThemselves = BMCR_RESET | BMCR_ANRESTART;

// The partner at the other end of the link is taken to be able to do what the link shows.
Json port_json(const hub::WholeChip &chip, uint32_t port) {
    const std::vector<uint32_t> &failed = chip.status.self_test->failed_ports;
    const bool is_failed = std::find(failed.begin(), failed.end(), port) != failed.end();
    const hub::PortStatus &status = chip.status.ports[port];
    const hub::Pvid pvid = hub::decode_pvid(*chip.pvids[port]);
    const uint32_t phy_control = ksl_value16(chip.phy_controls[port].bytes->data()) & ~kClearThemselves;
    const bool has_link = *status.link && !is_failed;
    Json json = {{"port", port}, {"link", has_link}};
    if (has_link) {
        json["speed"] = speed(status).json;
        json["duplex"] = duplex(status).json;
    }
    if (is_failed) {
        json["self_test"] = "fail";
    }
    json["phy_control"] = fmt::format("0x{:04x}", phy_control);
    json["port_control"] = fmt::format("0x{:02x}", chip.port_controls[port].bytes->front());
    json["pvid"] = pvid.vid;
    json["priority"] = pvid.priority;
    return json;
}

Json ports_json(const hub::WholeChip &chip) {
    Json list = Json::array();
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        list.push_back(port_json(chip, port));
    }
    return list;
}

Json vlan_json(const hub::WholeChip &chip) {
    Json entries = Json::array();
    for (const auto &[vid, bytes] : *chip.vlans) {
        const ksl_vlan_entry entry = ksl_decode_vlan_entry(bytes.data());
        entries.push_back({{"vid", vid},
                           {"field", entry.field},
                           {"upper_map", fmt::format("0x{:07x}", entry.upper_map)},
                           {"lower_map", fmt::format("0x{:07x}", entry.lower_map)}});
    }
    return {{"enabled", hub::decode_vlan_enable(*chip.vlan_enable)}, {"entries", entries}};
}

Json addresses_json(const hub::WholeChip &chip) {
    Json list = Json::array();
    for (const hub::Address &address : chip.addresses) {
        Json json = {{"mac", hub::mac_text(address.mac)}, {"port", address.port}};
        if (address.is_static) {
            json["static"] = true;
        }
        list.push_back(json);
    }
    return list;
}

// Without those that are zero, as registers are that a scenario does not mention.
Json settings_json(const hub::WholeChip &chip) {
    Json list = Json::array();
    for (const hub::Reading &reading : chip.settings) {
        if (*reading.bytes != hub::Bytes{}) {
            list.push_back({{"page", fmt::format("0x{:02x}", reading.page)},
                            {"offset", fmt::format("0x{:02x}", reading.offset)},
                            {"bytes", hex(*reading.bytes, reading.length)}});
        }
    }
    return list;
}

// Each object without lists is on a line of its own, so that the file can be read and compared line by line.
std::string laid_out(const Json &json, const std::string &indent = "") {
    const auto is_list = [](const Json &part) { return part.is_array(); };
    if (json.empty() || !(json.is_array() || std::any_of(json.begin(), json.end(), is_list))) {
        return json.dump();
    }
    const std::string inner = indent + "  ";
    std::vector<std::string> parts;
    for (const auto &[key, part] : json.items()) {
        parts.push_back(inner + (json.is_object() ? fmt::format("\"{}\": ", key) : "") + laid_out(part, inner));
    }
    const std::string text = fmt::format("\n{}\n{}", fmt::join(parts, ",\n"), indent);
    return json.is_object() ? "{" + text + "}" : "[" + text + "]";
}

} // namespace

Json scenario_of_chip(const hub::WholeChip &chip) {
    return {{"chip", chip.chip},
            {"mode", {{"managed", chip.status.mode->managed}, {"forwarding", chip.status.mode->forwarding}}},
            {"ports", ports_json(chip)},
            {"vlan", vlan_json(chip)},
            {"addresses", addresses_json(chip)},
            {"registers", settings_json(chip)}};
}

std::string scenario_text(const Json &chips) {
    return laid_out({{"name", "hub that kslctl looked at"}, {"chips", chips}}) + "\n";
}

std::string expectation_text(const hub::VlanSettings &settings) {
    kslcfg::Expectation expectation;
    expectation.name = fmt::format("chip {} as it was", settings.chip);
    std::transform(settings.pvids.begin(), settings.pvids.end(), expectation.pvids.begin(),
                   [](const hub::Fact<hub::Bytes> &pvid) { return kslcfg::pvid_from(pvid->data()); });
    for (const auto &[vid, bytes] : *settings.vlans) {
        expectation.vlans.push_back(kslcfg::vlan_entry_from(static_cast<uint16_t>(vid), bytes.data()));
    }
    return kslcfg::to_json(expectation);
}

} // namespace kslctl::views
