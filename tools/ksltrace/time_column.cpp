// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/time_column.h"

#include "ksltrace/values.h"

#include <fmt/core.h>

namespace ksltrace {

namespace {

constexpr size_t kDate = 10;      // "2024-05-06"
constexpr size_t kTimeOfDay = 15; // "07:08:09.123456"

double seconds_between(uint64_t from_ns, uint64_t to_ns) {
    return static_cast<double>(static_cast<int64_t>(to_ns - from_ns)) / 1e9;
}

} // namespace

std::string TimeColumn::heading(uint64_t time_ns) const {
    const std::string time = render_time(time_ns);
    switch (times_) {
    case TimeStyle::full:
        break;
    case TimeStyle::of_day:
        if (const std::string date = time.substr(0, kDate);
            !first_ns_ || render_time(last_ns_).substr(0, kDate) != date) {
            return date + " UTC\n";
        }
        break;
    case TimeStyle::relative:
        return first_ns_ ? "" : fmt::format("seconds since {}\n", time);
    case TimeStyle::delta:
        return first_ns_ ? "" : fmt::format("seconds since the line before, from {}\n", time);
    }
    return {};
}

std::string TimeColumn::next(uint64_t time_ns) {
    const uint64_t first_ns = first_ns_.value_or(time_ns);
    const uint64_t before_ns = first_ns_ ? last_ns_ : time_ns;
    first_ns_ = first_ns;
    last_ns_ = time_ns;
    switch (times_) {
    case TimeStyle::full:
        break;
    case TimeStyle::of_day:
        return render_time(time_ns).substr(kDate + 1, kTimeOfDay);
    case TimeStyle::relative:
        return fmt::format("{:{}.6f}", seconds_between(first_ns, time_ns), width());
    case TimeStyle::delta:
        return fmt::format("{:+{}.6f}", seconds_between(before_ns, time_ns), width());
    }
    return render_time(time_ns);
}

size_t TimeColumn::width() const {
    return times_ == TimeStyle::full ? kDate + 1 + kTimeOfDay + 1 : times_ == TimeStyle::of_day ? kTimeOfDay : 13;
}

} // namespace ksltrace
