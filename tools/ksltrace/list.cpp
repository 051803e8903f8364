// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/commands.h"
#include "ksltrace/fold.h"
#include "ksltrace/values.h"
#include "support/exit_status.h"
#include "support/table.h"

#include <filesystem>
#include <fmt/core.h>
#include <json/problem.h>

namespace ksltrace {

namespace {

constexpr size_t kIndent = 4; // of rows that go on

std::string size_of(const trace_kbuf_snapshot &snapshot) {
    constexpr uint32_t kKiB = 1024;
    constexpr uint32_t kMiB = 1024 * kKiB;
    const uint32_t size = snapshot.size;
    return size >= kMiB && size % kMiB == 0   ? fmt::format("{} MiB", size / kMiB)
           : size >= kKiB && size % kKiB == 0 ? fmt::format("{} KiB", size / kKiB)
                                              : fmt::format("{} bytes", size);
}

std::vector<std::string> row_of(const std::string &file, const trace_kbuf_snapshot &snapshot) {
    const auto time = [&](size_t index) {
        return snapshot.record_count == 0 ? std::string(tools::kNothing) : render_time(snapshot.records[index].time_ns);
    };
    return {snapshot.name,
            json::printable(file),
            size_of(snapshot),
            fmt::format("{}", snapshot.record_count),
            fmt::format("{}", snapshot.written),
            time(0),
            time(snapshot.record_count - 1),
            machine_of(snapshot)};
}

} // namespace

int list(const std::string &folder, tools::StandardOutput &out) {
    const Sources sources = files_of_folder(folder);
    using tools::Align;
    tools::Table table({{"buffer", Align::left},
                        {"file", Align::left},
                        {"size", Align::right},
                        {"records", Align::right},
                        {"written", Align::right},
                        {"from", Align::left},
                        {"to", Align::left},
                        {"writer", Align::left}});
    std::vector<std::string> problems = sources.problems;
    for (const SourceFile &file : sources.files) {
        const Snapshot snapshot = read_snapshot(file.path);
        if (snapshot->version != 0) {
            table.add_row(row_of(std::filesystem::path(file.path).lexically_relative(folder).string(), *snapshot));
        }
        if (snapshot->status != TRACE_KBUF_WHOLE) {
            problems.emplace_back(snapshot->problem);
        }
    }
    if (!sources.files.empty()) {
        out.write(fold(table.render(tools::Style(out.wants_emphasis())), terminal_width(out), kIndent));
    } else if (problems.empty()) {
        out.write(fmt::format("{} has no trace buffers\n", json::printable(folder)));
    }
    for (const std::string &problem : problems) {
        complain(problem);
    }
    return problems.empty() && !out.failed() ? tools::kDone : tools::kFailed;
}

} // namespace ksltrace
