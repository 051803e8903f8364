// SPDX-License-Identifier: Apache-2.0
// Where the bytes of a ring are: memory of this process (and of those forked from it), or a file that outlives it.
#pragma once

#include "front.h"

namespace trace_kbuf {

// Puts fresh zero pages in the place of whatever was mapped for the ring. They are shared with later children.
bool map_memory(Front &front);

// Describes a ring whose bytes are all zero.
void describe(Header &ring, const char *name, uint32_t size);

// Maps the file of the buffer `name` in `directory` at one of `places`, and makes it if needed:
// - a file of the same name and kind of machine is continued, if it has `size` bytes of records or more;
// - a smaller one, one of another version, or a damaged one, is moved aside to NAME.kbuf.old first;
// - anything else is left alone.
// Nothing is followed or reused that another user may have put there or may write into, and the file's blocks are
// allocated before it is mapped, so that a full disk can never stop a writer.
// Returns nullptr and what is wrong when there is no using the file.
Front *map_file(Places &places, const char *directory, const char *name, uint32_t size, const char *&problem);

} // namespace trace_kbuf
