/* SPDX-License-Identifier: Apache-2.0 */
/* A lower library whose chip is plain memory with a VLAN table, both open to the test. */
#include <hwa.h>
#include <string.h>

uint8_t chip_pages[256][256];
uint8_t chip_vlans[4096][8];

int32_t hwa_setreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, const uint8_t *buffer) {
    (void)chip;
    memcpy(&chip_pages[page][offset], buffer, length);
    return 0;
}

int32_t hwa_getreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer) {
    (void)chip;
    const uint8_t *const address = &chip_pages[0x08][0x32];
    const unsigned vid = (address[1] & 0x0FU) << 8 | address[2];
    memcpy(buffer, page == 0x08 && offset == 0x38 ? chip_vlans[vid] : &chip_pages[page][offset], length);
    return 0;
}
