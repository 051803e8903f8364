// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/statistics.h"

#include "ksltrace/values.h"
#include "support/table.h"

#include <algorithm>
#include <cmath>
#include <fmt/core.h>

namespace ksltrace {

namespace {

// The value that so large a part of all does not exceed (the nearest rank).
double quantile(const std::vector<double> &sorted, double part) {
    const auto rank = static_cast<size_t>(std::ceil(part * static_cast<double>(sorted.size())));
    return sorted[std::max<size_t>(rank, 1) - 1];
}

std::optional<Times> times_of(std::vector<double> &all) {
    if (all.empty()) {
        return std::nullopt;
    }
    std::sort(all.begin(), all.end());
    return Times{all.front(), quantile(all, 0.5), quantile(all, 0.99), all.back()};
}

struct Collected {
    OperationStatistics statistics;
    std::vector<double> elapsed_us;
    std::vector<double> run_time_us;
};

void collect(const Trace &trace, const Operation &operation, Collected &into) {
    OperationStatistics &statistics = into.statistics;
    statistics.name = operation.name;
    ++statistics.count;
    statistics.failed += operation.failed();
    if (operation.exit == kNone) {
        ++statistics.no_exit;
        return;
    }
    if (operation.failed() && operation.result) {
        ++statistics.codes[*operation.result];
    }
    const Line &exit = trace.lines[operation.exit];
    if (exit.elapsed_us) {
        into.elapsed_us.push_back(*exit.elapsed_us);
    }
    if (exit.run_time_us) {
        into.run_time_us.push_back(*exit.run_time_us);
    }
}

std::string codes_of(const OperationStatistics &statistics) {
    std::string text;
    size_t with_code = 0;
    for (const auto &[code, count] : statistics.codes) {
        text += fmt::format("{}{}", text.empty() ? "" : ", ", code) + (count > 1 ? fmt::format(" x{}", count) : "");
        with_code += count;
    }
    if (statistics.failed > with_code) {
        text += fmt::format("{}{} without a code", text.empty() ? "" : ", ", statistics.failed - with_code);
    }
    return text.empty() ? std::string(tools::kNothing) : text;
}

} // namespace

std::vector<OperationStatistics> statistics_of(const Trace &trace, const std::vector<bool> &wanted) {
    std::map<std::string_view, Collected> collected;
    for (const Operation &operation : trace.operations) {
        if (wanted[operation.first_line()]) {
            collect(trace, operation, collected[operation.name]);
        }
    }
    std::vector<OperationStatistics> all;
    for (auto &[name, each] : collected) {
        each.statistics.elapsed_us = times_of(each.elapsed_us);
        each.statistics.run_time_us = times_of(each.run_time_us);
        all.push_back(std::move(each.statistics));
    }
    return all;
}

std::string render_statistics(const std::vector<OperationStatistics> &statistics, bool unicode, bool emphasis) {
    using tools::Align;
    tools::Table table({{"operation", Align::left},
                        {"count", Align::right},
                        {"failed", Align::right},
                        {"no exit", Align::right},
                        {"min", Align::right},
                        {"median", Align::right},
                        {"99 %", Align::right},
                        {"max", Align::right},
                        {"codes", Align::left}});
    for (const OperationStatistics &row : statistics) {
        const auto time = [&](double Times::*which) {
            return row.elapsed_us ? render_duration((*row.elapsed_us).*which, unicode) : std::string(tools::kNothing);
        };
        table.add_row({std::string(row.name), fmt::format("{}", row.count), fmt::format("{}", row.failed),
                       fmt::format("{}", row.no_exit), time(&Times::least), time(&Times::median), time(&Times::p99),
                       time(&Times::most), codes_of(row)});
    }
    return table.render(tools::Style(emphasis));
}

} // namespace ksltrace
