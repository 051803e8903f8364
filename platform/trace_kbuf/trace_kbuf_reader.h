/* SPDX-License-Identifier: Apache-2.0 */
/**
 * Reads what the trace library recorded: from a file, from bytes, or from a buffer that is open
 * in this process. Writers are never stopped, and a file of either byte order is read on any
 * machine.
 *
 * Every reading gives a snapshot. Its `status` says whether it is whole, `problem` says in one
 * sentence what is wrong otherwise, and `records` holds whatever could be read all the same.
 */
#ifndef TRACE_KBUF_READER_H
#define TRACE_KBUF_READER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { TRACE_KBUF_VALUES = 9 };

enum trace_kbuf_status {
    TRACE_KBUF_WHOLE = 0,
    TRACE_KBUF_UNREADABLE,      /**< the file cannot be opened or read, or no such buffer is open */
    TRACE_KBUF_EMPTY,           /**< no bytes at all */
    TRACE_KBUF_NOT_A_TRACE,     /**< something else */
    TRACE_KBUF_UNKNOWN_VERSION, /**< written by a trace library of another file version */
    TRACE_KBUF_CUT_SHORT,       /**< ends before its last record; the records before are there */
    TRACE_KBUF_DAMAGED          /**< contradicts itself; the records that are good by themselves are there */
};

enum trace_kbuf_byte_order { TRACE_KBUF_LITTLE_ENDIAN = 0, TRACE_KBUF_BIG_ENDIAN = 1 };

struct trace_kbuf_record {
    uint64_t sequence;                  /**< number of the record, from 0; a gap is what the ring lost */
    uint64_t time_ns;                   /**< nanoseconds since 1970-01-01 00:00:00 UTC, by the writer's clock */
    uint64_t ticks;                     /**< the stamp itself, for elapsed times: see `ticks_per_second` */
    uint32_t identifier;                /**< as written */
    uint32_t header;                    /**< as written: (number of values << 16) | line */
    uint32_t line;                      /**< low half of the header */
    uint32_t value_count;               /**< high half of the header, at most TRACE_KBUF_VALUES */
    uint32_t values[TRACE_KBUF_VALUES]; /**< those past `value_count` are 0 */
    uint32_t writer; /**< kernel's id of the thread that wrote it; that of a process's first thread is its pid */
};

struct trace_kbuf_snapshot {
    enum trace_kbuf_status status;
    char problem[256]; /**< empty when whole, else one sentence that names the file; no line end */

    /* What the file says of itself; zero and empty as far as it is not readable. */
    uint32_t version;    /**< 1 or 2 */
    uint32_t byte_order; /**< enum trace_kbuf_byte_order of the writer */
    uint32_t word_bits;  /**< 32 or 64: the writer's pointers */
    char name[64];       /**< of the buffer */
    char writer[96];     /**< build that created it, such as "trace_kbuf 0.1.0 powerpc gcc 12.2.0" */
    uint32_t size;       /**< bytes of the ring */
    uint32_t capacity;   /**< records that fit into it */
    double ticks_per_second;

    uint64_t written;     /**< records begun in all */
    uint64_t overwritten; /**< of these: gone because the ring was full */
    uint64_t incomplete;  /**< of these: refused, since in the making, torn, damaged or cut off */

    size_t record_count;
    struct trace_kbuf_record *records; /**< oldest first */
};

/** Reads the file `path`, also while it is being written. */
struct trace_kbuf_snapshot *trace_kbuf_snapshot_file(const char *path);

/** Reads a file that lies in memory, or a copy made by trace_kbuf_copy; `label` names it in `problem`. */
struct trace_kbuf_snapshot *trace_kbuf_snapshot_bytes(const void *bytes, size_t size, const char *label);

/** Reads the buffer `name` that is open in this process; take it before the buffer is freed. */
struct trace_kbuf_snapshot *trace_kbuf_snapshot_live(const char *name);

/* The three above return NULL only when there is no memory. */

/** Releases a snapshot; NULL is allowed. */
void trace_kbuf_snapshot_free(struct trace_kbuf_snapshot *snapshot);

/**
 * Stores in `path` where a process with TRACE_KBUF_DIR=`directory` (without %) keeps the buffer `name`. Characters
 * other than letters, digits, '_', '-' and inner '.' become %XX in the file name.
 * Returns the length of the path as snprintf does, or -1 for a name that no buffer can have.
 */
int trace_kbuf_file_path(char *path, size_t room, const char *directory, const char *name);

/**
 * Exported by libtrace_kbuf.so (the hub's own trace library lacks it, so look it up instead of linking
 * to it): copies the buffer `name` of this process to `bytes` as a file would hold it. Returns the size
 * of the copy; when that is more than `room` nothing was copied; 0 when no such buffer is open.
 */
size_t trace_kbuf_copy(const char *name, void *bytes, size_t room);

#ifdef __cplusplus
}
#endif

#endif
