// SPDX-License-Identifier: Apache-2.0
#include "kslctl/views/chips.h"

#include "kslctl/views/listing.h"
#include "kslctl/views/values.h"

namespace kslctl::views {

namespace {

using hub::ChipSummary;

const Columns<ChipSummary> kChipColumns = {
    {"chip", "chip", Align::right, [](const ChipSummary &chip) { return number(chip.chip); }},
    {"mode", "mode", Align::left, [](const ChipSummary &chip) { return cell(chip.mode, mode); }},
    {"self-test", "self_test", Align::left, [](const ChipSummary &chip) { return cell(chip.self_test, self_test); }},
    {"links", "links", Align::right, [](const ChipSummary &chip) { return cell(chip.links, number); }},
    {"firmware", "firmware", Align::left,
     [](const ChipSummary &chip) { return cell(chip.firmware, firmware_version); }},
};

} // namespace

Shown chips(const std::vector<ChipSummary> &chips, const Style &style) {
    return {objects(kChipColumns, chips), table(kChipColumns, chips, style)};
}

} // namespace kslctl::views
