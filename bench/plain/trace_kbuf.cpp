// SPDX-License-Identifier: Apache-2.0
// The cheapest trace library there can be: each record is one store into a ring, nothing else. Measured over it, the
// library's own share is as large as it gets.
#include <trace_kbuf.h>

namespace {

struct Record {
    uint32_t words[12];
};

constexpr uint32_t kRecords = 1024;
Record ring[kRecords];
uint32_t head;

Record &next() {
    return ring[head++ % kRecords];
}

} // namespace

#pragma GCC visibility push(default)

int trace_kbuf_init_buffer(uint32_t *descriptor, const char *, uint32_t) {
    *descriptor = 1;
    return 0;
}

int trace_kbuf_write_ints5(uint32_t, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1, uint32_t v2,
                           uint32_t v3, uint32_t v4) {
    next() = {{header, identifier, v0, v1, v2, v3, v4}};
    return 0;
}

int trace_kbuf_write_ints9(uint32_t, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1, uint32_t v2,
                           uint32_t v3, uint32_t v4, uint32_t v5, uint32_t v6, uint32_t v7, uint32_t v8) {
    next() = {{header, identifier, v0, v1, v2, v3, v4, v5, v6, v7, v8}};
    return 0;
}

int trace_kbuf_write_all(uint32_t, uint32_t identifier, const char *, uint32_t line, uint32_t) {
    next() = {{line, identifier}};
    return 0;
}

int trace_kbuf_free(uint32_t *descriptor) {
    *descriptor = 0;
    return 0;
}
