/* SPDX-License-Identifier: Apache-2.0 */
/* An expected configuration as a library, for ksl_validate_VLAN_PVID_set() and ksl_validate_VLAN_map():
 *     cc -shared -fPIC -o libexpectation.so expectation.c $(pkg-config --cflags ksl)
 */
#include <ksl/ksl.h>

#define SETTING(...)                                                                                                   \
    { __VA_ARGS__ }
#define PVID(port, vid, priority)                                                                                      \
    SETTING(.page = 0x34, .offset = 0x10 + 2 * (port), .value = {(priority) << 5 | (vid) >> 8, (vid)&0xFF})
#define SIX_PVIDS(port, vid, priority)                                                                                 \
    PVID(port, vid, priority), PVID(port + 1, vid, priority), PVID(port + 2, vid, priority),                           \
        PVID(port + 3, vid, priority), PVID(port + 4, vid, priority), PVID(port + 5, vid, priority)
/* A valid entry of the VLAN table; it belongs to the VLAN that is named after it. */
#define ENTRY(upper, lower)                                                                                            \
    SETTING(.page = 0x08, .offset = 0x38,                                                                              \
            .value = {0x08, (upper) >> 21 & 0xFF, (upper) >> 13 & 0xFF, (upper) >> 5 & 0xFF,                           \
                      ((upper)&0x1F) << 3 | (lower) >> 24, (lower) >> 16 & 0xFF, (lower) >> 8 & 0xFF, (lower)&0xFF})
#define OF_VLAN(vid) SETTING(.page = 0x08, .offset = 0x32, .value = {0x00, 0x20 | (vid) >> 8, (vid)&0xFF})

/* A port without a record would be expected to have PVID 0 and priority 0. For a VLAN that is not named the last
 * entry of the list counts, and one that is not valid equals none. */
static const struct ksl_cfg_record records[] = {
    SIX_PVIDS(0, 1, 0),
    SIX_PVIDS(6, 1, 0),
    SIX_PVIDS(12, 100, 5),
    SIX_PVIDS(18, 300, 7),
    ENTRY(0x003F000, 0x103F000),
    OF_VLAN(100),
    ENTRY(0x4FC0001, 0x0FC0000),
    OF_VLAN(300),
    {.page = 0x08, .offset = 0x38},
    {.end_flag = 1},
};

int32_t __ksl_get_cfg(const struct ksl_cfg_record **list) {
    *list = records;
    return 0;
}
