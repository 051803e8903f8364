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

// Never null; `status` and `problem` tell what is wrong with it.
using Snapshot = std::unique_ptr<trace_kbuf_snapshot, ReleaseSnapshot>;

// Takes a reader's snapshot over; throws std::bad_alloc when it is null. What a file says of itself is shown to people:
// characters that would break a line or steer a terminal are replaced.
Snapshot owned(trace_kbuf_snapshot *snapshot);

// The file that the user named: an existing one, and else a word without a slash is the name of a buffer that is kept
// in the folder TRACE_KBUF_DIR.
std::string path_of(const std::string &file_or_name);

// Reads that file, or stdin for "-".
Snapshot read_snapshot(const std::string &file_or_name);

// Reads a buffer that is open in this process.
Snapshot read_live_snapshot(const std::string &name);

} // namespace ksltrace
