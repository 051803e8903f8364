// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/selection.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <ctime>
#include <fnmatch.h>

namespace ksltrace {

namespace {

constexpr uint64_t kPerSecond = 1'000'000'000;

bool fits(const std::string &pattern, std::string_view name) {
    return fnmatch(pattern.c_str(), std::string(name).c_str(), 0) == 0;
}

bool is_since(const Line &line, const Selection &selection) {
    return !selection.since_ns || line.record->time_ns >= *selection.since_ns;
}

bool loose_line_matches(const Line &line, const Selection &selection) {
    const bool is_failure = line.point != nullptr && line.point->kind == Kind::failure;
    return selection.operations.empty() && selection.chips.empty() && (!selection.failed || is_failure) &&
           is_since(line, selection);
}

// Forgets the lines before the last `count` operations. Those inside others that are wanted do not count.
void keep_last(const Trace &trace, const std::vector<bool> &wanted_operations, size_t count,
               std::vector<bool> &wanted) {
    size_t begin = trace.lines.size();
    for (size_t i = trace.operations.size(); i-- > 0 && count > 0;) {
        const size_t parent = trace.operations[i].parent;
        if (wanted_operations[i] && (parent == kNone || !wanted_operations[parent])) {
            begin = trace.operations[i].first_line();
            --count;
        }
    }
    if (count > 0) {
        return; // all of them
    }
    std::fill_n(wanted.begin(), begin, false);
}

std::optional<uint64_t> parse_age(std::string_view text) {
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string_view unit(end, static_cast<size_t>(text.data() + text.size() - end));
    if (error != std::errc() || unit.size() != 1 || number > UINT32_MAX) {
        return std::nullopt;
    }
    switch (unit[0]) {
    case 's':
        return number * kPerSecond;
    case 'm':
        return number * 60 * kPerSecond;
    case 'h':
        return number * 3600 * kPerSecond;
    case 'd':
        return number * 86400 * kPerSecond;
    default:
        return std::nullopt;
    }
}

// By the calendar, since time_t ends in 2038 where it has 32 bits. None for a day that no month has.
std::optional<int64_t> seconds_since_1970(const tm &time) {
    const std::chrono::year_month_day date{std::chrono::year(time.tm_year + 1900),
                                           std::chrono::month(static_cast<unsigned>(time.tm_mon + 1)),
                                           std::chrono::day(static_cast<unsigned>(time.tm_mday))};
    if (!date.ok()) {
        return std::nullopt;
    }
    const int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
    return ((days * 24 + time.tm_hour) * 60 + time.tm_min) * 60 + time.tm_sec;
}

// The fraction of a second in nanoseconds, and perhaps a Z after it.
std::optional<uint64_t> parse_fraction(std::string_view text) {
    uint64_t ns = 0;
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        uint64_t weight = kPerSecond;
        while (!text.empty() && text[0] >= '0' && text[0] <= '9') {
            weight /= 10;
            ns += weight * static_cast<uint64_t>(text[0] - '0');
            text.remove_prefix(1);
        }
        if (weight == kPerSecond) {
            return std::nullopt;
        }
    }
    return text.empty() || text == "Z" ? std::optional(ns) : std::nullopt;
}

} // namespace

bool matches(const Trace &trace, const Operation &operation, const Selection &selection) {
    const auto is_name = [&](const std::string &pattern) { return fits(pattern, operation.name); };
    const auto is_chip = [&](uint32_t chip) { return operation.chip == chip; };
    const bool has_no_exit = operation.exit == kNone;
    return (selection.operations.empty() ||
            std::any_of(selection.operations.begin(), selection.operations.end(), is_name)) &&
           (!selection.failed || operation.failed() || has_no_exit) &&
           (selection.chips.empty() || std::any_of(selection.chips.begin(), selection.chips.end(), is_chip)) &&
           is_since(trace.lines[operation.first_line()], selection);
}

std::vector<bool> select(const Trace &trace, const Selection &selection) {
    std::vector<bool> operations;
    for (const Operation &operation : trace.operations) {
        // An operation comes after the one around it.
        const bool is_inside = operation.parent != kNone && operations[operation.parent];
        operations.push_back(is_inside || matches(trace, operation, selection));
    }
    std::vector<bool> lines;
    for (const Line &line : trace.lines) {
        lines.push_back(line.operation == kNone ? loose_line_matches(line, selection) : operations[line.operation]);
    }
    if (selection.last) {
        keep_last(trace, operations, *selection.last, lines);
    }
    return lines;
}

std::optional<uint64_t> parse_since(const std::string &text, uint64_t now_ns) {
    if (const std::optional<uint64_t> age = parse_age(text)) {
        return now_ns - std::min(now_ns, *age);
    }
    tm time{};
    const char *const rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &time);
    const std::optional<uint64_t> fraction = rest == nullptr ? std::nullopt : parse_fraction(rest);
    const std::optional<int64_t> seconds = fraction ? seconds_since_1970(time) : std::nullopt;
    if (!seconds || *seconds < 0) {
        return std::nullopt;
    }
    // No record can be later than the nanoseconds can count.
    constexpr uint64_t kLatest = UINT64_MAX / kPerSecond - 1;
    return std::min(static_cast<uint64_t>(*seconds), kLatest) * kPerSecond + *fraction;
}

bool knows_operation(const Catalogue &catalogue, const std::string &pattern) {
    const std::vector<const Point *> points = catalogue.sorted();
    return std::any_of(points.begin(), points.end(), [&](const Point *point) {
        return (point->kind == Kind::entry || point->kind == Kind::exit) && fits(pattern, point->text);
    });
}

} // namespace ksltrace
