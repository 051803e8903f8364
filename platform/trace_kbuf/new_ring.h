// SPDX-License-Identifier: Apache-2.0
// Makes a ring where the environment wants it: TRACE_KBUF_DIR names a folder, TRACE_KBUF_SIZE a number of bytes.
#pragma once

#include "front.h"

namespace trace_kbuf {

// For the buffer `name`, whose caller asks for `wanted` bytes of records. nullptr when there is no memory.
Front *new_ring(Places &places, const char *name, uint32_t wanted);

} // namespace trace_kbuf
