// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/trace.h"

namespace ksl::points {
#include "chip/trace_points.def"
} // namespace ksl::points
