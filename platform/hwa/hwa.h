/* SPDX-License-Identifier: Apache-2.0 */
/**
 * The lower switch-access library ("libhwa.so", or the older "libqrthwa.gen1.so").
 *
 * Every entry point returns 0, or a non-zero code of the library's own. Register bytes travel
 * most significant byte first.
 */
#ifndef HWA_H
#define HWA_H

#include <ksl/ksl.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Reads `length` bytes (1 to 8) of one register into `buffer`. */
int32_t hwa_getreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, uint8_t *buffer);

/** Writes `length` bytes (1 to 8) of `buffer` into one register. */
int32_t hwa_setreg(uint8_t chip, uint8_t page, uint8_t offset, uint32_t length, const uint8_t *buffer);

/** Reads every request's register into its data field; one result for the batch. The older library lacks it. */
int32_t hwa_get_multireg(uint8_t chip, struct ksl_reg_request *requests, uint32_t count);

/** Fills `entries` with up to `*count` raw 8-byte address-table entries and sets `*count` to the number filled. */
int32_t hwa_getmacs(uint8_t chip, void *entries, uint32_t *count);

/** Sends a command message to the hub's controller; `*response_length` is the room for the answer, then its length. */
int32_t hwa_engpowercmd(const uint8_t *command, uint32_t length, uint8_t *response, uint32_t *response_length);

/** Applies one of the hub's switch configurations. */
int32_t hwa_setswitchconfig(uint8_t chip, uint32_t configuration);

/** Sets a MAC filter. */
int32_t hwa_setmacfilter(uint8_t chip, uint32_t filter);

/** Resets the switch chip. */
int32_t hwa_resetswitch(uint32_t chip);

#ifdef __cplusplus
}
#endif

#endif
