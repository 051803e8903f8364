// SPDX-License-Identifier: Apache-2.0
// Register bytes on their way to the trace and to the caller.
#pragma once

#include "frame/trace.h"

#include <cstring>

namespace ksl {

#ifdef KSL_POLLED
inline namespace fast {
#else
inline namespace compact {
#endif

// One record with the bytes. Each length that a register can have has its trace point.
template <uint32_t Length>
[[gnu::always_inline]] inline int32_t trace_status_bytes(const uint8_t *b) {
    static_assert(Length >= 1 && Length <= 8);
    if constexpr (Length == 1) {
        return trace(points::status_bytes_1, b[0]);
    } else if constexpr (Length == 2) {
        return trace(points::status_bytes_2, b[0], b[1]);
    } else if constexpr (Length == 3) {
        return trace(points::status_bytes_3, b[0], b[1], b[2]);
    } else if constexpr (Length == 4) {
        return trace(points::status_bytes_4, b[0], b[1], b[2], b[3]);
    } else if constexpr (Length == 5) {
        return trace(points::status_bytes_5, b[0], b[1], b[2], b[3], b[4]);
    } else if constexpr (Length == 6) {
        return trace(points::status_bytes_6, b[0], b[1], b[2], b[3], b[4], b[5]);
    } else if constexpr (Length == 7) {
        return trace(points::status_bytes_7, b[0], b[1], b[2], b[3], b[4], b[5], b[6]);
    } else {
        return trace(points::status_bytes_8, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7]);
    }
}

// The source comes first.
inline void *copy_status_bytes(const void *source, void *destination, uint32_t count) {
    return memcpy(destination, source, count);
}

} // namespace fast or compact

} // namespace ksl
