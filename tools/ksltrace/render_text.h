// SPDX-License-Identifier: Apache-2.0
// A trace as text for people.
#pragma once

#include "ksltrace/decoder.h"
#include "ksltrace/time_column.h"

#include <set>
#include <string>
#include <utility>

namespace ksltrace {

struct TextStyle {
    bool summary = false;      // a line for each operation instead of one for each record
    bool source_lines = false; // with the line of the source file that wrote a record
    bool unicode = false;      // arrows and micro signs
    bool emphasis = false;     // escape sequences of a terminal
};

// Which lines of a trace to render.
struct TextPart {
    const std::vector<bool> *wanted = nullptr; // by line; null: all
    size_t begin = 0;
    size_t end = SIZE_MAX;
    // Source and sequence number of entries that were rendered before their exits came; null: none.
    const std::set<std::pair<size_t, uint64_t>> *open_before = nullptr;
    // Goes on from part to part; null: full times.
    TimeColumn *times = nullptr;
};

// One line for each record:
//   2024-05-06T07:08:09.123456Z > ksl_read_link_status_reg chip=0
//   2024-05-06T07:08:09.123461Z   - bytes 00 0f 81 03
//   2024-05-06T07:08:09.123463Z < ksl_read_link_status_reg out=0xbffff600 result=0 (7.0 us, run time 7 us)
// or, in a summary, one for each operation, failure, and what else happened outside of operations:
//   2024-05-06T07:08:09.123456Z ksl_read_link_status_reg chip=0 -> 0 in 7.00 us
// When several writers took part, each line names its writer, in a merged trace with its file. Missing records are a
// line in their place.
std::string render_text(const Trace &trace, const TextStyle &style = {}, const TextPart &part = {});

} // namespace ksltrace
