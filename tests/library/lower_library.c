/* SPDX-License-Identifier: Apache-2.0 */
/* A lower library for the loader's tests: reads deliver 0x5A, the address table has two entries. */
#include <hwa.h>
#include <string.h>

static int entries_left;

int32_t hwa_setreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, const uint8_t *buffer) {
    (void)chip, (void)length, (void)buffer;
    if (page == 5 && offset == 0x24) {
        entries_left = 2;
    }
    return 0;
}

int32_t hwa_getreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
    (void)chip;
    memset(buffer, 0x5A, length);
    if (page == 5 && offset == 0x24) {
        if (length == 1) {
            buffer[0] = entries_left > 0 ? 0x80 : 0x00;
        } else {
            buffer[0] = (uint8_t)entries_left--;
        }
    }
    return 0;
}
