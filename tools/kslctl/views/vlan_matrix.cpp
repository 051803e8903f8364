// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/vlan_matrix.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/paragraph.h"
#include "kslctl/views/vlans.h"

namespace kslctl::views {

namespace {

using hub::Contradiction;
using hub::VlanEntry;
using hub::VlanMatrix;
using tools::Colour;

constexpr size_t kIndentation = 3;
constexpr char kHeading[] = "VLAN  ";
constexpr char kContradiction[] = "!";
constexpr char kLegend[] = "# both maps  ^ upper  v lower  . none  * PVID  ! contradiction  x not valid";

const Columns<Contradiction> kColumns = {
    {nullptr, "rule", Align::left,
     [](const Contradiction &c) {
         return Cell{{}, c.rule->id};
     }},
    {nullptr, "vid", Align::left, [](const Contradiction &c) { return number(c.vid); }},
    {nullptr, "ports", Align::left,
     [](const Contradiction &c) {
         return Cell{{}, c.ports};
     }},
    {nullptr, "title", Align::left,
     [](const Contradiction &c) {
         return Cell{{}, c.rule->title};
     }},
};

// In which of the two maps a port is.
Cell sign(const ksl_vlan_entry &vlan, uint32_t port) {
    const bool upper = (vlan.upper_map >> port & 1) != 0;
    const bool lower = (vlan.lower_map >> port & 1) != 0;
    return {upper && lower ? "#" : upper ? "^" : lower ? "v" : ".", nullptr};
}

// What else there is to say about a VLAN at a port.
std::string mark(const VlanMatrix &matrix, uint32_t vid, const hub::PortPvid &port) {
    const bool is_contradiction = std::any_of(
        matrix.contradictions.begin(), matrix.contradictions.end(), [&](const Contradiction &contradiction) {
            return contradiction.vid == vid && std::find(contradiction.ports.begin(), contradiction.ports.end(),
                                                         port.port) != contradiction.ports.end();
        });
    if (is_contradiction) {
        return kContradiction;
    }
    if (!port.pvid.is_read()) {
        return std::string(tools::kNotRead);
    }
    return port.pvid->vid == vid ? "*" : " ";
}

std::string row_of(const VlanMatrix &matrix, const VlanEntry &vlan, const Style &style) {
    const Cell validity = cell(vlan.entry, [](const ksl_vlan_entry &entry) {
        return Cell{entry.valid != 0 ? " " : "x", nullptr};
    });
    std::string text = fmt::format("{:>4} {}", vlan.vid, style.value(validity.text));
    std::string blanks;
    for (const hub::PortPvid &port : matrix.state.ports) {
        const Cell in = cell(vlan.entry, [&](const ksl_vlan_entry &entry) { return sign(entry, port.port); });
        const std::string also = mark(matrix, vlan.vid, port);
        text += blanks + " " + style.value(in.text);
        // No blank at the end of a line.
        blanks = also == " " ? also : "";
        text += blanks.empty() ? style.coloured(also == kContradiction ? Colour::red : Colour::none, also) : "";
    }
    return text + "\n";
}

std::string table_of(const VlanMatrix &matrix, const Style &style) {
    if (matrix.state.entries.empty()) {
        return fmt::format("VLANs         {}\n", matrix.unread_table ? style.value(tools::kNotRead) : "none");
    }
    std::string heading = kHeading;
    for (const hub::PortPvid &port : matrix.state.ports) {
        heading += fmt::format(" {:<2}", port.port);
    }
    std::string text = style.heading(heading.substr(0, heading.find_last_not_of(' ') + 1)) + "\n";
    for (const VlanEntry &vlan : matrix.state.entries) {
        text += row_of(matrix, vlan, style);
    }
    return text + style.coloured(Colour::dim, kLegend) + "\n";
}

// Each failure once.
std::vector<std::string> unread(const VlanMatrix &matrix) {
    std::vector<std::string> list;
    const auto add = [&](const hub::Failure *failure) {
        const std::string text = failure != nullptr ? failure->about + " " + failure->undone : "";
        if (failure != nullptr && std::find(list.begin(), list.end(), text) == list.end()) {
            list.push_back(text);
        }
    };
    add(matrix.state.enabled.failure());
    for (const hub::PortPvid &port : matrix.state.ports) {
        add(port.pvid.failure());
    }
    for (const VlanEntry &vlan : matrix.state.entries) {
        add(vlan.entry.failure());
    }
    add(matrix.unread_table ? &*matrix.unread_table : nullptr);
    return list;
}

std::string explanations(const VlanMatrix &matrix, const Style &style) {
    std::string text;
    for (const Contradiction &contradiction : matrix.contradictions) {
        text +=
            paragraph(kContradiction, kIndentation,
                      fmt::format("VLAN {}, {}: {} [{}]", contradiction.vid, hub::describe_ports(contradiction.ports),
                                  contradiction.rule->title, contradiction.rule->id),
                      style);
    }
    for (const std::string &each : unread(matrix)) {
        text += paragraph(tools::kNotRead, kIndentation, each, style);
    }
    return text.empty() ? text : "\n" + text;
}

} // namespace

Shown vlan_matrix(const VlanMatrix &matrix, const Style &style) {
    Shown shown = vlan_enable(matrix.state, style);
    shown.json.update(pvids(matrix.state, style).json);
    shown.json.update(vlan_entries(matrix.state, style).json);
    if (matrix.unread_table && matrix.state.entries.empty()) {
        shown.json["vlans"] = nullptr;
    }
    shown.json["contradictions"] = objects(kColumns, matrix.contradictions);
    shown.text += "\n" + table_of(matrix, style) + explanations(matrix, style);
    return shown;
}

} // namespace kslctl::views
