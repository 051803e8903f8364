// SPDX-License-Identifier: Apache-2.0
// hub scenario, hub expectation: the hub as a file.
#include "kslctl/command.h"
#include "kslctl/scenario.h"
#include "kslctl/vlan_registers.h"

#include <algorithm>
#include <expectation.h>
#include <fmt/core.h>
#include <set>

namespace kslctl {

namespace {

// ---- hub scenario ----

// Half a hub is no scenario: without one of the chips there is no text.
Result run_scenario(Context &context) {
    Result result;
    bool whole = true;
    for (const uint32_t chip : context.options.chips) {
        const std::optional<Json> scenario = scenario_of_chip(chip, context.report);
        whole = whole && scenario;
        result.chips.push_back(scenario ? *scenario : Json{{"chip", chip}});
    }
    result.text = whole ? scenario_text(result.chips) : "";
    return result;
}

void check_scenario(const Options &options) {
    check_no_raw(options);
    if (std::set(options.chips.begin(), options.chips.end()).size() != options.chips.size()) {
        throw UsageError("a scenario has each chip once, and --chip names one a second time");
    }
}

constexpr char kScenarioHelp[] =
    R"(Writes the hub in front of it, real or simulated, as a scenario file of the simulated hub (hwa-sim(7)),
which HWA_SIM_SCENARIO can name:
  kslctl --chip 0,1 hub scenario >hub.json
  HWA_SIM_SCENARIO=hub.json kslctl --simulate --chip 0,1 status

In it are switch mode, self-test, links, PHY and port control, PVIDs, VLAN enable, the whole VLAN table, the addresses,
and the settings of age timer, mirroring, trunk groups and learning. Counters are not. Nobody can see what is at the
other end of a port without a link: it is written down as nothing. Where a register cannot be read, there is no file.)";

// ---- hub expectation ----

std::optional<kslcfg::Expectation> read_expectation(uint32_t chip, Report &report) {
    kslcfg::Expectation expectation;
    expectation.name = fmt::format("chip {} as it was", chip);
    const Pvids pvids = read_pvids(chip, report);
    if (!std::all_of(pvids.begin(), pvids.end(), [](const auto &pvid) { return pvid.has_value(); })) {
        return std::nullopt;
    }
    std::transform(pvids.begin(), pvids.end(), expectation.pvids.begin(),
                   [](const std::optional<Bytes> &pvid) { return kslcfg::pvid_from(pvid->data()); });
    const auto table = read_vlan_table(chip, report);
    if (!table) {
        return std::nullopt;
    }
    for (const auto &[vid, bytes] : *table) {
        expectation.vlans.push_back(kslcfg::vlan_entry_from(static_cast<uint16_t>(vid), bytes.data()));
    }
    return expectation;
}

Result run_expectation(Context &context) {
    const uint32_t chip = context.options.chips.front();
    const std::optional<kslcfg::Expectation> expectation = read_expectation(chip, context.report);
    const std::string text = expectation ? kslcfg::to_json(*expectation) : "";
    Result result;
    result.chips.push_back({{"chip", chip}, {"expectation", expectation ? Json::parse(text) : Json(nullptr)}});
    result.text = text;
    return result;
}

void check_expectation(const Options &options) {
    check_no_raw(options);
    if (options.chips.size() != 1) {
        throw UsageError("an expected configuration is that of one chip, and --chip names several");
    }
}

constexpr char kExpectationHelp[] =
    R"(Writes the PVIDs of all ports and the valid entries of the VLAN table as an expected configuration
(ksl-expectation(5)), with which the chip can be compared later:
  kslctl hub expectation >before.json
  kslctl vlan pvid 3 200
  kslctl validate pvid --expect before.json

Where a register cannot be read, there is no file.)";

} // namespace

void add_hub_commands(Commands &commands) {
    Commands::Group group = commands.add_group("hub", "Write the hub as a file: scenario, expected configuration");
    group.add("scenario", "Write the hub as a scenario file of the simulated hub", kScenarioHelp, run_scenario,
              check_scenario);
    group.add("expectation", "Write the chip as an expected configuration", kExpectationHelp, run_expectation,
              check_expectation);
}

} // namespace kslctl
