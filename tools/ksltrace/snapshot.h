// SPDX-License-Identifier: Apache-2.0
// Where the records come from.
#pragma once

#include <memory>
#include <string>
#include <trace_kbuf_reader.h>

namespace ksltrace {

struct ReleaseSnapshot {
    void operator()(trace_kbuf_snapshot *snapshot) const { trace_kbuf_snapshot_free(snapshot); }
};

// Never null; `status` and `problem` say what is wrong with it.
using Snapshot = std::unique_ptr<trace_kbuf_snapshot, ReleaseSnapshot>;

// Takes a reader's snapshot over; throws std::bad_alloc when it is null. What a file says of itself is shown to people:
// json::printable() cleans it.
Snapshot owned(trace_kbuf_snapshot *snapshot);

// Reads that file, or stdin for "-".
Snapshot read_snapshot(const std::string &path);

// Reads a buffer that is open in this process.
Snapshot read_live_snapshot(const std::string &name);

} // namespace ksltrace
