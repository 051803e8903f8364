// SPDX-License-Identifier: Apache-2.0
// An entry of the VLAN table for people and for programs.
#pragma once

#include "kslctl/report.h"
#include "kslctl/status_bits.h"
#include "kslctl/table.h"

#include <string>
#include <string_view>

namespace kslctl {

// Above a picture: where bits 0, 5, 10, 15, 20 and 25 are.
inline constexpr std::string_view kMapRuler = "0    5    10   15   20   25";

// A port map in 27 columns, bit 0 first.
std::string map_picture(uint32_t map);
// Where the two maps differ; no blanks at the end.
std::string map_difference(uint32_t one, uint32_t other);
// The numbers of its bits.
Json map_json(uint32_t map);

// Valid, field and both maps.
Json vlan_entry_json(const Bytes &bytes);
std::string vlan_entry_text(uint32_t vid, const Bytes &bytes, const Style &style);
// The same of an entry that could not be read.
std::string vlan_entry_text(uint32_t vid, const Style &style);

// Whether the library calls the two equal.
bool same_vlan_entry(const Bytes &expected, const Bytes &found);
// Both, and where they differ.
std::string vlan_comparison_text(const Bytes &expected, const Bytes &found, const Style &style);

} // namespace kslctl
