// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/values.h"

#include "ksltrace/register_names.h"

#include <chrono>
#include <cmath>
#include <fmt/core.h>

namespace ksltrace {

std::string render_value(ValueType type, uint32_t value) {
    switch (type) {
    case ValueType::signed_int:
        return fmt::format("{}", static_cast<int32_t>(value));
    case ValueType::hex:
        return fmt::format("0x{:02x}", value);
    case ValueType::address:
        return fmt::format("0x{:08x}", value);
    case ValueType::byte:
        return fmt::format("{:02x}", value);
    case ValueType::decimal:
        break;
    }
    return fmt::format("{}", value);
}

std::string render_duration(double microseconds, bool unicode) {
    double number = microseconds;
    const char *unit = unicode ? "µs" : "us";
    if (std::fabs(number) >= 999.5e3) {
        number /= 1e6;
        unit = "s";
    } else if (std::fabs(number) >= 999.5) {
        number /= 1e3;
        unit = "ms";
    }
    const double size = std::fabs(number);
    const int digits = size >= 99.95 ? 0 : size >= 9.995 ? 1 : 2;
    return fmt::format("{:.{}f} {}", number, digits, unit);
}

std::string render_time(uint64_t time_ns) {
    constexpr uint64_t kPerSecond = 1'000'000'000;
    const uint64_t seconds = time_ns / kPerSecond;
    const auto day_number = static_cast<int>(seconds / 86400);
    const std::chrono::year_month_day date{std::chrono::sys_days{std::chrono::days{day_number}}};
    const uint64_t second = seconds % 86400;
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}Z", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), second / 3600,
                       second / 60 % 60, second % 60, time_ns % kPerSecond / 1000);
}

std::string register_of(const Line &line) {
    const std::optional<uint32_t> page = value_of(line, "page", ValueType::hex);
    const std::optional<uint32_t> offset = value_of(line, "offset", ValueType::hex);
    return page && offset ? register_name(*page, *offset) : std::string();
}

std::string_view note_of(Pairing pairing) {
    switch (pairing) {
    case Pairing::left_early:
        return "left early";
    case Pairing::no_exit:
        return "no exit";
    case Pairing::no_entry:
        return "entry lost";
    case Pairing::complete:
        break;
    }
    return {};
}

} // namespace ksltrace
