// SPDX-License-Identifier: Apache-2.0
// The cheapest switch there can be: every read delivers the same bytes, every other entry point does nothing.
#include <hwa.h>
#include <ksl/ksl.h>

#include <cstring>

#pragma GCC visibility push(default)

int32_t hwa_getreg(uint8_t, uint8_t, uint8_t, uint32_t length, uint8_t *buffer) {
    for (uint32_t i = 0; i < length; ++i) {
        buffer[i] = 0x5A;
    }
    return 0;
}

int32_t hwa_get_multireg(uint8_t, ksl_reg_request *requests, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        memset(requests[i].data, 0x5A, sizeof requests[i].data);
    }
    return 0;
}

// As many addresses as there is room for.
int32_t hwa_getmacs(uint8_t, void *entries, uint32_t *count) {
    memset(entries, 0x5A, *count * sizeof(ksl_raw_arl_entry));
    return 0;
}

int32_t hwa_setreg(uint8_t, uint8_t, uint8_t, uint32_t, const uint8_t *) {
    return 0;
}
