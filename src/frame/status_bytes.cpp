// SPDX-License-Identifier: Apache-2.0
#include "frame/status_bytes.h"

using namespace ksl;

extern "C" int32_t __print_status_array(const uint8_t *bytes, uint32_t length) {
    switch (length) {
    case 1:
        return trace_status_bytes<1>(bytes);
    case 2:
        return trace_status_bytes<2>(bytes);
    case 3:
        return trace_status_bytes<3>(bytes);
    case 4:
        return trace_status_bytes<4>(bytes);
    case 5:
        return trace_status_bytes<5>(bytes);
    case 6:
        return trace_status_bytes<6>(bytes);
    case 7:
        return trace_status_bytes<7>(bytes);
    case 8:
        return trace_status_bytes<8>(bytes);
    default:
        return trace(points::status_bytes_unsupported);
    }
}

extern "C" void *__hwa_copy_status_bytes(const void *source, void *destination, uint32_t count) {
    return copy_status_bytes(source, destination, count);
}
