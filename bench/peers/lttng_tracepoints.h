/* SPDX-License-Identifier: Apache-2.0 */
/* The same record as an event of LTTng-UST: five values and the source line. */
#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER trace_bench
#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "lttng_tracepoints.h"

/* Included again and again by the macros themselves. */
#if !defined(LTTNG_TRACEPOINTS_H) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define LTTNG_TRACEPOINTS_H

#include <lttng/tracepoint.h>
#include <stdint.h>

/* clang-format off */
LTTNG_UST_TRACEPOINT_EVENT(trace_bench, five_values,
    LTTNG_UST_TP_ARGS(uint32_t, line, uint32_t, v0, uint32_t, v1, uint32_t, v2, uint32_t, v3, uint32_t, v4),
    LTTNG_UST_TP_FIELDS(
        lttng_ust_field_integer(uint32_t, line, line)
        lttng_ust_field_integer(uint32_t, v0, v0)
        lttng_ust_field_integer(uint32_t, v1, v1)
        lttng_ust_field_integer(uint32_t, v2, v2)
        lttng_ust_field_integer(uint32_t, v3, v3)
        lttng_ust_field_integer(uint32_t, v4, v4)
    )
)
/* clang-format on */

#endif

#include <lttng/tracepoint-event.h>
