// SPDX-License-Identifier: Apache-2.0
// The frame of every operation: its start stamp, and on leaving the end stamp and the run time.
#pragma once

#include "frame/trace.h"

namespace ksl {

class CallFrame {
public:
    CallFrame() { gettimeofday(&ksl_start_time, &ksl_time_zone); }

    // An operation that returns without it leaves no end stamp and no run time.
    int32_t leave(int32_t result) const;
};

} // namespace ksl
