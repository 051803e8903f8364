// SPDX-License-Identifier: Apache-2.0
#include "kslctl/command_line/defaults.h"

#include <cstdlib>
#include <fmt/core.h>

namespace kslctl {

namespace {

constexpr NumberKind kChips{"chip number", 0, 255}; // the library passes on the low 8 bits of a chip's number
constexpr char kAll[] = "all";
constexpr char kChipVariable[] = "KSL_CHIP";
constexpr char kSimulateVariable[] = "KSL_SIMULATE";

std::optional<std::string> variable(const char *name) {
    const char *const text = std::getenv(name);
    return text == nullptr || *text == '\0' ? std::nullopt : std::optional<std::string>(text);
}

ChipChoice chips_of_variable(const std::string &text) {
    try {
        return parse_chips({text});
    } catch (const ArgumentError &error) {
        throw ArgumentError(fmt::format("{}: {}", kChipVariable, error.what()));
    }
}

bool simulate_of_variable(const std::string &text) {
    if (text != "1" && text != "0") {
        throw ArgumentError(
            fmt::format("{}: \"{}\" is neither 1, for the simulated hub, nor 0", kSimulateVariable, text));
    }
    return text == "1";
}

} // namespace

ChipChoice parse_chips(const std::vector<std::string> &lists) {
    ChipChoice choice{{}, false};
    for (const std::string &list : lists) {
        choice.all = choice.all || list == kAll;
        if (list != kAll) {
            const std::vector<uint32_t> more = parse_list(list, kChips);
            choice.numbers.insert(choice.numbers.end(), more.begin(), more.end());
        }
    }
    if (choice.all && !choice.numbers.empty()) {
        throw ArgumentError("\"all\" means every chip that answers, so none is named next to it");
    }
    return choice;
}

HubVariables read_hub_variables() {
    return {variable(kChipVariable), variable(kSimulateVariable)};
}

HubChoice choose_hub(const HubOptions &options, const HubVariables &variables) {
    if (options.simulate && options.no_simulate) {
        throw ArgumentError("--simulate and --no-simulate exclude each other");
    }
    HubChoice choice{options.chips.value_or(ChipChoice()), options.simulate, {}};
    if (!options.chips && variables.chip) {
        choice.chips = chips_of_variable(*variables.chip);
        choice.variables.emplace_back(kChipVariable, *variables.chip);
    }
    if (!options.simulate && !options.no_simulate && variables.simulate) {
        choice.simulate = simulate_of_variable(*variables.simulate);
        choice.variables.emplace_back(kSimulateVariable, *variables.simulate);
    }
    return choice;
}

std::string options_for(bool simulate, uint32_t chip, const HubVariables &variables) {
    const bool would_simulate = variables.simulate && *variables.simulate != "0";
    const char *const hub = simulate ? " --simulate" : would_simulate ? " --no-simulate" : "";
    const bool is_default = chip == 0 && !variables.chip;
    return hub + (is_default ? "" : fmt::format(" --chip {}", chip));
}

} // namespace kslctl
