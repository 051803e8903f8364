// SPDX-License-Identifier: Apache-2.0
// The frame of every operation: its start stamp, and on leaving the end stamp and the run time.
#pragma once

#include "frame/trace.h"

namespace ksl {

// Writes the run time of the operation that was stamped last.
[[gnu::cold]] void trace_run_time();

// Only the end of a frame, for an operation that leaves the start stamp to those that it calls.
class UnstampedFrame {
public:
    // An operation that refuses an argument returns without it, and leaves no end stamp and no run time.
    int32_t leave(int32_t result) const {
        gettimeofday(&ksl_end_time, &ksl_time_zone);
        if (ksl_time_enabled != 0) {
            trace_run_time();
        }
        return result;
    }
};

class CallFrame : public UnstampedFrame {
public:
    CallFrame() { gettimeofday(&ksl_start_time, &ksl_time_zone); }
};

} // namespace ksl
