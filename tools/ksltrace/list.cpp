// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/commands.h"
#include "ksltrace/values.h"
#include "support/exit_status.h"
#include "support/table.h"

#include <algorithm>
#include <filesystem>
#include <fmt/core.h>

namespace ksltrace {

namespace {

std::vector<std::string> trace_files(const std::string &folder, std::error_code &error) {
    std::vector<std::string> files;
    for (std::filesystem::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        if (at->path().extension() == ".kbuf") {
            files.push_back(at->path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> row_of(const std::string &file, const trace_kbuf_snapshot &snapshot) {
    const auto time = [&](size_t index) {
        return snapshot.record_count == 0 ? std::string(tools::kNothing) : render_time(snapshot.records[index].time_ns);
    };
    return {snapshot.name,
            fmt::format("{}", snapshot.record_count),
            fmt::format("{}", snapshot.written),
            time(0),
            time(snapshot.record_count - 1),
            std::filesystem::path(file).filename().string(),
            machine_of(snapshot)};
}

} // namespace

int list(const std::string &folder, tools::StandardOutput &out) {
    std::error_code error;
    const std::vector<std::string> files = trace_files(folder, error);
    if (error) {
        tools::complain("ksltrace", fmt::format("the folder {} cannot be read: {}", folder, error.message()));
        return tools::kFailed;
    }
    using tools::Align;
    tools::Table table({{"buffer", Align::left},
                        {"records", Align::right},
                        {"written", Align::right},
                        {"from", Align::left},
                        {"to", Align::left},
                        {"file", Align::left},
                        {"writer", Align::left}});
    std::vector<std::string> problems;
    for (const std::string &file : files) {
        const Snapshot snapshot = read_snapshot(file);
        if (snapshot->version != 0) {
            table.add_row(row_of(file, *snapshot));
        }
        if (snapshot->status != TRACE_KBUF_WHOLE) {
            problems.emplace_back(snapshot->problem);
        }
    }
    if (files.empty()) {
        out.write(fmt::format("{} has no trace buffers\n", folder));
    } else {
        out.write(table.render(tools::Style(out.wants_emphasis())));
    }
    for (const std::string &problem : problems) {
        tools::complain("ksltrace", problem);
    }
    return problems.empty() && !out.failed() ? tools::kDone : tools::kFailed;
}

} // namespace ksltrace
