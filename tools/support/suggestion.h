// SPDX-License-Identifier: Apache-2.0
// What a user may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tools {

// "; did you mean "status"?" with the names that begin with the word, else with the nearest ones; empty if none is
// near.
std::string suggestion(std::string_view word, const std::vector<std::string> &names);

} // namespace tools
