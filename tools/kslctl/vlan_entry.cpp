// SPDX-License-Identifier: Apache-2.0
#include "kslctl/vlan_entry.h"

#include <expectation.h>
#include <fmt/core.h>

namespace kslctl {

namespace {

// Which VLAN it is does not matter here.
kslcfg::VlanEntry entry_of(const Bytes &bytes) {
    return kslcfg::vlan_entry_from(0, bytes.data());
}

std::string yes_or_no(bool is_so) {
    return is_so ? "yes" : "no";
}

constexpr size_t kLabel = 11;

std::string line(std::string_view label, std::string_view text) {
    return fmt::format("{:<{}}{}\n", label, kLabel, text);
}

} // namespace

std::string map_picture(uint32_t map) {
    std::string picture(kslcfg::kMapBits, '.');
    for (unsigned bit = 0; bit < kslcfg::kMapBits; ++bit) {
        if ((map >> bit & 1) != 0) {
            picture[bit] = '#';
        }
    }
    return picture;
}

std::string map_difference(uint32_t one, uint32_t other) {
    std::string marks;
    for (unsigned bit = 0; bit < kslcfg::kMapBits; ++bit) {
        if (((one ^ other) >> bit & 1) != 0) {
            marks.resize(bit, ' ');
            marks += '^';
        }
    }
    return marks;
}

Json map_json(uint32_t map) {
    Json bits = Json::array();
    for (unsigned bit = 0; bit < kslcfg::kMapBits; ++bit) {
        if ((map >> bit & 1) != 0) {
            bits.push_back(bit);
        }
    }
    return bits;
}

Json vlan_entry_json(const Bytes &bytes) {
    const kslcfg::VlanEntry entry = entry_of(bytes);
    return {{"valid", entry.valid},
            {"field", entry.field},
            {"upper", map_json(entry.upper)},
            {"lower", map_json(entry.lower)}};
}

std::string vlan_entry_text(uint32_t vid, const Bytes &bytes, const Style &style) {
    const kslcfg::VlanEntry entry = entry_of(bytes);
    return line(fmt::format("VLAN {}", vid),
                fmt::format("{}, field {}", entry.valid ? "valid" : "not valid", entry.field)) +
           std::string(kLabel, ' ') + style.heading(kMapRuler) + "\n" + line("upper map", map_picture(entry.upper)) +
           line("lower map", map_picture(entry.lower));
}

std::string vlan_entry_text(uint32_t vid, const Style &style) {
    return line(fmt::format("VLAN {}", vid), style.value(kNotRead));
}

bool same_vlan_entry(const Bytes &expected, const Bytes &found) {
    return kslcfg::matches(entry_of(expected), entry_of(found));
}

std::string vlan_comparison_text(const Bytes &expected, const Bytes &found, const Style &style) {
    const kslcfg::VlanEntry one = entry_of(expected);
    const kslcfg::VlanEntry other = entry_of(found);
    Table table({{"", Align::left}, {"", Align::left}, {std::string(kMapRuler), Align::left}});
    const auto add = [&](const char *label, const std::string &was_expected, const std::string &was_found,
                         const std::string &marks) {
        table.add_row({label, "expected", was_expected});
        table.add_row({"", "found", was_found});
        if (!marks.empty()) {
            table.add_row({"", "differ", marks});
        }
    };
    add("valid", yes_or_no(one.valid), yes_or_no(other.valid), "");
    add("upper map", map_picture(one.upper), map_picture(other.upper), map_difference(one.upper, other.upper));
    add("lower map", map_picture(one.lower), map_picture(other.lower), map_difference(one.lower, other.lower));
    return table.render(style);
}

} // namespace kslctl
