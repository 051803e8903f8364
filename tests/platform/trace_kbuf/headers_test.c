/* SPDX-License-Identifier: Apache-2.0 */
/* Both headers serve a C program, and so does a whole round of the operations. */
#include <stdio.h>
#include <trace_kbuf.h>
#include <trace_kbuf_reader.h>

int main(void) {
    uint32_t descriptor = 0;
    struct trace_kbuf_snapshot *snapshot;
    int good;

    if (trace_kbuf_init_buffer(&descriptor, "C", 4096) != 0) {
        return 1;
    }
    trace_kbuf_write_ints5(descriptor, (2u << 16) | 7, 0x1234, 8, 9, 0, 0, 0);
    snapshot = trace_kbuf_snapshot_live("C");
    good = snapshot != NULL && snapshot->status == TRACE_KBUF_WHOLE && snapshot->record_count == 1 &&
           snapshot->records[0].identifier == 0x1234 && snapshot->records[0].values[1] == 9;
    if (!good) {
        fprintf(stderr, "%s\n", snapshot != NULL ? snapshot->problem : "no memory");
    }
    trace_kbuf_snapshot_free(snapshot);
    return trace_kbuf_free(&descriptor) == 0 && good ? 0 : 1;
}
