// SPDX-License-Identifier: Apache-2.0
#include "frame/register_access.h"

namespace ksl {

void trace_failure(uint32_t header, uint32_t identifier, uint32_t page, uint32_t offset, uint32_t length) {
    trace_kbuf_write_ints5(ksl_trace_buffer, header, identifier, page, offset, length, 0, 0);
}

int32_t fetch_or_fail(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *bytes, uint32_t header,
                      uint32_t identifier) {
    const int32_t result = getreg(chip, page, offset, length, bytes);
    if (result != 0) {
        trace_failure(header, identifier, page, offset, length);
    }
    return result;
}

int32_t read_or_fail(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *bytes, uint32_t header,
                     uint32_t identifier) {
    const int32_t result = fetch_or_fail(chip, page, offset, length, bytes, header, identifier);
    if (result == 0) {
        __print_status_array(bytes, length);
    }
    return result;
}

int32_t write_or_fail(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, const uint8_t *bytes,
                      uint32_t header, uint32_t identifier) {
    const int32_t result = setreg(chip, page, offset, length, bytes);
    if (result != 0) {
        trace_failure(header, identifier, page, offset, length);
    }
    return result;
}

} // namespace ksl
