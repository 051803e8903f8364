// SPDX-License-Identifier: Apache-2.0
// A chip as the simulated hub's scenario files describe one (hwa-sim(7)).
#pragma once

#include "kslctl/report.h"

#include <optional>
#include <string>

namespace kslctl {

// None where something could not be read, which is reported. What a scenario cannot state is reported and left out.
std::optional<Json> scenario_of_chip(uint32_t chip, Report &report);

// The whole file.
std::string scenario_text(const Json &chips);

} // namespace kslctl
