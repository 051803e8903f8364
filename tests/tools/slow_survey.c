/* SPDX-License-Identifier: Apache-2.0 */
/* An operation of the catalogue examples/trace_records.json that takes as long as the user likes: the first line of
 * the standard input begins it, the second ends it. */
#include <stdio.h>
#include <trace_kbuf.h>

int main(void) {
    char line[16];
    uint32_t buffer;
    if (trace_kbuf_init_buffer(&buffer, "XKSL", 32768) != 0 || fgets(line, sizeof line, stdin) == NULL) {
        return 1;
    }
    trace_kbuf_write_ints5(buffer, 1u << 16 | __LINE__, 0x80010001, 7, 0, 0, 0, 0);
    if (fgets(line, sizeof line, stdin) == NULL) {
        return 1;
    }
    trace_kbuf_write_ints5(buffer, 2u << 16 | __LINE__, 0x80010004, (uint32_t)-3, 2, 0, 0, 0);
    return 0;
}
