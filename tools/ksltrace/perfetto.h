// SPDX-License-Identifier: Apache-2.0
// A trace in the trace-event JSON format, for viewers that draw time lines.
#pragma once

#include "ksltrace/decoder.h"

#include <string>

namespace ksltrace {

// Operations are spans, the records inside them instants. Each file is a process, and each writer a thread. Times count
// from the first record, whose own time is in "otherData"; a viewer's numbers are too short for the microseconds since
// 1970.
std::string render_perfetto(const Buffers &buffers, const Trace &trace, const std::vector<bool> &wanted);

} // namespace ksltrace
