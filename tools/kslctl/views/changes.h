// SPDX-License-Identifier: Apache-2.0
// Changes of registers: from what to what, and in a dry run what would be written.
#pragma once

#include "kslctl/hub/changes.h"
#include "kslctl/views/shown.h"

namespace kslctl::views {

// With `raw` the values are bytes.
Shown changes(const hub::Changes &changes, bool raw, const Style &style);

// Of one register by its place, always as bytes.
Shown register_change(const hub::Changes &changes, const Style &style);

} // namespace kslctl::views
