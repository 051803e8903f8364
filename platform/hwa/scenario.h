// SPDX-License-Identifier: Apache-2.0
// The hub that a run starts from, described in JSON (hwa-sim(7) has the format).
#pragma once

#include "image.h"

#include <string>
#include <string_view>
#include <vector>

namespace hwa {

struct Scenario {
    std::string name;
    std::uint64_t digest; // equal for texts that describe the same hub in the same words
    std::vector<ChipImage> chips;
};

// Reads a scenario's text; throws Unusable naming the line of a syntax error, else the key.
Scenario parse_scenario(std::string_view text);

// Reads the scenario of a file; throws Unusable.
Scenario load_scenario(const std::string &path);

// The hub that is there when nobody chose one.
extern const char *const kDefaultScenario;

} // namespace hwa
