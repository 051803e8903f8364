// SPDX-License-Identifier: Apache-2.0
// What the commands have in common: the traces that were read, as one, and what is wrong with them.
#pragma once

#include "ksltrace/selection.h"
#include "ksltrace/snapshot.h"
#include "ksltrace/sources.h"
#include "support/standard_streams.h"

#include <string>
#include <vector>

namespace ksltrace {

struct Request {
    std::string source; // a file, a folder, a buffer's name, "-", or empty
    Selection selection;
    Catalogue catalogue;
};

struct Reading {
    Sources sources;
    std::vector<Snapshot> snapshots; // of the files that are traces
    Trace trace;                     // refers to the snapshots
    std::vector<bool> wanted;        // by line
    std::vector<std::string> problems;

    bool is_empty() const { return snapshots.empty(); }
    Buffers buffers() const;
};

Reading read(const Request &request);

// Reports what is wrong with the traces on stderr. Returns the exit status.
int conclude(const Reading &reading, const tools::StandardOutput &out);

// A complaint about something that others named: it steers no terminal.
void complain(std::string_view sentence);

// "big-endian, 32 bits, trace_kbuf 0.1.0 powerpc gcc 12.2.0"
std::string machine_of(const trace_kbuf_snapshot &snapshot);

// Whether the user's character set is UTF-8.
bool wants_unicode();

} // namespace ksltrace
