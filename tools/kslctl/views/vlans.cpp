// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/vlans.h"

#include "kslctl/views/listing.h"

#include <fmt/core.h>

namespace kslctl::views {

namespace {

using hub::PortPvid;
using hub::VlanEntry;

constexpr size_t kMapBits = kMapRuler.size();

const Columns<PortPvid> kPvidColumns = {
    kPortColumn<PortPvid>,
    {"VLAN", "vid", Align::right,
     [](const PortPvid &port) { return cell(port.pvid, [](const hub::Pvid &pvid) { return number(pvid.vid); }); }},
    {"priority", "priority", Align::right,
     [](const PortPvid &port) { return cell(port.pvid, [](const hub::Pvid &pvid) { return number(pvid.priority); }); }},
};

using Entry = hub::Fact<ksl_vlan_entry>;

// What of an entry is a cell.
template <auto to_cell>
Cell of_entry(const Entry &entry) {
    return cell(entry, to_cell);
}

const Columns<Entry> kEntryColumns = {
    {nullptr, "valid", Align::left, of_entry<[](const ksl_vlan_entry &e) {
         return Cell{{}, e.valid != 0};
     }>},
    {nullptr, "field", Align::left, of_entry<[](const ksl_vlan_entry &e) { return number(e.field); }>},
    {"upper map", "upper", Align::left, of_entry<[](const ksl_vlan_entry &e) { return port_map(e.upper_map); }>},
    {"lower map", "lower", Align::left, of_entry<[](const ksl_vlan_entry &e) { return port_map(e.lower_map); }>},
};

std::string picture_of(const VlanEntry &vlan, const Style &style) {
    const Cell head = cell(vlan.entry, [](const ksl_vlan_entry &entry) {
        return Cell{fmt::format("{}, field {}", entry.valid != 0 ? "valid" : "not valid", entry.field), {}};
    });
    std::string text = fmt::format("{:<9}  {}\n", fmt::format("VLAN {}", vlan.vid), style.value(head.text));
    if (vlan.entry.is_read()) {
        text += fmt::format("{:<9}  {}\n{}", "", style.heading(kMapRuler), lines(kEntryColumns, vlan.entry, style));
    }
    return text;
}

} // namespace

Cell port_map(uint32_t map) {
    Cell cell{std::string(kMapBits, '.'), Json::array()};
    for (size_t bit = 0; bit < kMapBits; ++bit) {
        if ((map >> bit & 1) != 0) {
            cell.text[bit] = '#';
            cell.json.push_back(bit);
        }
    }
    return cell;
}

Json vlan_entry(const Entry &entry) {
    return object(kEntryColumns, entry);
}

Shown vlan_enable(const hub::VlanState &state, const Style &style) {
    const Cell support = cell(state.enabled, [](bool on) { return Cell{on ? "on" : "off", on}; });
    return {{{"enabled", support.json}}, fmt::format("VLAN support  {}\n", style.value(support.text))};
}

Shown pvids(const hub::VlanState &state, const Style &style) {
    return {{{"ports", objects(kPvidColumns, state.ports)}}, table(kPvidColumns, state.ports, style)};
}

Shown vlan_entries(const hub::VlanState &state, const Style &style) {
    Shown shown{{{"vlans", Json::array()}}, {}};
    for (const VlanEntry &vlan : state.entries) {
        Json json = {{"vid", vlan.vid}};
        json.update(vlan_entry(vlan.entry));
        shown.json["vlans"].push_back(json);
        shown.text += (shown.text.empty() ? "" : "\n") + picture_of(vlan, style);
    }
    return shown;
}

Shown vlans(const hub::VlanState &state, const Style &style) {
    Shown all = vlan_enable(state, style);
    for (const Shown &part : {pvids(state, style), vlan_entries(state, style)}) {
        all.json.update(part.json);
        all.text += (part.text.empty() ? "" : "\n") + part.text;
    }
    return all;
}

Shown extended_vlan_control(const hub::Reading &reading, const Style &style) {
    const uint32_t index = reading.of->second;
    const Cell value = cell(reading.bytes, [](const hub::Bytes &bytes) {
        const uint32_t bits = ksl_value16(bytes.data());
        return Cell{fmt::format("0x{:04x}", bits), bits};
    });
    return {{{"index", index}, {"page", reading.page}, {"offset", reading.offset}, {"value", value.json}},
            fmt::format("index {} (page 0x{:02x}, offset 0x{:02x})  {}\n", index, reading.page, reading.offset,
                        style.value(value.text))};
}

} // namespace kslctl::views
