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
 *             refuses, and where the lower switch-access library lacks the entry point; any other
 *             value is that library's own code, passed on unchanged.
 *   outputs   belong to the caller. Register bytes arrive most significant byte first on every
 *             host. After a failure an output keeps what the caller had there unless said otherwise.
 *   trace     every operation records its arguments, register accesses and result in the trace
 *             buffer "XKSL", and its run time where ksl_enable_time() is in force.
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

/* ---- Lifecycle and timing ---- */

/**
 * Opens the trace buffer, opens the lower switch-access library ("libhwa.so", else
 * "libqrthwa.gen1.so") and allocates a work area of 128 KiB. Failures are traced, never reported:
 * without a lower library the operations return -1. Calling it again keeps the opened library,
 * opens the trace buffer anew and allocates another work area (the first one is lost).
 */
void ksl_init(void);

/** Releases the trace buffer, the lower library and the work area. Call it once after ksl_init(). */
void ksl_terminate(void);

/**
 * Stores the address of the trace buffer's descriptor in *out, so that the caller can write
 * records of its own into the same trace. Valid before ksl_init() too. `out` must not be null.
 */
void ksl_get_trace_buffer(uint32_t **out);

/** From now on every operation traces its run time in microseconds. May be called at any moment. */
void ksl_enable_time(void);

/** Stops what ksl_enable_time() began. May be called at any moment. */
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
 * @param out receives 4 bytes.
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

/* ---- Address table ---- */

/**
 * Walks the address table entry by entry through the access register at page 5, offset 0x24 and
 * hands each raw entry to `callback`: 8 bytes, most significant first, valid during the call.
 * Reports no failure and writes no trace; it ends when the access register shows anything but
 * 0x80. `callback` must not be null.
 */
void __KSL_READ_ARL_TABLE(uint32_t chip, void (*callback)(const uint8_t *entry));

/* ---- Access to the lower library ----
 *
 * Each looks its entry point up by name on every call and returns its result, or -1 (and a trace
 * record) when the lower library lacks it. Where nothing else is said, the low 8 bits of chip,
 * page and offset are passed on and every other argument as it is.
 */

/** Reads `length` bytes of a register into `buffer` through "hwa_getreg". */
int32_t __hwa_getreg(uint32_t chip, uint32_t page, uint32_t offset, uint32_t length, uint8_t *buffer);

/**
 * Reads `count` registers through "hwa_get_multireg"; a library without it is asked for one
 * register after the other. Then each request's data field receives `length` bytes whether its
 * read succeeded or not, the result is that of the last read, and 0 when `count` is 0.
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
 * Copies `count` bytes from `source` to `destination`; mind the order of the two.
 * @return `destination`.
 */
void *__hwa_copy_status_bytes(const void *source, void *destination, uint32_t count);

/* ---- State, visible to debuggers and tests; not part of the interface ---- */

struct timezone;

extern void *ksl_hwa_handle;         /**< The opened lower library, or null. */
extern uint32_t ksl_trace_buffer;    /**< The trace buffer's descriptor. */
extern void *ksl_scratch_buffer;     /**< 128 KiB reserved as a work area; used by no operation. */
extern uint32_t ksl_time_enabled;    /**< Non-zero: run times are traced. */
extern struct timeval ksl_start_time; /**< When the last operation began. */
extern struct timeval ksl_end_time;   /**< When the last operation that came to its end did so. */
extern struct timezone ksl_time_zone; /**< Filled along with the stamps, never read. */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
