/* SPDX-License-Identifier: Apache-2.0 */
/* Chip 0 of the built-in scenario, with one difference in each of the VLANs 100 and 200. */
#include <ksl/ksl.h>

#define PVID(port, priority, vid)                                                                                      \
    {                                                                                                                  \
        .page = 0x34, .offset = 0x10 + 2 * (port), .value = {(priority) << 5 | (vid) >> 8, (vid)&0xFF }                \
    }
#define ENTRY(...)                                                                                                     \
    {                                                                                                                  \
        .page = 0x08, .offset = 0x38, .value = { __VA_ARGS__ }                                                         \
    }
#define OF_VLAN(vid)                                                                                                   \
    {                                                                                                                  \
        .page = 0x08, .offset = 0x32, .value = { 0x00, 0x20 | (vid) >> 8, (vid)&0xFF }                                 \
    }

static const struct ksl_cfg_record settings[] = {
    PVID(3, 7, 4095), /* replaced below */
    PVID(0, 0, 1),
    PVID(1, 0, 1),
    PVID(2, 1, 100),
    PVID(3, 1, 100),
    PVID(4, 1, 100),
    PVID(5, 1, 100),
    PVID(6, 1, 100),
    PVID(7, 1, 100),
    PVID(8, 0, 200),
    PVID(9, 0, 200),
    PVID(10, 0, 200),
    PVID(11, 0, 200),
    PVID(12, 0, 200),
    PVID(13, 0, 200),
    PVID(14, 0, 200),
    PVID(15, 0, 200),
    PVID(16, 0, 1),
    PVID(17, 0, 1),
    PVID(18, 0, 1),
    PVID(19, 0, 1),
    PVID(20, 0, 1),
    PVID(21, 0, 1),
    PVID(22, 7, 1),
    PVID(23, 7, 1),
    /* Ports 2 to 7; 2 to 6, 22 and 23. */
    ENTRY(0x08, 0x00, 0x00, 0x07, 0xE0, 0xC0, 0x00, 0x7C),
    OF_VLAN(100),
    /* Ports 8 to 15; the same with 22 and 23; not valid. */
    ENTRY(0x00, 0x00, 0x07, 0xF8, 0x00, 0xC0, 0xFF, 0x00),
    OF_VLAN(200),
    /* Ports 0, 1 and 16 to 23, both; for every VLAN that is not named above. */
    ENTRY(0x08, 0x07, 0xF8, 0x00, 0x18, 0xFF, 0x00, 0x03),
    {.end_flag = 1},
};

int32_t __ksl_get_cfg(const struct ksl_cfg_record **records) {
    *records = settings;
    return 0;
}
