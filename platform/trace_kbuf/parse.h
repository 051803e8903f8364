// SPDX-License-Identifier: Apache-2.0
// The way from bytes to a snapshot.
#pragma once

#include "trace_kbuf_reader.h"

#include <span>
#include <string>

namespace trace_kbuf {

// A snapshot without records that says "`label`: `problem`".
trace_kbuf_snapshot *problem_snapshot(trace_kbuf_status status, const std::string &label, const std::string &problem);

trace_kbuf_snapshot *parse(std::span<const unsigned char> bytes, const std::string &label);

} // namespace trace_kbuf
