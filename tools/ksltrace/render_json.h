// SPDX-License-Identifier: Apache-2.0
// A trace for programs; docs/ksltrace.md has the keys.
#pragma once

#include "ksltrace/decoder.h"
#include "ksltrace/statistics.h"
#include "support/json.h"

namespace ksltrace {

// A list with one object for each record.
tools::Json render_json(const Trace &trace);

// An object for each buffer, then one for each wanted record, a line each.
std::string render_json_lines(const Buffers &buffers, const Trace &trace, const std::vector<bool> &wanted);

// The trace says which file each buffer is from.
std::string render_json(const Buffers &buffers, const Trace &trace, const std::vector<OperationStatistics> &statistics);

} // namespace ksltrace
