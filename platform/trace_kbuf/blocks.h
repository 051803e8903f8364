// SPDX-License-Identifier: Apache-2.0
// Room on a disk that stays: a store into a mapped page without room ends the process with SIGBUS.
#pragma once

#include <cstddef>

namespace trace_kbuf {

// Gives each page of the file its place on the disk, for good. Returns nullptr, or what is wrong.
const char *reserve_blocks(int file, size_t bytes);

} // namespace trace_kbuf
