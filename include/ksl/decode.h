/* SPDX-License-Identifier: Apache-2.0 */
/**
 * Decoders of registers and table entries, for callers of the operations that deliver them as bytes.
 *
 * Each function takes bytes as an operation delivers them, the most significant first, on any host. It reads only the
 * bytes that it names, does not check for null, and cannot fail. Bits are numbered as in registers.h.
 *
 * C and C++. All functions are inline: they need no library.
 */
#ifndef KSL_DECODE_H
#define KSL_DECODE_H

#include <ksl/ksl.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Byte `index` of some bytes, counted from 0. */
static inline uint32_t ksl_byte(const void *bytes, uint32_t index) {
#ifdef __cplusplus
    return static_cast<const uint8_t *>(bytes)[index];
#else
    return ((const uint8_t *)bytes)[index];
#endif
}

/**
 * A bit of a register.
 * @param bytes the register's bytes.
 * @param length the register's length in bytes.
 * @param bit 0 to 8 * length - 1.
 * @return 0 or 1.
 */
static inline uint32_t ksl_register_bit(const void *bytes, uint32_t length, uint32_t bit) {
    return ksl_byte(bytes, length - 1 - bit / 8) >> bit % 8 & 1;
}

/** A register of 2 bytes as a number. */
static inline uint32_t ksl_value16(const void *bytes) {
    return ksl_byte(bytes, 0) << 8 | ksl_byte(bytes, 1);
}

/** A register of 4 bytes as a number. */
static inline uint32_t ksl_value32(const void *bytes) {
    return ksl_byte(bytes, 0) << 24 | ksl_byte(bytes, 1) << 16 | ksl_byte(bytes, 2) << 8 | ksl_byte(bytes, 3);
}

/* ---- Words with a bit for each port: link status, link change, port speed, port duplex ---- */

/**
 * The bit of a port.
 * @param word 4 bytes, as ksl_read_link_status_reg() delivers them.
 * @param port 0 to KSL_PORTS - 1.
 * @return 0 or 1.
 */
static inline uint32_t ksl_port_bit(const void *word, uint32_t port) {
    return ksl_register_bit(word, 4, port);
}

/* ---- Age timer ---- */

/**
 * The age time, in the chip's unit.
 * @param word 4 bytes, as ksl_read_age_timer_reg() delivers them.
 */
static inline uint32_t ksl_age_time(const void *word) {
    return ksl_value32(word) & 0xFFFFF;
}

/* ---- PVID registers; the extended VLAN control registers are the same ---- */

/**
 * The VLAN id of a PVID register, 0 to 4095.
 * @param pvid the register's 2 bytes, or a word that begins with them, as ksl_read_VLAN_PVID_regs() delivers it.
 */
static inline uint32_t ksl_pvid_vid(const void *pvid) {
    return ksl_value16(pvid) & 0xFFF;
}

/** The priority of a PVID register, 0 to 7. The argument is that of ksl_pvid_vid(). */
static inline uint32_t ksl_pvid_priority(const void *pvid) {
    return ksl_value16(pvid) >> 13;
}

/* ---- Entries of the VLAN table ---- */

/** The fields of an entry. */
struct ksl_vlan_entry {
    uint32_t valid;     /**< 0 or 1. */
    uint32_t field;     /**< 0 to 31; the library gives it no meaning. */
    uint32_t upper_map; /**< 27 bits. */
    uint32_t lower_map; /**< 27 bits. */
};

/**
 * The fields of an entry of the VLAN table.
 * @param bytes the 8 bytes of ksl_read_VLAN_map(). Bits 60 to 63 mean nothing.
 */
static inline struct ksl_vlan_entry ksl_decode_vlan_entry(const void *bytes) {
    const uint32_t high = ksl_value32(bytes);
    const uint32_t low =
        ksl_byte(bytes, 4) << 24 | ksl_byte(bytes, 5) << 16 | ksl_byte(bytes, 6) << 8 | ksl_byte(bytes, 7);
    struct ksl_vlan_entry entry;
    entry.valid = high >> 27 & 1;
    entry.field = high >> 22 & 0x1F;
    entry.upper_map = (high & 0x3FFFFF) << 5 | low >> 27;
    entry.lower_map = low & 0x7FFFFFF;
    return entry;
}

/* ---- Entries of the address table ---- */

/**
 * The fields of a raw entry, in the form of ksl_read_ARL_table(). The 2 unused bytes are zero.
 * @param bytes the 8 bytes of a ksl_raw_arl_entry, or those that __KSL_READ_ARL_TABLE() hands to its callback.
 */
static inline struct ksl_arl_entry ksl_decode_arl_entry(const void *bytes) {
    const uint32_t flags_and_port = ksl_byte(bytes, 1);
    struct ksl_arl_entry entry = {flags_and_port & 0x1F, flags_and_port >> 7, {0}, {0}};
    for (uint32_t i = 0; i < sizeof entry.mac; i++) {
        entry.mac[i] = ksl_byte(bytes, 2 + i) & 0xFF;
    }
    return entry;
}

/**
 * The VLAN id of a search result, 0 to 4095.
 * @param vlan_word a word of dbg_ksl_search_ARL_table(), or the register's 2 bytes.
 */
static inline uint32_t ksl_arl_vid(const void *vlan_word) {
    return ksl_value16(vlan_word) & 0xFFF;
}

#ifdef __cplusplus
}
#endif

#endif
