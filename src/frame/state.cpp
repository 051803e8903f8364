// SPDX-License-Identifier: Apache-2.0
// The state of the frame: process-wide, zero at load, unguarded.
#include <ksl/ksl.h>

extern "C" {
void *ksl_hwa_handle;
uint32_t ksl_trace_buffer;
void *ksl_scratch_buffer;
uint32_t ksl_time_enabled;
struct timeval ksl_start_time;
struct timeval ksl_end_time;
struct timezone ksl_time_zone;
}
