// SPDX-License-Identifier: Apache-2.0
#include "kslctl/scenario.h"

#include "kslctl/addresses.h"
#include "kslctl/port_registers.h"
#include "kslctl/raw.h"
#include "kslctl/status_registers.h"
#include "kslctl/vlan_registers.h"

#include <algorithm>
#include <expectation.h>
#include <fmt/core.h>
#include <fmt/ranges.h>
#include <ksl/ksl.h>

namespace kslctl {

namespace {

constexpr unsigned kLastPhyBits = 0x7DFF; // reset and restart clear themselves

// Settings for which a scenario has no key of their own.
struct Place {
    uint32_t page;
    uint32_t offset;
    uint32_t length;
};

constexpr Place kSettings[] = {
    {0x02, 0x06, 4},                                                    // age timer
    {0x02, 0x10, 4}, {0x02, 0x14, 4}, {0x02, 0x20, 4},                  // mirroring
    {0x32, 0x00, 1}, {0x32, 0x10, 4},                                   // trunk groups
    {0x34, 0x01, 1}, {0x34, 0x02, 1}, {0x34, 0x07, 1}, {0x34, 0x08, 1}, // more of VLAN support
    {0x41, 0x70, 8}, {0x41, 0x78, 8}, {0x41, 0x80, 8},                  // learning thresholds, 4 ports each
    {0x41, 0x88, 8}, {0x41, 0x90, 8}, {0x41, 0x98, 8},
};

// Reads one thing after the other; whole() tells whether all of it was there.
class Reader {
public:
    Reader(uint32_t chip, Report &report) : chip_(chip), report_(report) {}

    bool whole() const { return whole_; }

    // Nothing more is read after a failure: the file would not describe the hub.
    template <typename Read>
    auto read(const Read &what) {
        auto found = whole_ ? what(chip_, report_) : decltype(what(chip_, report_)){};
        whole_ = whole_ && found;
        return found;
    }

private:
    uint32_t chip_;
    Report &report_;
    bool whole_ = true;
};

std::optional<ChipStatus> read_whole_status(uint32_t chip, Report &report) {
    constexpr Register kWanted[] = {Register::self_test, Register::mode, Register::link, Register::speed,
                                    Register::duplex};
    const ChipStatus status = read_status(chip, kWanted, report);
    const bool whole =
        std::all_of(std::begin(kWanted), std::end(kWanted), [&](Register which) { return status[which].has_value(); });
    return whole ? std::optional(status) : std::nullopt;
}

std::optional<Pvids> read_whole_pvids(uint32_t chip, Report &report) {
    const Pvids pvids = read_pvids(chip, report);
    const bool whole = std::all_of(pvids.begin(), pvids.end(), [](const auto &pvid) { return pvid.has_value(); });
    return whole ? std::optional(pvids) : std::nullopt;
}

Json mode_json(const Bytes &bytes) {
    const auto [managed, forwarding] = mode(bytes);
    return {{"managed", managed}, {"forwarding", forwarding}};
}

// What the link shows is taken for what the partner at its other end can do.
Json port_json(const ChipStatus &status, uint32_t port, const Bytes &phy_control, const Bytes &port_control,
               const Bytes &pvid_bytes) {
    const std::vector<unsigned> failed = self_test(*status[Register::self_test]).failed_ports;
    const bool is_failed = std::find(failed.begin(), failed.end(), port) != failed.end();
    const bool link = !is_failed && port_bit(*status[Register::link], port);
    const kslcfg::Pvid pvid = kslcfg::pvid_from(pvid_bytes.data());
    Json json = {{"port", port}, {"link", link}};
    if (link) {
        json["speed"] = port_bit(*status[Register::speed], port) ? 100 : 10;
        json["duplex"] = port_bit(*status[Register::duplex], port) ? "full" : "half";
    }
    if (is_failed) {
        json["self_test"] = "fail";
    }
    json["phy_control"] =
        fmt::format("0x{:04x}", static_cast<unsigned>(phy_control[0] << 8 | phy_control[1]) & kLastPhyBits);
    json["port_control"] = fmt::format("0x{:02x}", port_control[0]);
    json["pvid"] = pvid.vid;
    json["priority"] = pvid.priority;
    return json;
}

Json vlan_json(const Bytes &enable, const std::map<uint32_t, Bytes> &table) {
    Json entries = Json::array();
    for (const auto &[vid, bytes] : table) {
        const kslcfg::VlanEntry entry = kslcfg::vlan_entry_from(static_cast<uint16_t>(vid), bytes.data());
        entries.push_back({{"vid", vid},
                           {"field", entry.field},
                           {"upper_map", fmt::format("0x{:07x}", entry.upper)},
                           {"lower_map", fmt::format("0x{:07x}", entry.lower)}});
    }
    return {{"enabled", vlan_enabled(enable)}, {"entries", entries}};
}

std::optional<std::vector<Address>> read_addresses(uint32_t chip, Report &report) {
    const Addresses addresses = list_addresses(chip, true, report);
    return addresses.whole ? std::optional(addresses.entries) : std::nullopt;
}

Json addresses_json(uint32_t chip, const std::vector<Address> &addresses, Report &report) {
    Json list = Json::array();
    for (const Address &address : addresses) {
        const std::string mac = mac_text(address.mac);
        if (address.port >= KSL_PORTS) {
            report.fail(chip, fmt::format("the address {} at port {} is left out, because a scenario has ports 0 to {}",
                                          mac, address.port, KSL_PORTS - 1));
            continue;
        }
        Json json = {{"mac", mac}, {"port", address.port}};
        if (address.is_static) {
            json["static"] = true;
        }
        list.push_back(json);
    }
    return list;
}

// Those that are not zero, as a register is where nothing is stated.
std::optional<Json> read_settings(uint32_t chip, Report &report) {
    Json list = Json::array();
    for (const auto &[page, offset, length] : kSettings) {
        Bytes bytes{};
        if (const int32_t code = dbg_ksl_get_reg(chip, page, offset, length, bytes.data()); code != 0) {
            const std::string about = fmt::format("register at page 0x{:02x}, offset 0x{:02x}", page, offset);
            report.fail({chip, "dbg_ksl_get_reg", about, code});
            return std::nullopt;
        }
        if (bytes != Bytes{}) {
            list.push_back({{"page", fmt::format("0x{:02x}", page)},
                            {"offset", fmt::format("0x{:02x}", offset)},
                            {"bytes", hex(bytes, length)}});
        }
    }
    return list;
}

// Objects on a line of their own, so that the file can be read and compared line by line.
std::string rows(const Json &list, std::string_view indent) {
    std::string text;
    for (const Json &row : list) {
        text += fmt::format("{}\n{}  {}", text.empty() ? "" : ",", indent, row.dump());
    }
    return text.empty() ? "[]" : fmt::format("[{}\n{}]", text, indent);
}

std::string member(std::string_view key, const std::string &value) {
    return fmt::format("      \"{}\": {}", key, value);
}

std::string chip_text(const Json &chip) {
    const Json &vlan = chip["vlan"];
    const std::string vlan_text = fmt::format("{{\n        \"enabled\": {},\n        \"entries\": {}\n      }}",
                                              vlan["enabled"].dump(), rows(vlan["entries"], "        "));
    const std::string members[] = {
        member("chip", chip["chip"].dump()),
        member("mode", chip["mode"].dump()),
        member("ports", rows(chip["ports"], "      ")),
        member("vlan", vlan_text),
        member("addresses", rows(chip["addresses"], "      ")),
        member("registers", rows(chip["registers"], "      ")),
    };
    return fmt::format("    {{\n{}\n    }}", fmt::join(members, ",\n"));
}

} // namespace

std::optional<Json> scenario_of_chip(uint32_t chip, Report &report) {
    Reader reader(chip, report);
    const auto status = reader.read(read_whole_status);
    const auto pvids = reader.read(read_whole_pvids);
    Json ports = Json::array();
    for (uint32_t port = 0; port < KSL_PORTS; ++port) {
        const auto of_port = [port](const PortRegister &which) {
            return [port, &which](uint32_t of, Report &to) { return read(which, of, port, to); };
        };
        const auto phy_control = reader.read(of_port(kPhyControl));
        const auto port_control = reader.read(of_port(kPortControl));
        if (reader.whole()) {
            ports.push_back(port_json(*status, port, *phy_control, *port_control, *(*pvids)[port]));
        }
    }
    const auto enable = reader.read(read_vlan_enable);
    const auto table = reader.read(read_vlan_table);
    const auto addresses = reader.read(read_addresses);
    const auto settings = reader.read(read_settings);
    if (!reader.whole()) {
        return std::nullopt;
    }
    return Json{{"chip", chip},
                {"mode", mode_json(*(*status)[Register::mode])},
                {"ports", ports},
                {"vlan", vlan_json(*enable, *table)},
                {"addresses", addresses_json(chip, *addresses, report)},
                {"registers", *settings}};
}

std::string scenario_text(const Json &chips) {
    std::vector<std::string> texts;
    std::transform(chips.begin(), chips.end(), std::back_inserter(texts), chip_text);
    return fmt::format("{{\n  \"name\": \"hub that kslctl looked at\",\n  \"chips\": [\n{}\n  ]\n}}\n",
                       fmt::join(texts, ",\n"));
}

} // namespace kslctl
