/* SPDX-License-Identifier: Apache-2.0 */
/* One record of five values by other recorders, each compiled in C with its own macros. */
#ifndef BENCH_PEERS_H
#define BENCH_PEERS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Whether a session records our events; without one they cost nothing and say nothing. */
int lttng_is_recording(void);
void lttng_five_values(uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3, uint32_t v4);

/* Returns 0 when the black box is ready. */
int blackbox_open(void);
void blackbox_five_values(uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3, uint32_t v4);
/* Bytes that it wrote to the file `path`, or -1. */
long blackbox_save(const char *path);
void blackbox_close(void);

#ifdef __cplusplus
}
#endif

#endif
