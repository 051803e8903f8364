// SPDX-License-Identifier: Apache-2.0
// Where a ring lives: memory of this process (and of those forked from it), or a file that outlives it.
#pragma once

#include "format.h"

namespace trace_kbuf {

inline size_t image_bytes(uint32_t size) {
    return kHeaderBytes + size;
}

// An address range that is never given back; nullptr when there is none.
void *reserve(size_t bytes);

// Puts fresh zero pages in the place of whatever was mapped at `place`. They are shared with later children.
bool map_memory(void *place, size_t bytes);

// Describes a ring whose bytes are all zero.
void describe(Header &ring, const char *name, uint32_t size);

// Maps the file of the buffer `name` in `directory` at `place`, and makes it if needed:
// - a file of the same name, size and kind of machine is continued;
// - one of another size or version, or a damaged one, is moved aside to NAME.kbuf.old first;
// - anything else is left alone.
// Nothing is followed or reused that another user may have put there, and the file's blocks are
// allocated before it is mapped, so that a full disk can never stop a writer.
// Returns nullptr when done, else what is wrong; then the mapping at `place` is unchanged.
const char *map_file(void *place, const char *directory, const char *name, uint32_t size);

} // namespace trace_kbuf
