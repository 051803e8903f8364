// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/commands.h"
#include "ksltrace/render_json.h"

#include <fmt/core.h>

namespace ksltrace {

namespace {

// What the numbers leave out.
std::string remark(const trace_kbuf_snapshot &snapshot) {
    const uint64_t missing = snapshot.written - std::min<uint64_t>(snapshot.written, snapshot.record_count);
    return missing == 0 ? "" : fmt::format("-- {} of {} records are missing --\n", missing, snapshot.written);
}

} // namespace

int stats(const Request &request, bool json, tools::StandardOutput &out) {
    const Reading reading = read(request);
    if (reading.snapshot->version != 0) {
        const std::vector<OperationStatistics> statistics = statistics_of(reading.trace, reading.wanted);
        out.write(json ? render_json(*reading.snapshot, statistics)
                       : remark(*reading.snapshot) +
                             render_statistics(statistics, wants_unicode(), out.wants_emphasis()));
    }
    return conclude(request, *reading.snapshot, out);
}

} // namespace ksltrace
