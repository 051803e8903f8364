// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/render_text.h"

#include "ksltrace/values.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <map>

namespace ksltrace {

namespace {

constexpr unsigned kIndent = 2;

constexpr std::string_view kDim = "\x1b[2m";
constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kRed = "\x1b[31m";
constexpr std::string_view kPlain = "\x1b[0m";

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

std::string values_of(const Line &line) {
    std::string text;
    const std::vector<Value> &values = line.point->values;
    // A row of bytes reads better without their names.
    const bool bytes_only =
        std::all_of(values.begin(), values.end(), [](const Value &value) { return value.type == ValueType::byte; });
    for (size_t i = 0; i < values.size(); ++i) {
        const std::string value = render_value(values[i].type, line.record->values[i]);
        text += bytes_only ? fmt::format(" {}", value) : fmt::format(" {}={}", values[i].name, value);
    }
    return text;
}

// Without addresses, which are of no use in an overview, and without the result, which the summary shows elsewhere.
std::string main_values_of(const Line &line) {
    std::string text;
    for (size_t i = 0; i < line.point->values.size(); ++i) {
        const Value &value = line.point->values[i];
        if (value.type != ValueType::address && value.name != "result") {
            text += fmt::format(" {}={}", value.name, render_value(value.type, line.record->values[i]));
        }
    }
    return text;
}

std::string plain_numbers_of(const Line &line) {
    const trace_kbuf_record &record = *line.record;
    std::string text =
        fmt::format("0x{:08x} line {}{}", record.identifier, record.line, record.value_count > 0 ? ":" : "");
    for (uint32_t i = 0; i < record.value_count; ++i) {
        text += fmt::format(" 0x{:08x}", record.values[i]);
    }
    return text +
           fmt::format(" ({})", line.values_differ ? "another number of values than in the table" : "in no table");
}

bool has_several_writers(const Trace &trace) {
    const auto other = [&](const Line &line) { return line.record->writer != trace.lines.front().record->writer; };
    return std::any_of(trace.lines.begin(), trace.lines.end(), other);
}

struct Gap {
    uint64_t overwritten = 0;
    uint64_t unreadable = 0;
};

class Renderer {
public:
    Renderer(const Trace &trace, const TextStyle &style, const TextPart &part)
        : trace_(trace), style_(style), part_(part), times_(part.times != nullptr ? *part.times : own_times_),
          name_writers_(!trace.sources.empty() || has_several_writers(trace)) {}

    std::string render() {
        const size_t end = std::min(part_.end, trace_.lines.size());
        for (size_t i = part_.begin; i < end; ++i) {
            const Line &line = trace_.lines[i];
            if (line.lost_before > 0) {
                Gap &gap = gaps_[line.source];
                gap.overwritten += std::min(line.overwritten_before, line.lost_before);
                gap.unreadable += line.lost_before - std::min(line.overwritten_before, line.lost_before);
            }
            if (part_.wanted == nullptr || (*part_.wanted)[i]) {
                style_.summary ? add_summary(line) : add_record(line);
            }
        }
        add_gaps();
        if (end == trace_.lines.size()) {
            add_gap(trace_.lost_at_end, "damaged or not finished", "");
        }
        return std::move(text_);
    }

private:
    // Missing records are named once, before the next line shown.
    void add_gaps() {
        for (const auto &[source, gap] : gaps_) {
            const std::string of = trace_.sources.empty() ? "" : fmt::format(" of {}", trace_.sources[source]);
            add_gap(gap.overwritten, "overwritten", of);
            add_gap(gap.unreadable, "damaged or not finished", of);
        }
        gaps_.clear();
    }

    void add_gap(uint64_t count, const char *why, const std::string &of) {
        if (count > 0) {
            text_ += fmt::format("-- {} {}{} {} --\n", count, count == 1 ? "record" : "records", of, why);
        }
    }

    void add_record(const Line &line) {
        if (line.shown_by_exit) {
            return;
        }
        begin_line(line);
        text_ += fmt::format("{} ", mark_of(line));
        if (line.point == nullptr) {
            text_ += plain_numbers_of(line);
        } else {
            text_ += emphasised(line, line.point->text) + values_of(line);
        }
        std::vector<std::string> notes;
        if (style_.source_lines && line.point != nullptr) {
            notes.push_back(fmt::format("line {}", line.record->line));
        }
        if (line.elapsed_us) {
            notes.push_back(fmt::format("{:.1f} {}", *line.elapsed_us, micro()));
        }
        end_line(line, std::move(notes));
    }

    void add_summary(const Line &line) {
        if (line.point == nullptr) {
            add_record(line);
            return;
        }
        const bool was_open = part_.open_before != nullptr && line.point->kind == Kind::exit &&
                              line.pairing == Pairing::complete &&
                              part_.open_before->contains({line.source, entry_of(line).record->sequence});
        switch (line.point->kind) {
        case Kind::entry:
            add_operation(line);
            break;
        case Kind::exit:
            if (line.pairing != Pairing::complete || was_open) {
                add_exit(line);
            }
            break;
        case Kind::failure:
            add_record(line);
            break;
        case Kind::step:
        case Kind::elapsed:
            if (line.operation == kNone && !line.shown_by_exit) {
                add_record(line);
            }
            break;
        }
    }

    void add_operation(const Line &entry) {
        const Operation &operation = trace_.operations[entry.operation];
        begin_line(entry);
        text_ += emphasised(entry, entry.point->text) + main_values_of(entry);
        if (const std::string name = register_of(entry); !name.empty()) {
            text_ += fmt::format(" ({})", name);
        }
        if (operation.exit == kNone) {
            text_ += fmt::format(" {} {}\n", arrow(), note_of(entry.pairing));
            return;
        }
        add_outcome(trace_.lines[operation.exit], operation);
    }

    void add_exit(const Line &exit) {
        begin_line(exit);
        text_ += emphasised(exit, exit.point->text);
        add_outcome(exit, trace_.operations[exit.operation]);
    }

    void add_outcome(const Line &exit, const Operation &operation) {
        const std::string outcome = operation.result     ? fmt::format("{}", *operation.result)
                                    : operation.failed() ? "failed"
                                                         : "done";
        text_ += fmt::format(" {} {}{}", arrow(), in_red_if(operation.failed(), outcome), main_values_of(exit));
        if (exit.elapsed_us) {
            text_ += fmt::format(" in {}", render_duration(*exit.elapsed_us, style_.unicode));
        }
        end_line(exit, {});
    }

    void begin_line(const Line &line) {
        add_gaps();
        text_ += times_.heading(line.record->time_ns);
        const std::string time = times_.next(line.record->time_ns);
        text_ += style_.emphasis ? fmt::format("{}{}{} ", kDim, time, kPlain) : time + " ";
        if (name_writers_) {
            const std::string source = trace_.sources.empty() ? "" : trace_.sources[line.source] + " ";
            text_ += fmt::format("[{}{}] ", source, line.record->writer);
        }
        text_.append(size_t{line.depth} * kIndent, ' ');
    }

    // Notes follow the values in parentheses.
    void end_line(const Line &line, std::vector<std::string> notes) {
        if (const std::string name = register_of(line); !name.empty()) {
            notes.insert(notes.begin(), name);
        }
        if (const std::string_view note = note_of(line.pairing); !note.empty()) {
            notes.emplace_back(note);
        }
        if (line.run_time_us) {
            notes.push_back(fmt::format("run time {} {}", *line.run_time_us, micro()));
        }
        if (!notes.empty()) {
            text_ += fmt::format(" ({})", fmt::join(notes, ", "));
        }
        text_ += '\n';
    }

    std::string emphasised(const Line &line, std::string_view text) const {
        if (!style_.emphasis || line.point->kind == Kind::step || line.point->kind == Kind::elapsed) {
            return std::string(text);
        }
        return fmt::format("{}{}{}", line.point->kind == Kind::failure ? kRed : kBold, text, kPlain);
    }

    std::string in_red_if(bool failed, const std::string &text) const {
        return style_.emphasis && failed ? fmt::format("{}{}{}", kRed, text, kPlain) : text;
    }

    const Line &entry_of(const Line &exit) const { return trace_.lines[trace_.operations[exit.operation].entry]; }
    const char *arrow() const { return style_.unicode ? "→" : "->"; }
    const char *micro() const { return style_.unicode ? "µs" : "us"; }

    const Trace &trace_;
    const TextStyle &style_;
    const TextPart &part_;
    TimeColumn own_times_;
    TimeColumn &times_;
    bool name_writers_;
    std::map<size_t, Gap> gaps_; // by source: what is missing before the next line shown
    std::string text_;
};

} // namespace

std::string render_text(const Trace &trace, const TextStyle &style, const TextPart &part) {
    return Renderer(trace, style, part).render();
}

} // namespace ksltrace
