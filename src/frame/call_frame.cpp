// SPDX-License-Identifier: Apache-2.0
// What every operation shares: run time, the dump of register bytes, the copy to the caller.
#include "frame/call_frame.h"

#include <cstring>

namespace {

using namespace ksl;

constexpr uint32_t kMicrosecondsPerSecond = 1000000;

// Wraps at 2^32; a difference of two comes out right all the same.
uint32_t microseconds(const timeval &time) {
    return static_cast<uint32_t>(time.tv_sec) * kMicrosecondsPerSecond + static_cast<uint32_t>(time.tv_usec);
}

} // namespace

int32_t ksl::CallFrame::leave(int32_t result) const {
    gettimeofday(&ksl_end_time, &ksl_time_zone);
    if (ksl_time_enabled != 0) {
        const timeval end = ksl_end_time;
        const timeval start = ksl_start_time;
        __print_time_diff(&end, &start);
    }
    return result;
}

extern "C" void ksl_enable_time() {
    ksl_time_enabled = 1;
}

extern "C" void ksl_disable_time() {
    ksl_time_enabled = 0;
}

extern "C" int32_t __print_time_diff(const timeval *end, const timeval *start) {
    return trace(points::elapsed_time, microseconds(*end) - microseconds(*start));
}

extern "C" int32_t __print_status_array(const uint8_t *b, uint32_t length) {
    switch (length) {
    case 1:
        return trace(points::status_bytes_1, b[0]);
    case 2:
        return trace(points::status_bytes_2, b[0], b[1]);
    case 3:
        return trace(points::status_bytes_3, b[0], b[1], b[2]);
    case 4:
        return trace(points::status_bytes_4, b[0], b[1], b[2], b[3]);
    case 5:
        return trace(points::status_bytes_5, b[0], b[1], b[2], b[3], b[4]);
    case 6:
        return trace(points::status_bytes_6, b[0], b[1], b[2], b[3], b[4], b[5]);
    case 7:
        return trace(points::status_bytes_7, b[0], b[1], b[2], b[3], b[4], b[5], b[6]);
    case 8:
        return trace(points::status_bytes_8, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7]);
    default:
        return trace(points::status_bytes_unsupported);
    }
}

extern "C" void *__hwa_copy_status_bytes(const void *source, void *destination, uint32_t count) {
    return memcpy(destination, source, count);
}
