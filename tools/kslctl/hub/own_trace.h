// SPDX-License-Identifier: Apache-2.0
// The trace of what this process did.
#pragma once

#include "ksltrace/decoder.h"
#include "ksltrace/snapshot.h"

namespace kslctl::hub {

struct OwnTrace {
    ksltrace::Snapshot snapshot; // what `trace` refers to
    ksltrace::Trace trace;
};

// The lines of a writer since a time (nanoseconds since 1970), with the records that may be missing among them.
ksltrace::Trace lines_of(const ksltrace::Trace &all, uint32_t writer, uint64_t start_ns);

// Lets the trace library record into the folder "kslctl" below TRACE_KBUF_DIR, if that is set: looking at a hub must
// not overwrite what a service recorded. To be called before libksl.so is used.
void keep_trace_apart();

// Takes what this thread wrote since `start_ns` from the library's trace buffer. A buffer that
// is kept in a file also holds what other processes wrote, even earlier ones that had the same process id.
OwnTrace take_own_trace(uint64_t start_ns);

// The time now, to be used as a start.
uint64_t now_ns();

} // namespace kslctl::hub
