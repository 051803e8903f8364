// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/port_info.h"

#include "kslctl/views/counters.h"
#include "kslctl/views/diagnosis.h"
#include "kslctl/views/listing.h"
#include "kslctl/views/paragraph.h"
#include "kslctl/views/values.h"

#include <algorithm>
#include <fmt/ranges.h>

namespace kslctl::views {

namespace {

using hub::PortInfo;
using Numbers = std::vector<uint32_t>;

constexpr size_t kIndentation = 11;
constexpr size_t kLines = 22; // of a terminal of 24, with the number of the chip above and the prompt below

struct Row {
    const PortInfo &info;
    hub::Time time;
    const hub::CounterNames &names;
};

uint32_t port_of(const Row &row) {
    return row.info.port().status.port;
}

bool is_in(uint32_t port, const Numbers &ports) {
    return std::find(ports.begin(), ports.end(), port) != ports.end();
}

// ---- What is a value of its own for programs ----

Cell control(const Row &row) {
    return cell(row.info.port().control, port_control);
}

Cell self_test(const Row &row) {
    return cell(row.info.chip.status.self_test, [&](const hub::SelfTest &test) {
        const bool passed = !is_in(port_of(row), test.failed_ports);
        return Cell{passed ? "passed" : "failed", passed};
    });
}

Cell changes(const Row &row) {
    return cell(row.info.port().link_changes, [](uint32_t count) {
        return Cell{count == 0 ? "no change" : fmt::format("{} {}", count, count == 1 ? "change" : "changes"), count};
    });
}

Cell enabled(const Row &row) {
    return cell(row.info.chip.vlans_enabled, [](bool on) { return Cell{on ? "on" : "off", on}; });
}

Cell learned(const Row &row) {
    return cell(row.info.port().learned, number);
}

Cell limit(const Row &row) {
    return cell(row.info.port().learning_limit, learning_limit);
}

Cell pvid(const Row &row) {
    return cell(row.info.port().pvid,
                [](const hub::Pvid &value) { return value_of(hub::registers::pvid, hub::pvid_bytes(value)); });
}

// ---- Lines ----

Cell state(const Row &row) {
    return {fmt::format("{}; control {}, self-test {}", port_of(row), control(row).text, self_test(row).text), {}};
}

Cell link_line(const Row &row) {
    const hub::PortStatus &status = row.info.port().status;
    const bool is_down = status.link.is_read() && !*status.link;
    return {fmt::format("{}{}; {} in {:.4g} s", link(status).text,
                        is_down ? "" : fmt::format(", {} {}", speed(status).text, duplex(status).text),
                        changes(row).text, row.time.count()),
            {}};
}

Cell pvid_line(const Row &row) {
    return {fmt::format("{}; VLAN support {}", pvid(row).text, enabled(row).text), {}};
}

Cell learned_line(const Row &row) {
    const hub::Fact<uint32_t> &most = row.info.port().learning_limit;
    const bool has_none = most.is_read() && *most == hub::kNoLearningLimit;
    return {fmt::format("{}, {}{}", learned(row).text, has_none ? "" : "limit ", limit(row).text), {}};
}

Cell vlans(const Row &row) {
    return cell(hub::vlans_of(row.info.chip, port_of(row)), [](const Numbers &vids) {
        return Cell{vids.empty() ? "no valid VLAN"
                                 : fmt::format("{} {}", vids.size() == 1 ? "VLAN" : "VLANs", hub::describe_some(vids)),
                    vids};
    });
}

Cell addresses(const Row &row) {
    return cell(row.info.addresses, [](const std::vector<hub::Address> &all) {
        constexpr size_t kFew = 3;
        Cell list{"none", Json::array()};
        std::vector<std::string> few;
        for (const hub::Address &address : all) {
            const std::string mac = hub::mac_text(address.mac);
            list.json.push_back({{"mac", mac}, {"static", address.is_static}});
            if (few.size() < kFew) {
                few.push_back(mac + (address.is_static ? " (static)" : ""));
            }
        }
        if (!few.empty()) {
            list.text = fmt::format("{}", fmt::join(few, ", ")) +
                        (all.size() > kFew ? fmt::format(" and {} more", all.size() - kFew) : "");
        }
        return list;
    });
}

// The ports of its trunk.
Cell trunk(const Row &row) {
    return cell(hub::trunk_members(row.info.chip), [&](const Numbers &members) {
        return is_in(port_of(row), members) ? Cell{"group 0, " + hub::describe_ports(members), members}
                                            : Cell{"no member", Json::array()};
    });
}

Cell is_mirrored(const Row &row, const hub::Fact<Numbers> &mask) {
    return cell(mask, [&](const Numbers &ports) {
        const bool is = is_in(port_of(row), ports);
        return Cell{is ? "yes" : "no", is};
    });
}

Cell mirroring(const Row &row) {
    const hub::Mirroring &all = row.info.chip.mirroring;
    return cell(hub::mirror_targets(row.info.chip), [&](const Numbers &targets) {
        const Cell ingress = is_mirrored(row, all.ingress);
        const Cell egress = is_mirrored(row, all.egress);
        const bool is_target = is_in(port_of(row), targets);
        return Cell{fmt::format("received frames {}, sent frames {}, target {}; to {}", ingress.text, egress.text,
                                is_target ? "yes" : "no", hub::describe_ports(targets)),
                    {{"ingress", ingress.json}, {"egress", egress.json}, {"target", is_target}, {"targets", targets}}};
    });
}

Cell counters_line(const Row &row) {
    const auto &of_port = row.info.counters.ports.begin()->second;
    const Json json = counters(row.info.counters, {row.names}, Style(false)).json["ports"][0]["counters"];
    const Cell text = cell(of_port, [&](const std::vector<hub::CounterValue> &values) {
        std::string rates;
        for (const hub::CounterValue &value : values) {
            const Cell rate = cell(value.change, [](const hub::CounterChange &change) {
                return Cell{fmt::format("{:.1f}/s", change.per_second), {}};
            });
            rates +=
                fmt::format("{}{}={}", rates.empty() ? "" : " ", hub::label_of(*value.which, row.names), rate.text);
        }
        return Cell{rates.empty() ? "none moves" : rates, {}};
    });
    return {text.text, json};
}

const Columns<Row> kInfoColumns = {
    {nullptr, "port", Align::left, [](const Row &row) { return number(port_of(row)); }},
    {nullptr, "port_control", Align::left, control},
    {nullptr, "self_test", Align::left, self_test},
    {"port", nullptr, Align::left, state},
    {nullptr, "link", Align::left, [](const Row &row) { return link(row.info.port().status); }},
    {nullptr, "link_changes", Align::left, changes},
    {nullptr, "speed", Align::left, [](const Row &row) { return speed(row.info.port().status); }},
    {nullptr, "duplex", Align::left, [](const Row &row) { return duplex(row.info.port().status); }},
    {"link", nullptr, Align::left, link_line},
    {"PHY", "phy_control", Align::left, [](const Row &row) { return cell(row.info.port().phy, phy_control); }},
    {nullptr, "vlan_enabled", Align::left, enabled},
    {nullptr, "pvid", Align::left, pvid},
    {"PVID", nullptr, Align::left, pvid_line},
    {"member of", "vlans", Align::left, vlans},
    {nullptr, "learned", Align::left, learned},
    {nullptr, "limit", Align::left, limit},
    {"learned", nullptr, Align::left, learned_line},
    {"addresses", "addresses", Align::left, addresses},
    {"trunk", "trunk", Align::left, trunk},
    {"mirroring", "mirroring", Align::left, mirroring},
    {"counters", "counters", Align::left, counters_line},
};

// As many of the findings as there is room for, and the command that shows them whole.
std::string findings(const Row &row, size_t room, const std::string &kslctl, const Style &style) {
    const std::vector<std::string> lines = short_findings(row.info.diagnosis, style);
    if (lines.empty()) {
        return "nothing found\n";
    }
    const size_t shown = std::min(lines.size(), room - 1);
    const std::string more = shown == lines.size() ? "more" : fmt::format("{} more", lines.size() - shown);
    const std::vector<std::string> first(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(shown));
    return fmt::format("{}{:<9}{} diagnose {}\n", fmt::join(first, ""), more, kslctl, port_of(row));
}

std::string text_of(const Row &row, const std::string &kslctl, const Style &style) {
    std::string text;
    for (const Column<Row> &column : kInfoColumns) {
        if (column.heading != nullptr) {
            text += paragraph(column.heading, kIndentation, column.cell(row).text, style);
        }
    }
    const auto used = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    const size_t room = kLines > used + 1 ? kLines - used : 1;
    return text + findings(row, room, kslctl, style);
}

} // namespace

Shown port_infos(const std::vector<PortInfo> &infos, hub::Time time, const hub::CounterNames &names,
                 const std::string &kslctl, const Style &style) {
    Shown shown{{{"seconds", time.count()}, {"ports", Json::array()}}, {}};
    for (const PortInfo &info : infos) {
        const Row row{info, time, names};
        Json json = object(kInfoColumns, row);
        json.update(diagnosis(info.diagnosis, kslctl, style).json);
        shown.json["ports"].push_back(json);
        shown.text += (shown.text.empty() ? "" : "\n") + text_of(row, kslctl, style);
    }
    return shown;
}

} // namespace kslctl::views
