// SPDX-License-Identifier: Apache-2.0
#include "frame/register_access.h"

void ksl::trace_failure(uint32_t header, uint32_t identifier, uint32_t page, uint32_t offset, uint32_t length) {
    trace_kbuf_write_ints5(ksl_trace_buffer, header, identifier, page, offset, length, 0, 0);
}
