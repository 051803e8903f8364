// SPDX-License-Identifier: Apache-2.0
// JSON documents whose keys keep their order.
#pragma once

#include <nlohmann/json.hpp>

// Compiled once, in json.cpp: it takes longer than what most files do with it.
extern template class nlohmann::basic_json<nlohmann::ordered_map>;

namespace tools {

using Json = nlohmann::ordered_json;

} // namespace tools
