// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/commands.h"
#include "ksltrace/render_text.h"
#include "support/exit_status.h"
#include "support/pager.h"

#include <fmt/core.h>
#include <optional>

namespace ksltrace {

namespace {

std::string heading(const trace_kbuf_snapshot &snapshot) {
    return fmt::format("{}: {} of {} records, {} overwritten{} ({})\n", snapshot.name, snapshot.record_count,
                       snapshot.written, snapshot.overwritten,
                       snapshot.incomplete > 0 ? fmt::format(", {} damaged or not finished", snapshot.incomplete) : "",
                       machine_of(snapshot));
}

} // namespace

int show(const Request &request, const ShowOptions &options, tools::StandardOutput &out) {
    const Reading reading = read(request);
    const TextStyle style{.summary = !options.verbose,
                          .source_lines = options.verbose,
                          .unicode = wants_unicode(),
                          .emphasis = out.wants_emphasis()};
    std::optional<tools::Pager> pager;
    if (!options.no_pager && out.is_terminal() && reading.snapshot->record_count > 0) {
        pager.emplace();
    }
    // Nothing of a file that does not even say what it is.
    if (reading.snapshot->version != 0) {
        out.write(heading(*reading.snapshot));
    }
    out.write(render_text(reading.trace, style, {.wanted = &reading.wanted}));
    if (pager && !pager->finish()) {
        tools::complain("ksltrace", fmt::format("the pager \"{}\" of PAGER cannot be run; --no-pager does without",
                                                pager->command()));
        return tools::kFailed;
    }
    return conclude(request, *reading.snapshot, out);
}

} // namespace ksltrace
