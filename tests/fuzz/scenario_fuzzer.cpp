// SPDX-License-Identifier: Apache-2.0
// Any text as a scenario of the simulated hub: a hub that can be run, or one clear sentence.
#include "lines.h"

#include <chip/ports.h>
#include <problem.h>
#include <scenario/scenario.h>

#include <cstring>
#include <optional>
#include <string_view>

namespace {

using namespace fuzz;

std::optional<hwa::Scenario> parse(std::string_view text) {
    try {
        return hwa::parse_scenario(text);
    } catch (const hwa::Unusable &problem) {
        require_complaint(problem.what());
        return std::nullopt;
    }
}

unsigned number(std::array<uint8_t, 2> bytes) {
    return static_cast<unsigned>(bytes[0] << 8 | bytes[1]);
}

void check_chip(const hwa::ChipImage &chip) {
    require(chip.present == 1 && chip.managed <= 1 && chip.forwarding <= 1, "a flag is 0 or 1");
    require(number(chip.address_count) <= hwa::kMaxAddresses, "a table has room for its addresses");
    for (const hwa::PortImage &port : chip.ports) {
        require(port.partner <= 1 && port.partner_fast <= 1 && port.partner_full_duplex <= 1 && port.test_failed <= 1,
                "a flag is 0 or 1");
        require(port.partner == 0 || port.test_failed == 0, "a port that failed its self-test has no link");
    }
    for (unsigned i = 0; i < number(chip.address_count); ++i) {
        const hwa::AddressImage &address = chip.addresses[i];
        require((address.raw[1] & 0x1FU) < hwa::kPorts, "an address is at a port that there is");
        require(address.vid[0] <= 0x0F, "a VLAN id has 12 bits");
    }
    for (const auto &entry : chip.vlan.entries) {
        require(entry[0] <= 0x0F, "an entry of the VLAN table has 60 bits");
    }
}

void check(const hwa::Scenario &scenario, std::string_view text) {
    require(is_line(scenario.name), "a name is a line of text");
    require(scenario.chips.size() <= hwa::kMaxChips, "there is room for all chips");
    for (const hwa::ChipImage &chip : scenario.chips) {
        check_chip(chip);
        require(std::count_if(scenario.chips.begin(), scenario.chips.end(),
                              [&](const hwa::ChipImage &other) { return other.number == chip.number; }) == 1,
                "no two chips have one number");
    }
    const auto again = parse("\n " + std::string(text) + "\t\r\n");
    require(again && again->digest == scenario.digest && again->name == scenario.name,
            "a text says the same whatever blanks are around it");
    for (size_t i = 0; i < scenario.chips.size(); ++i) {
        require(std::memcmp(&again->chips[i], &scenario.chips[i], sizeof scenario.chips[i]) == 0,
                "a text describes the same hub whenever it is read");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(bytes), size);
    if (const auto scenario = parse(text)) {
        check(*scenario, text);
    }
    return 0;
}
