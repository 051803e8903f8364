// SPDX-License-Identifier: Apache-2.0
// The times at the beginning of lines.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ksltrace {

enum class TimeStyle {
    full,     // date and time on each line
    of_day,   // the time; each day's date is a line of its own
    relative, // seconds since the first line
    delta     // seconds since the line before
};

// Remembers what the lines so far have said.
class TimeColumn {
public:
    explicit TimeColumn(TimeStyle times = TimeStyle::full) : times_(times) {}

    // The line that has to be there before one of that time; empty for none.
    std::string heading(uint64_t time_ns) const;
    // The time as the next line begins with it.
    std::string next(uint64_t time_ns);
    // How many characters that has.
    size_t width() const;

private:
    TimeStyle times_;
    std::optional<uint64_t> first_ns_;
    uint64_t last_ns_ = 0;
};

} // namespace ksltrace
