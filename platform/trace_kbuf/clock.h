// SPDX-License-Identifier: Apache-2.0
// Keeps a ring's anchors good, so that its ticks can be turned into time.
#pragma once

#include "format.h"

namespace trace_kbuf {

// Looks at the clock, and adds an anchor when those of the ring lead to another time.
// Done when a buffer is opened, copied or freed, and about once a second while records are written.
void check_clock(Header &ring, uint32_t writer);

// By calibration, which check_clock has done; not more than 2^30.
uint32_t ticks_per_second();

} // namespace trace_kbuf
