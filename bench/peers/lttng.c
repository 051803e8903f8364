// SPDX-License-Identifier: Apache-2.0
#define LTTNG_UST_TRACEPOINT_CREATE_PROBES
#define LTTNG_UST_TRACEPOINT_DEFINE
#include "lttng_tracepoints.h"
#include "peers.h"

int lttng_is_recording(void) {
    return lttng_ust_tracepoint_enabled(trace_bench, five_values) ? 1 : 0;
}

void lttng_five_values(uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3, uint32_t v4) {
    lttng_ust_tracepoint(trace_bench, five_values, 123, v0, v1, v2, v3, v4);
}
