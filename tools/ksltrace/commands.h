// SPDX-License-Identifier: Apache-2.0
// The program's commands. Each returns the exit status.
#pragma once

#include "ksltrace/reading.h"
#include "ksltrace/time_column.h"

namespace ksltrace {

// The buffers that are kept in a folder and below it.
int list(const std::string &folder, tools::StandardOutput &out);

struct ShowOptions {
    bool verbose = false;
    bool no_pager = false;
    TimeStyle times = TimeStyle::of_day;
};
int show(const Request &request, const ShowOptions &options, tools::StandardOutput &out);

// Goes on until it is interrupted or nobody reads any more.
int follow(Request request, const ShowOptions &options, tools::StandardOutput &out);

int stats(const Request &request, bool json, tools::StandardOutput &out);

enum class Format { json, perfetto, ctf };
// A trace of format ctf becomes a new folder, the others are written to the standard output.
int export_trace(const Request &request, Format format, const std::string &folder, tools::StandardOutput &out);

} // namespace ksltrace
