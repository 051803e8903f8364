// SPDX-License-Identifier: Apache-2.0
// Which chips and which hub: the options --chip, --simulate and --no-simulate, and the variables of the environment
// that are their defaults.
#pragma once

#include "kslctl/command_line/numbers.h"

#include <optional>
#include <utility>

namespace kslctl {

struct ChipChoice {
    std::vector<uint32_t> numbers{0}; // as they are written
    bool all = false;                 // that answer; then there are no numbers

    bool operator==(const ChipChoice &) const = default;
};

// Numbers, ranges, or "all" alone. Throws ArgumentError.
ChipChoice parse_chips(const std::vector<std::string> &lists);

// What the command line says, as far as it does.
struct HubOptions {
    std::optional<ChipChoice> chips;
    bool simulate = false;
    bool no_simulate = false;
};

// What the environment says: KSL_CHIP and KSL_SIMULATE. A variable that is empty is not set.
struct HubVariables {
    std::optional<std::string> chip;
    std::optional<std::string> simulate;
};
HubVariables read_hub_variables();

// What counts.
struct HubChoice {
    ChipChoice chips;
    bool simulate;
    std::vector<std::pair<std::string, std::string>> variables; // those that count, with their values

    bool operator==(const HubChoice &) const = default;
};

// The command line counts first. Throws ArgumentError, which names the variable or the options that are wrong.
HubChoice choose_hub(const HubOptions &options, const HubVariables &variables);

// The options that make a command line choose this hub and chip, "--simulate --chip 1", for a user with these
// variables.
std::string options_for(bool simulate, uint32_t chip, const HubVariables &variables);

} // namespace kslctl
