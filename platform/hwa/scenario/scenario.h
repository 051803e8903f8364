// SPDX-License-Identifier: Apache-2.0
// The hub to start from, described in JSON (hwa-sim(7) has the format).
#pragma once

#include "state/image.h"

#include <string>
#include <string_view>
#include <vector>

namespace hwa {

struct Scenario {
    std::string name;
    uint64_t digest; // equal for texts that differ in nothing but layout and order of keys
    std::vector<ChipImage> chips;
};

// Reads a scenario's text. Throws Unusable, such as "line 9, column 14: chips[0].chip must be a number from 0 to 255".
Scenario parse_scenario(std::string_view text);

// Reads the scenario of a file. Throws Unusable with its path in front.
Scenario load_scenario(const std::string &path);

// The built-in hub.
extern const char *const kDefaultScenario;

} // namespace hwa
