// SPDX-License-Identifier: Apache-2.0
// How often operations ran, how they ended, and how long they took.
#pragma once

#include "ksltrace/decoder.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ksltrace {

struct Times {
    double least;
    double median;
    double p99; // 99 of 100 took no longer
    double most;
};

struct OperationStatistics {
    std::string_view name;
    size_t count = 0;
    size_t failed = 0;
    size_t no_exit = 0;               // left early or not finished
    std::map<int32_t, size_t> codes;  // how often each bad result
    std::optional<Times> elapsed_us;  // between the records of entry and exit
    std::optional<Times> run_time_us; // as the library measured it
};

// By name.
std::vector<OperationStatistics> statistics_of(const Trace &trace, const std::vector<bool> &wanted);

// A table for people. Its times are those between the records, which are always there.
std::string render_statistics(const std::vector<OperationStatistics> &statistics, bool unicode, bool emphasis);

} // namespace ksltrace
