// SPDX-License-Identifier: Apache-2.0
// The rules of the diagnosis: what is wrong with a chip or a port if certain registers hold certain bits.
#pragma once

#include "kslctl/hub/chip_facts.h"

#include <string_view>

namespace kslctl::hub {

// The worst first.
enum class Severity {
    fault,   // frames do not get through
    warning, // they do, but hardly as somebody wants it
    note     // worth knowing
};

// What the registers hold where a rule is met.
struct Sight {
    std::string text;              // "PHY control of port 3 (page 0x13, offset 0x00), bit 14: 1"
    std::string argument{};        // of the rule's command; empty: the port
    std::vector<uint32_t> ports{}; // that a rule of the chip is about; none: the whole chip
};

// Means nothing where the rule is not met. It is the failure of a register that the rule needs.
using Verdict = Fact<Sight>;

// It has one of the two functions.
struct Rule {
    const char *id; // for programs: never renamed
    const char *title;
    const char *meaning;
    const char *command; // that mends it or tells more, with {} for its argument
    Verdict (*of_chip)(const ChipFacts &chip) = nullptr;
    Verdict (*of_port)(const ChipFacts &chip, const PortFacts &port) = nullptr;
    Severity severity;
    bool explains_no_link = false;
};

// Those of a severity are next to each other, in the order of severities.
std::span<const Rule> rules();

// The rule with that identifier, which there is.
const Rule &rule_named(std::string_view id);

} // namespace kslctl::hub
