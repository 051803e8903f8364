/* SPDX-License-Identifier: Apache-2.0 */
/**
 * The trace library: numeric records written into named ring buffers.
 *
 * A record is an identifier, a header word ((number of values << 16) | source line) and up to
 * nine 32-bit values. Writing never fails in a way that a caller has to handle: all results
 * may be ignored, and a descriptor that is zero or stale makes every write a no-op.
 */
#ifndef TRACE_KBUF_H
#define TRACE_KBUF_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Opens the buffer `name` (up to 63 characters) with room for `size` bytes of records (1 to 16 MiB; rounded
 * up to a power of two) and stores its descriptor in `*descriptor`. A record takes 64 bytes; a full buffer
 * loses its oldest records. Opening an open name again gives the same buffer, whatever the size.
 *
 * The buffer is in memory of the process and of those it forks, or, where the environment variable
 * TRACE_KBUF_DIR names a folder, in a file of that folder (see trace_kbuf_file_path in
 * trace_kbuf_reader.h), which other processes may open too and which lasts. In TRACE_KBUF_DIR %e means
 * the program and %p the process, as in core(5). A file has room for at least 1 MiB of records. TRACE_KBUF_SIZE
 * says otherwise, for files and memory (128 to 16777216 bytes, such as 4194304, 4096K or 4M). When the file cannot be
 * used, the first such case is reported on stderr and memory serves.
 * Returns 0; -1 when no buffer could be made, and then `*descriptor` is 0. Up to 16 buffers are open at once.
 */
int trace_kbuf_init_buffer(uint32_t *descriptor, const char *name, uint32_t size);

/** Writes a record of up to five values; the header says how many count. Returns 0, or -1 when nothing was written. */
int trace_kbuf_write_ints5(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                           uint32_t v2, uint32_t v3, uint32_t v4);

/** Writes a record of up to nine values; the header says how many count. Returns 0, or -1 when nothing was written. */
int trace_kbuf_write_ints9(uint32_t descriptor, uint32_t header, uint32_t identifier, uint32_t v0, uint32_t v1,
                           uint32_t v2, uint32_t v3, uint32_t v4, uint32_t v5, uint32_t v6, uint32_t v7, uint32_t v8);

/**
 * Writes a record without values at source line `line` (its low 16 bits); `text` and `zero` are not kept.
 * Returns 0, or -1 when nothing was written.
 */
int trace_kbuf_write_all(uint32_t descriptor, uint32_t identifier, const char *text, uint32_t line, uint32_t zero);

/**
 * Releases the buffer of `*descriptor`, however often it was opened, and sets the descriptor to 0.
 * A file keeps its records. Returns 0; -1 when it named no open buffer.
 */
int trace_kbuf_free(uint32_t *descriptor);

#ifdef __cplusplus
}
#endif

#endif
