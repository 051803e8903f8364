// SPDX-License-Identifier: Apache-2.0
// A trace as text for people.
#pragma once

#include "ksltrace/decoder.h"

#include <string>

namespace ksltrace {

// One line for each record:
//   2024-05-06T07:08:09.123456Z > ksl_read_link_status_reg chip=0
//   2024-05-06T07:08:09.123461Z   - bytes 00 0f 81 03
//   2024-05-06T07:08:09.123463Z < ksl_read_link_status_reg out=0xbffff600 result=0 (7.0 us, run time 7 us)
// When several writers took part, each line names its writer. Missing records are a line in their place.
std::string render_text(const Trace &trace);

// The same time in UTC: ISO 8601 with microseconds.
std::string render_time(uint64_t time_ns);

} // namespace ksltrace
