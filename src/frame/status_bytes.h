// SPDX-License-Identifier: Apache-2.0
// Register bytes on their way to the trace and to the caller.
#pragma once

#include "frame/trace.h"

#include <cstring>

namespace ksl {

#ifdef __OPTIMIZE_SIZE__
inline namespace compact {
#else
inline namespace fast {
#endif

// One record with the bytes; there is a trace point for each length that a register can have.
[[gnu::always_inline]] inline int32_t trace_status_bytes(const uint8_t *b, uint32_t length) {
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

// The source comes first.
inline void *copy_status_bytes(const void *source, void *destination, uint32_t count) {
    return memcpy(destination, source, count);
}

} // namespace fast or compact

} // namespace ksl
