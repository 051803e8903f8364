// SPDX-License-Identifier: Apache-2.0
// From records to lines and operations: the trace point of each record, its operation, and how that ended and how long
// it took.
#pragma once

#include "ksltrace/catalogue.h"

#include <optional>
#include <string>
#include <trace_kbuf_reader.h>

namespace ksltrace {

// Whether an entry has its exit, and an exit its entry.
enum class Pairing {
    complete,
    left_early, // an entry: the operation around it came to its exit first
    no_exit,    // an entry: left early or not finished, the trace does not say which
    no_entry,   // an exit: the record of its entry is lost
};

inline constexpr size_t kNone = SIZE_MAX;

struct Line {
    const trace_kbuf_record *record = nullptr;
    const Point *point = nullptr;    // null: in no table, or the number of values is another than the table's
    bool values_differ = false;      // the latter
    unsigned depth = 0;              // number of operations around it
    size_t source = 0;               // index of the file that it is from
    size_t operation = kNone;        // index of the operation that it begins, ends or was written in
    uint64_t lost_before = 0;        // records that are missing directly before it
    uint64_t overwritten_before = 0; // of these: the ring had turned; the others are damaged or were never finished
    Pairing pairing = Pairing::complete;

    // Of an exit:
    std::optional<double> elapsed_us;    // since the entry was written
    std::optional<uint32_t> run_time_us; // as the library measured and traced it
    // Of the record of that run time: the line of the exit shows it.
    bool shown_by_exit = false;
};

struct Operation {
    std::string_view name;
    size_t entry = kNone;  // index of its line; none: lost
    size_t exit = kNone;   // the same
    size_t parent = kNone; // index of the operation around it
    std::optional<uint32_t> chip;
    std::optional<int32_t> result; // as its exit has it; not every exit does
    bool has_failure = false;      // a failure was recorded, not counting the operations inside

    size_t first_line() const { return entry != kNone ? entry : exit; }
    // Without a result, a recorded failure decides.
    bool failed() const { return result ? *result != 0 : has_failure && exit != kNone; }
};

struct Trace {
    std::vector<Line> lines;           // one for each record, in order
    std::vector<Operation> operations; // in the order of their first lines
    uint64_t lost_at_end = 0;          // records after the last line that could not be read
    std::vector<std::string> sources;  // names of the files, by Line::source; empty for the trace of one file
};

// The buffers that a trace is of, in the order of Trace::sources. None is null.
using Buffers = std::vector<const trace_kbuf_snapshot *>;

// Operations are nested for each writer by itself. The lines refer to the snapshot's records.
//
// An operation that refuses an argument leaves without an exit record, and operations may run inside others. So an
// entry encloses what follows when its exit is found; an entry without one encloses only the steps directly after it.
Trace decode(const trace_kbuf_snapshot &snapshot, const Catalogue &catalogue);

// The value of that name and type; none when the record has no such value.
std::optional<uint32_t> value_of(const Line &line, std::string_view name, ValueType type);

} // namespace ksltrace
