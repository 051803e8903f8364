// SPDX-License-Identifier: Apache-2.0
#include "frame/call_frame.h"

namespace {

using namespace ksl;

constexpr uint32_t kMicrosecondsPerSecond = 1000000;

// Wraps at 2^32; the difference of two is right nevertheless.
uint32_t microseconds(const timeval &time) {
    return static_cast<uint32_t>(time.tv_sec) * kMicrosecondsPerSecond + static_cast<uint32_t>(time.tv_usec);
}

} // namespace

void ksl::trace_run_time() {
    const timeval end = ksl_end_time;
    const timeval start = ksl_start_time;
    __print_time_diff(&end, &start);
}

extern "C" int32_t __print_time_diff(const timeval *end, const timeval *start) {
    return trace(points::elapsed_time, microseconds(*end) - microseconds(*start));
}

extern "C" void ksl_enable_time() {
    ksl_time_enabled = 1;
}

extern "C" void ksl_disable_time() {
    ksl_time_enabled = 0;
}
