/* SPDX-License-Identifier: Apache-2.0 */
/* A trace library with the five operations and nothing to read its buffers with. */
#include <trace_kbuf.h>

#pragma GCC visibility push(default)

int trace_kbuf_init_buffer(uint32_t *descriptor, const char *name, uint32_t size) {
    (void)name, (void)size;
    *descriptor = 1;
    return 0;
}

int trace_kbuf_write_ints5(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                           uint32_t v2, uint32_t v3, uint32_t v4) {
    (void)descriptor, (void)header, (void)identifier, (void)v0, (void)v1, (void)v2, (void)v3, (void)v4;
    return 0;
}

int trace_kbuf_write_ints9(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                           uint32_t v2, uint32_t v3, uint32_t v4, uint32_t v5, uint32_t v6, uint32_t v7, uint32_t v8) {
    (void)descriptor, (void)header, (void)identifier, (void)v0, (void)v1, (void)v2, (void)v3, (void)v4;
    (void)v5, (void)v6, (void)v7, (void)v8;
    return 0;
}

int trace_kbuf_write_all(uint32_t descriptor, uint32_t identifier, const char *text, uint32_t line, uint32_t zero) {
    (void)descriptor, (void)identifier, (void)text, (void)line, (void)zero;
    return 0;
}

int trace_kbuf_free(uint32_t *descriptor) {
    *descriptor = 0;
    return 0;
}
