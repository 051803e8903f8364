// SPDX-License-Identifier: Apache-2.0
// The cheapest trace library there can be: each record is one store into a ring, nothing else. Measured over it, the
// library's own share is as large as it gets.
#include <trace_kbuf.h>

namespace {

constexpr uint32_t kRecords = 1024;
constexpr uint32_t kWords = 16;                // of which a record stores those that it has
[[gnu::used]] uint32_t ring[kRecords][kWords]; // else nothing is stored, since nobody reads it
uint32_t head;

template <class... Words>
int store(Words... words) {
    uint32_t *at = ring[head++ % kRecords];
    ((*at++ = words), ...);
    return 0;
}

} // namespace

#pragma GCC visibility push(default)

int trace_kbuf_init_buffer(uint32_t *descriptor, const char *, uint32_t) {
    *descriptor = 1;
    return 0;
}

int trace_kbuf_write_ints5(uint32_t, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1, uint32_t v2,
                           uint32_t v3, uint32_t v4) {
    return store(header, identifier, v0, v1, v2, v3, v4);
}

int trace_kbuf_write_ints9(uint32_t, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1, uint32_t v2,
                           uint32_t v3, uint32_t v4, uint32_t v5, uint32_t v6, uint32_t v7, uint32_t v8) {
    return store(header, identifier, v0, v1, v2, v3, v4, v5, v6, v7, v8);
}

int trace_kbuf_write_all(uint32_t, uint32_t identifier, const char *, uint32_t line, uint32_t) {
    return store(line, identifier);
}

int trace_kbuf_free(uint32_t *descriptor) {
    *descriptor = 0;
    return 0;
}
