// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/commands.h"
#include "ksltrace/fold.h"
#include "ksltrace/render_text.h"
#include "support/exit_status.h"
#include "support/pager.h"

#include <fmt/core.h>
#include <json/problem.h>
#include <optional>

namespace ksltrace {

namespace {

constexpr size_t kIndent = 4; // of headings that go on

std::string heading(const Reading &reading) {
    uint64_t present = 0;
    uint64_t written = 0;
    uint64_t overwritten = 0;
    uint64_t incomplete = 0;
    for (const Snapshot &snapshot : reading.snapshots) {
        present += snapshot->record_count;
        written += snapshot->written;
        overwritten += snapshot->overwritten;
        incomplete += snapshot->incomplete;
    }
    const size_t count = reading.snapshots.size();
    const std::string machine =
        reading.sources.is_merged() ? "" : fmt::format(" ({})", machine_of(*reading.snapshots.front()));
    const std::string what = reading.sources.is_merged()
                                 ? fmt::format("{}: {} {}, ", json::printable(reading.sources.folder), count,
                                               count == 1 ? "buffer" : "buffers")
                                 : fmt::format("{}: ", reading.snapshots.front()->name);
    return fmt::format("{}{} of {} records, {} overwritten{}{}\n", what, present, written, overwritten,
                       incomplete > 0 ? fmt::format(", {} damaged or not finished", incomplete) : "", machine);
}

} // namespace

int show(const Request &request, const ShowOptions &options, tools::StandardOutput &out) {
    const Reading reading = read(request);
    const TextStyle style{.summary = !options.verbose,
                          .source_lines = options.verbose,
                          .unicode = wants_unicode(),
                          .emphasis = out.wants_emphasis()};
    const size_t width = terminal_width(out);
    // Nothing of a file that does not even say what it is.
    std::string text = reading.is_empty() ? "" : fold(heading(reading), width, kIndent);
    TimeColumn times(options.times);
    const std::string records = render_text(reading.trace, style, {.wanted = &reading.wanted, .times = &times});
    text += fold(records, width, times.width() + kIndent);
    if (options.no_pager || !out.is_terminal() || reading.trace.lines.empty()) {
        out.write(text);
    } else if (!tools::write_paged("ksltrace", text, out)) {
        return tools::kFailed;
    }
    return conclude(reading, out);
}

} // namespace ksltrace
