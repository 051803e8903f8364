// SPDX-License-Identifier: Apache-2.0
// Registers by their places, as bytes.
#pragma once

#include "kslctl/hub/changes.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

Shown register_bytes(const hub::Reading &reading, const Style &style);

// Of one register.
Shown register_change(const hub::Changes &changes, const Style &style);

Shown dumped_registers(const hub::Fact<std::vector<hub::Reading>> &registers, const Style &style);

} // namespace kslctl::views
