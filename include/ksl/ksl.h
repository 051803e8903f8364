/* SPDX-License-Identifier: Apache-2.0 */
/**
 * libksl: inspects and configures the 24-port Ethernet switch chip of an EPN hub board.
 *
 * Call ksl_init() once, then any operations, then ksl_terminate(). The library keeps its state in
 * a handful of process-wide variables and takes no locks: call it from one thread at a time.
 *
 * Common to all operations:
 *   chip      the switch chip; its low 8 bits reach the hardware.
 *   result    0 on success; -1 for a null output pointer or an argument that the operation
 *             refuses, and if the lower switch-access library lacks the entry point; any other
 *             value is that library's own code, passed on unchanged.
 *   outputs   belong to the caller. Register bytes arrive most significant byte first on every
 *             host. After a failure an output keeps what the caller had there, unless the operation
 *             says otherwise.
 *   trace     every operation records its arguments, register accesses and result in the trace
 *             buffer "XKSL", and its run time after ksl_enable_time().
 *   bits      are numbered within the register, bit 0 the least significant, not within the word
 *             or the bytes in which an operation delivers it.
 *
 * registers.h lists the registers; decode.h has functions that take delivered bytes apart.
 */
#ifndef KSL_KSL_H
#define KSL_KSL_H

#include <stddef.h>
#include <stdint.h>
#include <sys/time.h>

#ifdef __cplusplus
#define KSL_STATIC_ASSERT static_assert
extern "C" {
#else
#define KSL_STATIC_ASSERT _Static_assert
#endif

#pragma GCC visibility push(default)

/** Ports are numbered 0 to KSL_PORTS - 1. */
#define KSL_PORTS 24

/* ---- Shared records ---- */

/**
 * A register of up to 4 bytes in memory: its bytes come first, the most significant first on every
 * host, and the rest of the word is zero.
 */
typedef uint32_t ksl_word;

/** One request of a multi-register read. */
struct ksl_reg_request {
    uint8_t page;        /**< Register page. */
    uint8_t offset;      /**< Register offset within the page. */
    uint8_t reserved[2]; /**< Not read. */
    uint32_t length;     /**< Number of bytes to read, 1 to 8. */
    uint8_t data[8];     /**< Receives the bytes read, most significant first. */
};

KSL_STATIC_ASSERT(sizeof(struct ksl_reg_request) == 16, "requests follow one another every 16 bytes");
KSL_STATIC_ASSERT(offsetof(struct ksl_reg_request, page) == 0, "page is byte 0");
KSL_STATIC_ASSERT(offsetof(struct ksl_reg_request, offset) == 1, "offset is byte 1");
KSL_STATIC_ASSERT(offsetof(struct ksl_reg_request, length) == 4, "length is bytes 4 to 7");
KSL_STATIC_ASSERT(offsetof(struct ksl_reg_request, data) == 8, "data is bytes 8 to 15");

/** A setting of an expected configuration: a register and the bytes that it should hold. */
struct ksl_cfg_record {
    uint8_t reserved; /**< Not examined. */
    uint8_t page;     /**< Register page. */
    uint8_t offset;   /**< Register offset within the page. */
    uint8_t end_flag; /**< 1, with page and offset 0, in the record that ends a list and carries no setting. */
    uint8_t value[8]; /**< The register's bytes, most significant first; a shorter one uses the first of them. */
};

KSL_STATIC_ASSERT(sizeof(struct ksl_cfg_record) == 12, "records follow one another every 12 bytes");
KSL_STATIC_ASSERT(offsetof(struct ksl_cfg_record, page) == 1, "page is byte 1");
KSL_STATIC_ASSERT(offsetof(struct ksl_cfg_record, offset) == 2, "offset is byte 2");
KSL_STATIC_ASSERT(offsetof(struct ksl_cfg_record, end_flag) == 3, "end_flag is byte 3");
KSL_STATIC_ASSERT(offsetof(struct ksl_cfg_record, value) == 4, "value is bytes 4 to 11");

/* ---- Lifecycle and timing ---- */

/**
 * Opens the trace buffer, opens the lower switch-access library ("libhwa.so", else
 * "libqrthwa.gen1.so") and allocates a work area of 128 KiB. Failures are traced, never reported:
 * without a lower library the operations return -1. Calling it again keeps the opened library,
 * opens the trace buffer again and allocates another work area; the first one is lost.
 */
void ksl_init(void);

/** Releases the trace buffer, the lower library and the work area. Call it once after ksl_init(). */
void ksl_terminate(void);

/**
 * Stores the address of the trace buffer's descriptor in *out, so that the caller can write
 * its own records into the same trace. Valid also before ksl_init(). `out` must not be null.
 */
void ksl_get_trace_buffer(uint32_t **out);

/** Makes every operation trace its run time in microseconds. May be called at any time. */
void ksl_enable_time(void);

/** Ends the effect of ksl_enable_time(). May be called at any time. */
void ksl_disable_time(void);

/* ---- Status registers ---- */

/**
 * Reads the self-test status: page 1, offset 0x00, 6 bytes.
 * @param out receives 8 bytes: the 6 register bytes and two zero bytes.
 * @return 0; -1 if `out` is null; else the lower library's code, `out` unchanged.
 */
int32_t ksl_read_bist_status_reg(uint32_t chip, uint8_t *out);

/**
 * Reads both link status registers: page 1, offset 0x10, then offset 0x14, 4 bytes each.
 * @param out1 receives the 4 bytes of the first.
 * @param out2 receives the 4 bytes of the second; it is not checked and must not be null.
 * @return 0; -1 if `out1` is null; else the lower library's code. When the second read fails,
 *         `out1` already holds the first register.
 */
int32_t ksl_read_link_status_regs(uint32_t chip, uint8_t *out1, uint8_t *out2);

/**
 * Reads the link status register: page 1, offset 0x10, 4 bytes.
 * @param out receives 4 bytes; ksl_port_bit() gives the bit of a port.
 * @return 0; -1 if `out` is null; else the lower library's code, `out` unchanged.
 */
int32_t ksl_read_link_status_reg(uint32_t chip, uint8_t *out);

/**
 * Reads the switch mode register: page 0, offset 0x00, 1 byte.
 * @param out receives 4 bytes: the register byte and three zero bytes.
 * @return 0; -1 if `out` is null; else the lower library's code, `out` unchanged.
 */
int32_t ksl_read_switch_mode_reg(uint32_t chip, uint8_t *out);

/**
 * Reads the port speed status register: page 1, offset 0x18, 4 bytes.
 * @param out receives 4 bytes.
 * @return 0; -1 if `out` is null; else the lower library's code, `out` unchanged.
 */
int32_t ksl_read_port_speed_reg(uint32_t chip, uint8_t *out);

/**
 * Reads the port duplex status register: page 1, offset 0x1C, 4 bytes.
 * @param out receives 4 bytes.
 * @return 0; -1 if `out` is null; else the lower library's code, `out` unchanged.
 */
int32_t ksl_read_port_duplex_reg(uint32_t chip, uint8_t *out);

/* ---- Port speed ----
 *
 * Any port number is taken: it selects the page of 16-bit PHY registers 0x10 + port, of which the
 * low 8 bits reach the hardware.
 */

/**
 * Reads the speed indication of a port: its PHY page, offset 0x30, 2 bytes.
 * @param out receives bit 1 of the register, 0 or 1, as a native number; it is not checked and
 *        must not be null.
 * @return 0; else the lower library's code, `out` unchanged.
 */
int32_t ksl_get_port_speed(uint32_t chip, uint32_t port, uint32_t *out);

/**
 * Forces the speed of a port in its PHY control register: its PHY page, offset 0x00, 2 bytes, read
 * and written back with bit 13 (speed) and bit 12 (auto-negotiation) changed. 100 sets both bits,
 * 10 clears both.
 * @param speed 10 or 100, in Mb/s.
 * @return 0; -1 for any other speed, nothing written; else the lower library's code.
 */
int32_t ksl_set_port_speed(uint32_t chip, uint32_t port, uint32_t speed);

/* ---- Port control ---- */

/**
 * Switches a port on: writes 0x3000 to its PHY control register (page 0x10 + port, offset 0x00),
 * then 0x00 to its port control register (page 0, offset 0xD0 + port), which is read back for the
 * trace only.
 * @return 0; -1 if `port` is above 23; else the lower library's code of the access that failed,
 *         the later ones not made.
 */
int32_t ksl_activate_port(uint32_t chip, uint32_t port);

/** Switches a port off: as ksl_activate_port(), with 0x4000 and 0x03. */
int32_t ksl_deactivate_port(uint32_t chip, uint32_t port);

/**
 * Reads the port control register of a port: page 0, offset 0xD0 + port, 1 byte.
 * @param out receives a word: the register byte and three zero bytes. It is not checked and must
 *        not be null.
 * @return 0; -1 if `port` is above 23; else the lower library's code, `out` unchanged.
 */
int32_t ksl_read_port_cntrl_reg(uint32_t chip, uint32_t port, ksl_word *out);

/**
 * Starts a reset of a port's PHY: writes 0x8000 to its PHY control register (page 0x10 + port,
 * offset 0x00). Does not wait for its end.
 * @return 0; -1 if `port` is above 23; else the lower library's code.
 */
int32_t ksl_reset_PHY(uint32_t chip, uint32_t port);

/* ---- VLAN registers ---- */

/**
 * Reads the PVID registers of all ports: page 0x34, offset 0x10 + 2 * port, 2 bytes each.
 * @param out receives KSL_PORTS words, by port: the register's 2 bytes and two zero bytes. Bits 0
 *        to 11 of the register are the VLAN id, bits 13 to 15 the priority: see ksl_pvid_vid() and
 *        ksl_pvid_priority().
 * @return 0; -1 if `out` is null; else the lower library's code of the read that failed, the words
 *         of the ports before it filled and the rest unchanged.
 */
int32_t ksl_read_VLAN_PVID_regs(uint32_t chip, ksl_word *out);

/**
 * Writes the PVID register of a port: page 0x34, offset 0x10 + 2 * port, 2 bytes. The register is
 * written whole, its bit 12 as 0.
 * @param vid the VLAN id; its low 12 bits are taken.
 * @param priority its low 3 bits are taken.
 * @return 0; -1 if `port` is above 23; else the lower library's code.
 */
int32_t ksl_set_PVID(uint32_t chip, uint32_t vid, uint32_t priority, uint32_t port);

/**
 * Reads the VLAN enable register: page 0x34, offset 0x00, 1 byte. VLAN support is on when bit 7 of
 * the register is set.
 * @param out receives a word: the register byte and three zero bytes.
 * @return 0; -1 if `out` is null; else the lower library's code, `out` unchanged.
 */
int32_t ksl_read_VLAN_enable(uint32_t chip, ksl_word *out);

/**
 * Says whether VLAN support is on.
 * @param verdict becomes 1 if it is, and 0 if it is not or could not be read. It is not checked and
 *        must not be null; the operation also reads it, for the trace.
 * @return the result of ksl_read_VLAN_enable().
 */
int32_t ksl_validate_VLAN_enable(uint32_t chip, uint32_t *verdict);

/**
 * Reads the VLAN table entry of a VLAN: writes 3 bytes of address (page 0x08, offset 0x32) and of
 * command (offset 0x30), then reads the 8 bytes of the entry (offset 0x38).
 * @param vid the VLAN, 1 to 4094.
 * @param out receives 8 bytes: bit 59 valid, bits 54 to 58 a field to which the library gives no
 *        meaning, bits 27 to 53 the upper and bits 0 to 26 the lower port map. See
 *        ksl_decode_vlan_entry().
 * @return 0; -1 if `vid` is out of range or `out` is null; else the lower library's code of the
 *         access that failed, the later ones not made and `out` unchanged.
 */
int32_t ksl_read_VLAN_map(uint32_t chip, uint32_t vid, uint8_t *out);

/**
 * Reads an extended VLAN control register: page 0x34, the low 8 bits of offset 0x10 + 2 * index, 2
 * bytes. Those of the indexes 0 to 23 are the PVID registers.
 * @param index any number.
 * @param out receives a word: the register's 2 bytes and two zero bytes. It is not checked and
 *        must not be null.
 * @return 0; else the lower library's code, `out` unchanged.
 */
int32_t ksl_read_extended_VLAN_cntrl_regs(uint32_t chip, uint32_t index, ksl_word *out);

/* ---- Validation against a configuration library ----
 *
 * Each operation opens the configuration library at the given path and asks it for its records
 * through __ksl_get_cfg(). Look at both result and verdict: result 0 with verdict 0 is a mismatch, or
 * a configuration library that could not be opened or lacks the entry point. The operation closes
 * the library after a comparison. A library that was opened but not compared with stays loaded.
 */

/**
 * Compares VLAN id and priority of every port's PVID register with the records of page 0x34,
 * offset 0x10 + 2 * port (or one more). The last record of a port counts; a port without one is
 * expected to have VLAN id 0 and priority 0. Records of any other offset are ignored.
 * @param path the configuration library.
 * @param verdict becomes 1 if all ports match, else 0. It is not checked and must not be null.
 * @return 0; -1 if `path` is null; else the result of ksl_read_VLAN_PVID_regs().
 */
int32_t ksl_validate_VLAN_PVID_set(uint32_t chip, const char *path, uint32_t *verdict);

/**
 * Compares the VLAN table entry of a VLAN with the last record of page 0x08, offset 0x38 before
 * the first record of page 0x08, offset 0x32 that holds the VLAN's number in the low 12 bits of
 * its 3 bytes; without such a record, with the last one of the list. They match if both are valid
 * and both their port maps are equal.
 * @param path the configuration library.
 * @param verdict becomes 1 if they match, else 0. It is not checked and must not be null.
 * @return 0; -1 if `path` is null; else the result of ksl_read_VLAN_map().
 */
int32_t ksl_validate_VLAN_map(uint32_t chip, uint32_t vid, const char *path, uint32_t *verdict);

/**
 * Defined by configuration libraries, not by this one: stores the address of its first record in
 * *records. The records remain the configuration library's. They are only read, and only until the
 * operation that asked for them returns. The result is not examined. If no list is stored, nothing
 * is compared and the operation returns that result.
 */
int32_t __ksl_get_cfg(const struct ksl_cfg_record **records);

/* ---- MIB counters ---- */

/**
 * The counters of a port, named after their register offsets: raw register bytes, most significant
 * first. An array of KSL_PORTS such blocks, by port, is what the reads fill.
 */
struct ksl_mib_port_block {
    ksl_word counter_7c[2];
    ksl_word counter_00[2];
    ksl_word counter_18;
    ksl_word counter_88;
    ksl_word counter_08;
    ksl_word counter_84; /**< Has its place, but is not read: keeps what the caller had there. */
    ksl_word counter_10; /**< As counter_84. */
    ksl_word counter_1c;
    ksl_word counter_30;
    ksl_word counter_38;
    ksl_word counter_50;
    ksl_word counter_70;
    ksl_word counter_74;
    ksl_word counter_78;
    ksl_word counter_90;
    ksl_word counter_98;
    ksl_word counter_54;
    ksl_word counter_58;
    ksl_word counter_5c;
    ksl_word counter_60;
    ksl_word counter_64;
    ksl_word counter_68;
};

KSL_STATIC_ASSERT(sizeof(struct ksl_mib_port_block) == 96, "blocks follow one another every 96 bytes");
KSL_STATIC_ASSERT(offsetof(struct ksl_mib_port_block, counter_7c) == 0, "counter_7c is bytes 0 to 7");
KSL_STATIC_ASSERT(offsetof(struct ksl_mib_port_block, counter_00) == 8, "counter_00 is bytes 8 to 15");
KSL_STATIC_ASSERT(offsetof(struct ksl_mib_port_block, counter_18) == 16, "the 4-byte counters begin at byte 16");
KSL_STATIC_ASSERT(offsetof(struct ksl_mib_port_block, counter_68) == 92, "counter_68 is bytes 92 to 95");

/**
 * Reads the counters of one port, all in one request: page 0x50 + port.
 * @param blocks the blocks of all ports; that of `port` receives its counters, all but counter_84
 *        and counter_10. The other blocks are not touched.
 * @return 0; -1 if `blocks` is null or `port` is above 23; else the lower library's code, `blocks`
 *         unchanged.
 */
int32_t ksl_read_MIB_counters_at_port(uint32_t chip, uint32_t port, struct ksl_mib_port_block *blocks);

/**
 * Reads the counters of all ports, one after the other; a port that fails does not end it.
 * @param blocks the blocks of all ports. That of a port that fails is unchanged.
 * @return the result of port 23 alone; failures of other ports are only traced. -1 if `blocks` is
 *         null.
 */
int32_t ksl_read_MIB_counters(uint32_t chip, struct ksl_mib_port_block *blocks);

/* ---- Age timer and control registers ---- */

/**
 * Reads the age timer of the address table: page 2, offset 0x06, 4 bytes.
 * @param value receives the register word; bits 0 to 19 are the age time in the chip's unit. See
 *        ksl_age_time().
 * @return 0; -1 if `value` is null; else the lower library's code, `value` unchanged.
 */
int32_t ksl_read_age_timer_reg(uint32_t chip, ksl_word *value);

/**
 * Writes the age timer: page 2, offset 0x06, 4 bytes, the upper 12 bits of the register as 0.
 * @param value the age time as a native number; its low 20 bits are taken.
 * @return 0; else the lower library's code.
 */
int32_t ksl_set_age_timer_reg(uint32_t chip, uint32_t value);

/** The chip's main control and status registers, each as its own read delivers it. */
struct ksl_cntrl_regs {
    uint8_t switch_mode[4];  /**< ksl_read_switch_mode_reg() */
    uint8_t bist_status[8];  /**< ksl_read_bist_status_reg() */
    uint8_t link_status1[4]; /**< ksl_read_link_status_regs(), first output */
    uint8_t link_status2[4]; /**< ksl_read_link_status_regs(), second output */
    uint8_t port_speed[4];   /**< ksl_read_port_speed_reg() */
    uint8_t port_duplex[4];  /**< ksl_read_port_duplex_reg() */
    ksl_word age_timer;      /**< ksl_read_age_timer_reg() */
};

KSL_STATIC_ASSERT(sizeof(struct ksl_cntrl_regs) == 32, "the record has 32 bytes");
KSL_STATIC_ASSERT(offsetof(struct ksl_cntrl_regs, switch_mode) == 0, "switch_mode is bytes 0 to 3");
KSL_STATIC_ASSERT(offsetof(struct ksl_cntrl_regs, bist_status) == 4, "bist_status is bytes 4 to 11");
KSL_STATIC_ASSERT(offsetof(struct ksl_cntrl_regs, link_status1) == 12, "link_status1 is bytes 12 to 15");
KSL_STATIC_ASSERT(offsetof(struct ksl_cntrl_regs, link_status2) == 16, "link_status2 is bytes 16 to 19");
KSL_STATIC_ASSERT(offsetof(struct ksl_cntrl_regs, port_speed) == 20, "port_speed is bytes 20 to 23");
KSL_STATIC_ASSERT(offsetof(struct ksl_cntrl_regs, port_duplex) == 24, "port_duplex is bytes 24 to 27");
KSL_STATIC_ASSERT(offsetof(struct ksl_cntrl_regs, age_timer) == 28, "age_timer is bytes 28 to 31");

/**
 * Reads the registers of ksl_cntrl_regs in the order of its fields, up to the first that fails.
 * @param regs receives the registers read; the fields from the one that failed on are unchanged, but
 *        link_status1 is filled when only link_status2 failed.
 * @return 0; -1 if `regs` is null; else the result of the read that failed.
 */
int32_t ksl_read_cntrl_regs(uint32_t chip, struct ksl_cntrl_regs *regs);

/* ---- Trunk groups ---- */

/** The trunk registers. Bit n of a group is the membership of port n, bit 27 the group's flag. */
struct ksl_trunk_group_regs {
    ksl_word control;      /**< Page 0x32, offset 0x00, 1 byte; bit 1: trunks enabled. */
    ksl_word group0;       /**< Page 0x32, offset 0x10, 4 bytes. */
    ksl_word group0_again; /**< The same register, read once more. */
};

KSL_STATIC_ASSERT(sizeof(struct ksl_trunk_group_regs) == 12, "the record has three words");
KSL_STATIC_ASSERT(offsetof(struct ksl_trunk_group_regs, control) == 0, "control is word 0");
KSL_STATIC_ASSERT(offsetof(struct ksl_trunk_group_regs, group0) == 4, "group0 is word 1");
KSL_STATIC_ASSERT(offsetof(struct ksl_trunk_group_regs, group0_again) == 8, "group0_again is word 2");

/**
 * Reads the trunk registers in the order of the record, up to the first that fails.
 * @param regs receives the words read; those from the failed one on are unchanged.
 * @return 0; -1 if `regs` is null; else the lower library's code of the read that failed.
 */
int32_t ksl_read_trunk_group_regs(uint32_t chip, struct ksl_trunk_group_regs *regs);

/**
 * Says whether two ports are both members of an enabled trunk group. Group 1 is accepted, but its
 * members are never confirmed.
 * @param verdict becomes 1 if the enabling bit, the group's flag and the bits of both ports are all
 *        set, else 0, also when the registers could not be read.
 * @return 0; -1 if `verdict` is null, a port is above 23 or `group` is above 1, `verdict` unchanged;
 *         else the result of ksl_read_trunk_group_regs().
 */
int32_t ksl_validate_trunk_group(uint32_t chip, uint32_t group, uint32_t port_a, uint32_t port_b, uint32_t *verdict);

/* ---- Port mirroring ---- */

/**
 * Mirrors the frames that a range of ports sends to a capture port. Writes the mirror control register (page
 * 2, offset 0x10: bit 31 and the capture port's bit), the ingress mirror mask (offset 0x14: always
 * 0) and the egress mirror mask (offset 0x20: the bits of the range, none if `first_port` is above
 * `last_port`), 4 bytes each.
 * @return 0; -1 if a port is above 23, nothing written; else the lower library's code of the write
 *         that failed, the later ones not made and the earlier ones not undone.
 */
int32_t ksl_set_mirror_port(uint32_t chip, uint32_t capture_port, uint32_t first_port, uint32_t last_port);

/**
 * Switches mirroring off: writes 0 to the mirror control register. The masks stay as they are.
 * @param port any port; it has no effect.
 * @return 0; -1 if `port` is above 23; else the lower library's code.
 */
int32_t ksl_unset_mirror_port(uint32_t chip, uint32_t port);

/* ---- Address table ---- */

/**
 * A raw address-table entry, most significant byte first. Bits 0 to 47 are the MAC address, bits 48
 * to 52 the port; the library gives the others no meaning. See ksl_decode_arl_entry().
 */
struct ksl_raw_arl_entry {
    uint8_t bytes[8];
};

KSL_STATIC_ASSERT(sizeof(struct ksl_raw_arl_entry) == 8, "entries follow one another every 8 bytes");

/** An entry of ksl_read_ARL_table(). */
struct ksl_arl_entry {
    uint32_t port;     /**< 0 to 31. */
    uint32_t flag55;   /**< Bit 55 of the raw entry: 0 or 1. */
    uint8_t mac[6];    /**< In transmission order. */
    uint8_t unused[2]; /**< Not written. */
};

KSL_STATIC_ASSERT(sizeof(struct ksl_arl_entry) == 16, "entries follow one another every 16 bytes");
KSL_STATIC_ASSERT(offsetof(struct ksl_arl_entry, port) == 0, "port is bytes 0 to 3");
KSL_STATIC_ASSERT(offsetof(struct ksl_arl_entry, flag55) == 4, "flag55 is bytes 4 to 7");
KSL_STATIC_ASSERT(offsetof(struct ksl_arl_entry, mac) == 8, "mac is bytes 8 to 13");

/**
 * Fetches the whole address table in one request. Needs 64 KiB of stack for it, and less than 1 KiB more.
 * @param all_ports 0: the output ends before the first entry of port 0 or 1, even if others follow.
 *        Any other value: every entry.
 * @param entries receives the entries in the table's order.
 * @param count holds the room in `entries`, and becomes the number of entries written. Neither
 *        pointer is checked; `count` must not be null.
 * @return 0; -1 if the table has more entries than there is room for; else the lower library's
 *         code. `entries` and `count` are unchanged unless it is 0.
 */
int32_t ksl_read_ARL_table(uint32_t chip, uint32_t all_ports, struct ksl_arl_entry *entries, uint32_t *count);

/**
 * Walks the address table entry by entry through the access register at page 5, offset 0x24 and
 * hands each raw entry to `callback`: 8 bytes, most significant first, valid during the call.
 * Reports no failure and writes no trace; it ends when the access register shows anything but
 * 0x80. `callback` must not be null.
 */
void __KSL_READ_ARL_TABLE(uint32_t chip, void (*callback)(const uint8_t *entry));

/**
 * Lets the chip's search engine deliver every entry (page 5: control at offset 0x20, 8 bytes;
 * VLAN id at 0x2C, 2 bytes; entry at 0x24, 8 bytes), until it reports its end or an access fails.
 * There is no other limit: the arrays must have room for all.
 * @param vlan_words receives a word for each result: bits 0 to 11 of its first 2 bytes become the
 *        VLAN id, for ksl_arl_vid(); the other bits keep what the caller had there.
 * @param entries receives the entry of each result; bit 56 keeps what the caller had there.
 * @param count becomes the number of results. No pointer is checked and none may be null.
 * @return 0; else the lower library's code. The results delivered before a failure stay, and after
 *         them the VLAN id of a result whose entry could not be read.
 */
int32_t dbg_ksl_search_ARL_table(uint32_t chip, ksl_word *vlan_words, struct ksl_raw_arl_entry *entries,
                                 uint32_t *count);

/* ---- MAC filter and learning limits ----
 *
 * Outputs are not checked and must not be null; the reads trace what they hold on entry.
 */

/**
 * Reads how many source addresses a port has learned: page 0x41, offset 0x30 + 2 * port, 2 bytes.
 * @param count receives the register's low 13 bits as a native number; 1234 unless the result is 0.
 * @return 0; -1 if `port` is above 23; else the lower library's code.
 */
int32_t ksl_get_SA_count_at_port(uint32_t chip, uint32_t port, uint32_t *count);

/**
 * Reads how many source addresses a port may learn: page 0x41, offset 0x70 + 2 * port, 2 bytes.
 * @param limit receives the register's low 13 bits as a native number; 1234 unless the result is 0.
 * @return 0; -1 if `port` is above 23; else the lower library's code.
 */
int32_t ksl_get_learning_threshold_at_port(uint32_t chip, uint32_t port, uint32_t *limit);

/**
 * Writes how many source addresses a port may learn: page 0x41, offset 0x70 + 2 * port, 2 bytes.
 * @param limit 0 to 8192; 8192 does not fit the register's 13 bits and is written as 0.
 * @return 0; -1 if `port` is above 23 or `limit` is above 8192; else the lower library's code.
 */
int32_t ksl_set_learning_threshold_at_port(uint32_t chip, uint32_t port, uint32_t limit);

/**
 * Only traces its arguments: no filter reaches the chip.
 * @return 0.
 */
int32_t ksl_set_MAC_filter(uint32_t chip, uint32_t filter);

/* ---- Hub firmware version ---- */

/**
 * Asks the hub's controller for its firmware version.
 * @param version receives the first 9 bytes of the answer, however long the answer is.
 * @param length becomes 9, as a native number. Neither pointer is checked nor may be null.
 * @return 0; else the lower library's code, `version` and `length` unchanged.
 */
int32_t ksl_read_EPN_firmware_version(uint32_t chip, uint8_t *version, uint32_t *length);

/* ---- Switch reset and hub configuration ---- */

/**
 * Resets a switch chip. The chip number reaches the lower library whole.
 * @return 0; else the lower library's code.
 */
int32_t ksl_reset_switch(uint32_t chip);

/**
 * Selects a switch configuration of the hub.
 * @param configuration 0, 1 or 2; the hub gives them their meaning.
 * @return 0; -1 for any other configuration; else the lower library's code.
 */
int32_t dbg_ksl_set_EPN_configuration(uint32_t chip, uint32_t configuration);

/* ---- Debug register access ----
 *
 * The low 8 bits of page and offset count. Length and buffer are not checked: the lower library
 * gets them as they are.
 */

/**
 * Reads any register.
 * @param buffer receives `length` bytes; after a failure whatever the lower library left there.
 * @return 0; else the lower library's code.
 */
int32_t dbg_ksl_get_reg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *buffer);

/**
 * Writes any register.
 * @param buffer `length` bytes; they are traced before they are written.
 * @return 0; else the lower library's code.
 */
int32_t dbg_ksl_set_reg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, const uint8_t *buffer);

/**
 * Reads eleven registers in one request and dumps them into the trace, and nowhere else: switch
 * mode, self-test status, age timer, VLAN table address, trunk control (twice), VLAN enable, and VLAN
 * control 1, 2, 7 and 8.
 * @return 0; else the lower library's code, nothing dumped.
 */
int32_t dbg_ksl_dump_reg(uint32_t chip);

/* ---- Access to the lower library ----
 *
 * Each looks its entry point up by name on every call and returns its result, or -1 (and a trace
 * record) when the lower library lacks it. It passes on the low 8 bits of chip, page and offset, and
 * every other argument unchanged, unless it says otherwise.
 */

/** Reads `length` bytes of a register into `buffer` through "hwa_getreg". */
int32_t __hwa_getreg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *buffer);

/**
 * Reads `count` registers through "hwa_get_multireg", or one by one if the lower library lacks it.
 * One by one, each request's data field receives `length` bytes whether its read succeeded or not;
 * the result is that of the last read, and 0 if `count` is 0.
 */
int32_t __hwa_get_multireg(uint32_t chip, struct ksl_reg_request *requests, uint32_t count);

/** Writes `length` bytes of `buffer` into a register through "hwa_setreg". */
int32_t __hwa_setreg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, const uint8_t *buffer);

/** Fetches up to `*count` raw 8-byte address-table entries through "hwa_getmacs"; `*count` becomes their number. */
int32_t __hwa_getmacs(uint32_t chip, void *entries, uint32_t *count);

/** Sends a command to the hub's controller through "hwa_engpowercmd". */
int32_t __hwa_engpowercmd(const uint8_t *command, uint32_t length, uint8_t *response, uint32_t *response_length);

/** Selects a switch configuration of the hub through "hwa_setswitchconfig". */
int32_t __hwa_setswitchconfig(uint32_t chip, uint32_t configuration);

/** Sets a MAC filter through "hwa_setmacfilter". */
int32_t __hwa_setmacfilter(uint32_t chip, uint32_t filter);

/** Resets a switch chip through "hwa_resetswitch"; the chip number is passed whole. */
int32_t __hwa_reset_switch_chip(uint32_t chip);

/* ---- Helpers of the operations ---- */

/**
 * Traces `length` bytes (1 to 8) as one record; any other length leaves a record without bytes.
 * @return the trace library's result.
 */
int32_t __print_status_array(const uint8_t *bytes, uint32_t length);

/**
 * Traces the microseconds from `start` to `end`, right for any run shorter than 2^32 of them.
 * @return the trace library's result.
 */
int32_t __print_time_diff(const struct timeval *end, const struct timeval *start);

/**
 * Copies `count` bytes from `source` to `destination`; note the order of the two.
 * @return `destination`.
 */
void *__hwa_copy_status_bytes(const void *source, void *destination, uint32_t count);

/* ---- State, visible to debuggers and tests; not part of the interface ---- */

struct timezone;

extern void *ksl_hwa_handle;          /**< The opened lower library, or null. */
extern void *ksl_cfg_handle;          /**< The configuration library that a validation left open, or null. */
extern uint32_t ksl_trace_buffer;     /**< The trace buffer's descriptor. */
extern void *ksl_scratch_buffer;      /**< 128 KiB reserved as a work area; used by no operation. */
extern uint32_t ksl_time_enabled;     /**< Non-zero: run times are traced. */
extern struct timeval ksl_start_time; /**< When the last operation began. */
extern struct timeval ksl_end_time;   /**< When the last operation that came to its end did so. */
extern struct timezone ksl_time_zone; /**< Filled along with the stamps, never read. */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
