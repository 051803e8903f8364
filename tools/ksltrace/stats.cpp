// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/commands.h"
#include "ksltrace/fold.h"
#include "ksltrace/render_json.h"

#include <algorithm>
#include <fmt/core.h>

namespace ksltrace {

namespace {

constexpr size_t kIndent = 4; // of lines that go on

// What the numbers leave out.
std::string remarks(const Reading &reading) {
    uint64_t missing = 0;
    uint64_t written = 0;
    for (const Snapshot &snapshot : reading.snapshots) {
        missing += snapshot->written - std::min<uint64_t>(snapshot->written, snapshot->record_count);
        written += snapshot->written;
    }
    const std::vector<Line> &lines = reading.trace.lines;
    const auto unknown =
        std::count_if(lines.begin(), lines.end(), [](const Line &line) { return line.point == nullptr; });
    std::string text = missing == 0 ? "" : fmt::format("-- {} of {} records are missing --\n", missing, written);
    if (unknown > 0) {
        text += fmt::format("-- {} of {} records are in no catalogue; --catalogue FILE adds that of the program that "
                            "wrote them --\n",
                            unknown, lines.size());
    }
    return text;
}

} // namespace

int stats(const Request &request, bool json, tools::StandardOutput &out) {
    const Reading reading = read(request);
    if (!reading.is_empty()) {
        const std::vector<OperationStatistics> statistics = statistics_of(reading.trace, reading.wanted);
        if (json) {
            out.write(render_json(reading.buffers(), reading.trace, statistics));
        } else {
            const std::string text =
                remarks(reading) + render_statistics(statistics, wants_unicode(), out.wants_emphasis());
            out.write(fold(text, terminal_width(out), kIndent));
        }
    }
    return conclude(reading, out);
}

} // namespace ksltrace
