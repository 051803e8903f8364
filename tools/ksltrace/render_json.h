// SPDX-License-Identifier: Apache-2.0
// A trace for programs; docs/kslctl-json.md has the keys.
#pragma once

#include "ksltrace/decoder.h"

#include <nlohmann/json.hpp>

namespace ksltrace {

// A list with one object for each record.
nlohmann::ordered_json render_json(const Trace &trace);

} // namespace ksltrace
