// SPDX-License-Identifier: Apache-2.0
// Tables, by their short names.
#pragma once

#include "support/table.h"

namespace kslctl {

using tools::Align;
using tools::Column;
using tools::kNothing;
using tools::kNotRead;
using tools::Style;
using tools::Table;

} // namespace kslctl
