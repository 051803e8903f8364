// SPDX-License-Identifier: Apache-2.0
// The hub as files: a scenario of the simulated hub (hwa-sim(7)), and an expected configuration (ksl-expectation(5)).
#pragma once

#include "kslctl/hub/whole_chip.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// All addresses are at ports that a scenario has, 0 to KSL_PORTS - 1.
Json scenario_of_chip(const hub::WholeChip &chip);

// The whole files.
std::string scenario_text(const Json &chips);
std::string expectation_text(const hub::VlanSettings &settings);

} // namespace kslctl::views
