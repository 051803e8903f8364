/* SPDX-License-Identifier: Apache-2.0 */
/* An operation of the catalogue examples/trace_records.json that takes as long as the user likes: a line of the
 * standard input begins it, the next one ends it, and so on. */
#include <stdio.h>
#include <trace_kbuf.h>

int main(void) {
    char line[16];
    uint32_t buffer;
    if (trace_kbuf_init_buffer(&buffer, "XKSL", 32768) != 0) {
        return 1;
    }
    while (fgets(line, sizeof line, stdin) != NULL) {
        trace_kbuf_write_ints5(buffer, 1u << 16 | __LINE__, 0x80010001, 7, 0, 0, 0, 0);
        if (fgets(line, sizeof line, stdin) == NULL) {
            return 1;
        }
        trace_kbuf_write_ints5(buffer, 2u << 16 | __LINE__, 0x80010004, (uint32_t)-3, 2, 0, 0, 0);
    }
    return 0;
}
