// SPDX-License-Identifier: Apache-2.0
#include "frame/status_bytes.h"

extern "C" int32_t __print_status_array(const uint8_t *bytes, uint32_t length) {
    return ksl::trace_status_bytes(bytes, length);
}

extern "C" void *__hwa_copy_status_bytes(const void *source, void *destination, uint32_t count) {
    return ksl::copy_status_bytes(source, destination, count);
}
