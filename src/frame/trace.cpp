// SPDX-License-Identifier: Apache-2.0
#include "frame/trace.h"

namespace ksl {

int32_t write_record(uint32_t identifier, uint32_t header) {
    return trace_kbuf_write_all(ksl_trace_buffer, identifier, " ", header, 0);
}

int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0) {
    return write_record(identifier, header, v0, 0, 0, 0, 0);
}

int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0, uint32_t v1) {
    return write_record(identifier, header, v0, v1, 0, 0, 0);
}

int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0, uint32_t v1, uint32_t v2) {
    return write_record(identifier, header, v0, v1, v2, 0, 0);
}

int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3) {
    return write_record(identifier, header, v0, v1, v2, v3, 0);
}

int32_t write_record(uint32_t identifier, uint32_t header, uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3,
                     uint32_t v4) {
    return trace_kbuf_write_ints5(ksl_trace_buffer, header, identifier, v0, v1, v2, v3, v4);
}

} // namespace ksl
