// SPDX-License-Identifier: Apache-2.0
// A buffer of exactly the size that a test wants, also in a file.
#pragma once

#include <cstdlib>
#include <string>
#include <trace_kbuf.h>

inline int init_sized(uint32_t *descriptor, const char *name, uint32_t size) {
    setenv("TRACE_KBUF_SIZE", std::to_string(size).c_str(), 1);
    const int result = trace_kbuf_init_buffer(descriptor, name, size);
    unsetenv("TRACE_KBUF_SIZE");
    return result;
}
