/* SPDX-License-Identifier: Apache-2.0 */
/* What a compiler of C or of C++ makes of the public headers, for the tests of both. */
#ifndef FACE_H
#define FACE_H

#include <ksl/decode.h>
#include <ksl/ksl.h>
#include <ksl/registers.h>

struct named_register {
    const char *name;
    const char *text;
    const struct ksl_register *place;
};

struct counter {
    uint32_t offset;
    uint32_t length;
};

struct face {
    const struct named_register *registers;
    uint32_t register_count;
    uint32_t counter_page;
    const struct counter *counters;
    uint32_t counter_count;
    uint32_t (*byte)(const void *bytes, uint32_t index);
    uint32_t (*register_bit)(const void *bytes, uint32_t length, uint32_t bit);
    uint32_t (*value16)(const void *bytes);
    uint32_t (*value32)(const void *bytes);
    uint32_t (*port_bit)(const void *word, uint32_t port);
    uint32_t (*age_time)(const void *word);
    uint32_t (*pvid_vid)(const void *pvid);
    uint32_t (*pvid_priority)(const void *pvid);
    struct ksl_vlan_entry (*decode_vlan_entry)(const void *bytes);
    struct ksl_arl_entry (*decode_arl_entry)(const void *bytes);
    uint32_t (*arl_vid)(const void *vlan_word);
};

#ifdef __cplusplus
extern "C" {
#endif
extern const struct face face_c11;
extern const struct face face_cxx17;
#ifdef __cplusplus
}
#endif

#endif
