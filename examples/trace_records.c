/* SPDX-License-Identifier: Apache-2.0 */
/* A program that writes its own records into the library's trace, so that one listing shows what the program did and
 * what the switch did for it:
 *     cc trace_records.c -o trace_records $(pkg-config --cflags --libs ksl trace_kbuf)
 *     TRACE_KBUF_DIR=/tmp/trace ./trace_records
 *     ksltrace --catalogue trace_records.json show /tmp/trace/XKSL.kbuf
 * trace_records.json gives ksltrace the meaning of the numbers. Identifiers from 0x80000000 on belong to callers. */
#include <ksl/decode.h>
#include <stdio.h>
#include <trace_kbuf.h>

enum {
    SURVEY_ENTRY = 1,
    SURVEY_PORT_DOWN,
    SURVEY_FAILED,
    SURVEY_EXIT,
};
#define IDENTIFIER(point) (0x80010000u + (point))

/* The library fills in the descriptor when it opens its buffer, so it is read again for each record. */
static uint32_t *trace_buffer;

/* Writes up to three values and, as the library's own records do, the source line. */
#define TRACE(point, count, v0, v1, v2)                                                                                \
    trace_kbuf_write_ints5(*trace_buffer, (uint32_t)(count) << 16 | __LINE__, IDENTIFIER(point), (uint32_t)(v0),       \
                           (uint32_t)(v1), (uint32_t)(v2), 0, 0)

static int32_t survey(uint32_t chip) {
    uint8_t link[4];
    uint32_t down = 0;
    TRACE(SURVEY_ENTRY, 1, chip, 0, 0);
    int32_t result = ksl_read_link_status_reg(chip, link);
    if (result != 0) {
        TRACE(SURVEY_FAILED, 2, chip, result, 0);
    } else {
        for (uint32_t port = 0; port < KSL_PORTS; port++) {
            if (ksl_port_bit(link, port) == 0) {
                TRACE(SURVEY_PORT_DOWN, 1, port, 0, 0);
                down++;
            }
        }
    }
    TRACE(SURVEY_EXIT, 2, result, down, 0);
    return result;
}

int main(void) {
    ksl_get_trace_buffer(&trace_buffer);
    ksl_init();
    int32_t result = survey(0);
    ksl_terminate();
    if (result != 0) {
        fprintf(stderr, "chip 0 could not be surveyed: code %d\n", (int)result);
    }
    return result != 0;
}
