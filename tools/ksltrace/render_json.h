// SPDX-License-Identifier: Apache-2.0
// A trace for programs; docs/ksltrace.md has the keys.
#pragma once

#include "ksltrace/decoder.h"
#include "ksltrace/statistics.h"

#include <nlohmann/json.hpp>

namespace ksltrace {

// A list with one object for each record.
nlohmann::ordered_json render_json(const Trace &trace);

// The buffer's object, then such an object for each wanted record, a line each.
std::string render_json_lines(const trace_kbuf_snapshot &snapshot, const Trace &trace, const std::vector<bool> &wanted);

std::string render_json(const trace_kbuf_snapshot &snapshot, const std::vector<OperationStatistics> &statistics);

} // namespace ksltrace
