// SPDX-License-Identifier: Apache-2.0
// hub scenario, hub expectation: the hub as a file.
#include "kslctl/commands/command.h"
#include "kslctl/views/hub_files.h"

#include <algorithm>
#include <fmt/core.h>
#include <set>

namespace kslctl {

namespace {

// ---- hub scenario ----

// A scenario has no ports but those of the chip; an address at another one is left out, which counts as a failure.
void leave_out_other_ports(hub::WholeChip &chip, hub::Failures &failures) {
    std::erase_if(chip.addresses, [&](const hub::Address &address) {
        const bool is_other = address.port >= KSL_PORTS;
        if (is_other) {
            hub::note(failures,
                      {.chip = chip.chip,
                       .about = fmt::format("address {} at port {}", hub::mac_text(address.mac), address.port),
                       .undone = "left out",
                       .reason = fmt::format("a scenario has ports 0 to {}", KSL_PORTS - 1)});
        }
        return is_other;
    });
}

// Half a hub is no scenario: without one of the chips there is no text.
Result run_scenario(Context &context, const NoArguments &) {
    Result result;
    bool is_whole = true;
    for (const uint32_t number : context.options.chips) {
        std::optional<hub::WholeChip> chip = hub::read_whole_chip(number, context.failures);
        if (chip) {
            leave_out_other_ports(*chip, context.failures);
        }
        is_whole = is_whole && chip;
        result.chips.push_back(chip ? views::scenario_of_chip(*chip) : Json{{"chip", number}});
    }
    result.text = is_whole ? views::scenario_text(result.chips) : "";
    return result;
}

void check_scenario(Options &options, const NoArguments &) {
    if (std::set(options.chips.begin(), options.chips.end()).size() != options.chips.size()) {
        throw UsageError("a scenario has each chip once, and --chip names one a second time");
    }
}

constexpr char kScenarioHelp[] =
    R"(Writes the hub, real or simulated, as a scenario file of the simulated hub
(hwa-sim(7)), which HWA_SIM_SCENARIO can name:
  kslctl --chip 0,1 hub scenario >hub.json
  HWA_SIM_SCENARIO=hub.json kslctl --simulate --chip 0,1 status

The file has switch mode, self-test, links, PHY and port control, PVIDs, VLAN
enable, the whole VLAN table, the addresses, and the settings of age timer,
mirroring, trunk groups and learning. It has no counters. Nobody can see what
is at the other end of a port without a link; the file says that nothing is
there. If a register cannot be read, kslctl writes no file.)";

// ---- hub expectation ----

Result run_expectation(Context &context, const NoArguments &) {
    const uint32_t chip = context.options.chips.front();
    const std::optional<hub::VlanSettings> settings = hub::read_vlan_settings(chip, context.failures);
    const std::string text = settings ? views::expectation_text(*settings) : "";
    Result result;
    result.chips.push_back({{"chip", chip}, {"expectation", settings ? Json::parse(text) : Json(nullptr)}});
    result.text = text;
    return result;
}

void check_expectation(Options &options, const NoArguments &) {
    if (options.chips.size() != 1) {
        throw UsageError("an expected configuration is that of one chip, and several are meant; name it with --chip");
    }
}

constexpr char kExpectationHelp[] =
    R"(Writes the PVIDs of all ports and the valid entries of the VLAN table as an
expected configuration (ksl-expectation(5)), with which the chip can be
compared later:
  kslctl hub expectation >before.json
  kslctl vlan pvid 3 200
  kslctl validate pvid --expect before.json

If a register cannot be read, kslctl writes no file.)";

} // namespace

void add_hub_commands(Commands &commands) {
    commands.add_group("hub", "Write the hub as a file: scenario, expectation");
    commands.add({
        .name = "hub scenario",
        .summary = "Write the hub as a scenario of the simulated hub",
        .help = kScenarioHelp,
        .run = run_scenario,
        .check = check_scenario,
        .raw_schema = kNoRaw,
    });
    commands.add({
        .name = "hub expectation",
        .summary = "Write the chip as an expected configuration",
        .help = kExpectationHelp,
        .run = run_expectation,
        .check = check_expectation,
        .raw_schema = kNoRaw,
    });
}

} // namespace kslctl
