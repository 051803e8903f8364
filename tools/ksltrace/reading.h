// SPDX-License-Identifier: Apache-2.0
// What the commands have in common: a trace that was read, and what is to be said of it.
#pragma once

#include "ksltrace/selection.h"
#include "ksltrace/snapshot.h"
#include "support/standard_streams.h"

#include <string>
#include <vector>

namespace ksltrace {

struct Request {
    std::string source; // a file, a buffer's name, or "-"
    Selection selection;
    Catalogue catalogue;
};

struct Reading {
    Snapshot snapshot;
    Trace trace;
    std::vector<bool> wanted;
};

Reading read(const Request &request);

// Tells on stderr what is wrong with the trace. Returns the exit status.
int conclude(const Request &request, const trace_kbuf_snapshot &snapshot, const tools::StandardOutput &out);

// "big-endian, 32 bits, trace_kbuf 0.1.0 powerpc gcc 12.2.0"
std::string machine_of(const trace_kbuf_snapshot &snapshot);

// Whether the user's character set is UTF-8.
bool wants_unicode();

} // namespace ksltrace
