// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/render_text.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>
#include <iterator>

namespace ksltrace {

namespace {

using Text = std::back_insert_iterator<std::string>;

constexpr unsigned kIndent = 2;

char mark_of(const Line &line) {
    if (line.point == nullptr) {
        return '?';
    }
    switch (line.point->kind) {
    case Kind::entry:
        return '>';
    case Kind::exit:
        return '<';
    case Kind::failure:
        return '!';
    case Kind::step:
    case Kind::elapsed:
        break;
    }
    return '-';
}

std::string shown(ValueType type, uint32_t value) {
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

void render_values(Text text, const Line &line) {
    const std::vector<Value> &values = line.point->values;
    // A row of bytes reads better without their names.
    const bool bytes_only =
        std::all_of(values.begin(), values.end(), [](const Value &value) { return value.type == ValueType::byte; });
    for (size_t i = 0; i < values.size(); ++i) {
        const std::string value = shown(values[i].type, line.record->values[i]);
        bytes_only ? fmt::format_to(text, " {}", value) : fmt::format_to(text, " {}={}", values[i].name, value);
    }
}

void render_plain_numbers(Text text, const Line &line) {
    const trace_kbuf_record &record = *line.record;
    fmt::format_to(text, "0x{:08x} line {}{}", record.identifier, record.line, record.value_count > 0 ? ":" : "");
    for (uint32_t i = 0; i < record.value_count; ++i) {
        fmt::format_to(text, " 0x{:08x}", record.values[i]);
    }
    fmt::format_to(text, " ({})", line.values_differ ? "another number of values than in the table" : "in no table");
}

// What is to be said of an entry or exit beside its values, in parentheses.
void render_notes(Text text, const Line &line) {
    std::vector<std::string> notes;
    switch (line.lone) {
    case Lone::left_early:
        notes.push_back("left early");
        break;
    case Lone::no_exit:
        notes.push_back("no exit");
        break;
    case Lone::no_entry:
        notes.push_back("entry lost");
        break;
    case Lone::no:
        break;
    }
    if (line.elapsed_us) {
        notes.push_back(fmt::format("{:.1f} us", *line.elapsed_us));
    }
    if (line.run_time_us) {
        notes.push_back(fmt::format("run time {} us", *line.run_time_us));
    }
    if (!notes.empty()) {
        fmt::format_to(text, " ({})", fmt::join(notes, ", "));
    }
}

bool has_several_writers(const Trace &trace) {
    const auto other = [&](const Line &line) { return line.record->writer != trace.lines.front().record->writer; };
    return std::any_of(trace.lines.begin(), trace.lines.end(), other);
}

const char *records(uint64_t count) {
    return count == 1 ? "record" : "records";
}

} // namespace

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

std::string render_text(const Trace &trace) {
    std::string result;
    const Text text(result);
    const bool name_writers = has_several_writers(trace);
    for (const Line &line : trace.lines) {
        if (line.lost_before > 0) {
            fmt::format_to(text, "-- {} {} lost --\n", line.lost_before, records(line.lost_before));
        }
        if (line.told_by_exit) {
            continue;
        }
        fmt::format_to(text, "{} ", render_time(line.record->time_ns));
        if (name_writers) {
            fmt::format_to(text, "[{}] ", line.record->writer);
        }
        fmt::format_to(text, "{:{}}{} ", "", line.depth * kIndent, mark_of(line));
        if (line.point == nullptr) {
            render_plain_numbers(text, line);
        } else {
            fmt::format_to(text, "{}", line.point->text);
            render_values(text, line);
        }
        render_notes(text, line);
        result += '\n';
    }
    if (trace.lost_at_end > 0) {
        fmt::format_to(text, "-- {} {} lost --\n", trace.lost_at_end, records(trace.lost_at_end));
    }
    return result;
}

} // namespace ksltrace
