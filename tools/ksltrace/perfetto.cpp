// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/perfetto.h"

#include "ksltrace/values.h"
#include "support/json.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <set>

namespace ksltrace {

namespace {

using tools::Json;

// A process for each file: a trace does not say which threads are of one process.
size_t process_of(const Line &line) {
    return line.source + 1;
}

class Events {
public:
    Events(const Trace &trace, const std::vector<bool> &wanted) : trace_(trace), wanted_(wanted) {
        for (size_t i = 0; i < trace.lines.size(); ++i) {
            if (wanted[i]) {
                // Clocks may be set back.
                start_ns_ = std::min(start_ns_, trace.lines[i].record->time_ns);
            }
        }
        find_ends();
    }

    uint64_t start_ns() const { return start_ns_ == UINT64_MAX ? 0 : start_ns_; }

    Json make(const std::vector<std::string> &names) {
        for (size_t i = 0; i < names.size(); ++i) {
            add({{"ph", "M"},
                 {"name", "process_name"},
                 {"pid", i + 1},
                 {"args", {{"name", "trace buffer " + names[i]}}}});
        }
        uint64_t lost = 0;
        for (size_t i = 0; i < trace_.lines.size(); ++i) {
            const Line &line = trace_.lines[i];
            lost += line.lost_before;
            if (!wanted_[i]) {
                continue;
            }
            name_writer(line);
            if (lost > 0) {
                add_gap(lost, line);
                lost = 0;
            }
            add_line(line);
        }
        if (lost + trace_.lost_at_end > 0 && !trace_.lines.empty()) {
            add_gap(lost + trace_.lost_at_end, trace_.lines.back());
        }
        return std::move(events_);
    }

private:
    // An operation without an exit lasts as long as what is known to have happened in it.
    void find_ends() {
        ends_.resize(trace_.operations.size());
        for (const Line &line : trace_.lines) {
            if (line.operation != kNone) {
                ends_[line.operation] = line.record->time_ns;
            }
        }
    }

    void name_writer(const Line &line) {
        const uint32_t writer = line.record->writer;
        if (named_.insert({line.source, writer}).second) {
            add({{"ph", "M"},
                 {"name", "thread_name"},
                 {"pid", process_of(line)},
                 {"tid", writer},
                 {"args", {{"name", fmt::format("writer {}", writer)}}}});
        }
    }

    void add_line(const Line &line) {
        if (line.point == nullptr) {
            add_instant(line, fmt::format("0x{:08x}", line.record->identifier), "unknown");
        } else if (line.point->kind == Kind::entry) {
            add_operation(line);
        } else if (line.point->kind == Kind::exit) {
            if (line.pairing == Pairing::no_entry) {
                add_instant(line, std::string(line.point->text) + " (entry lost)", "exit");
            }
        } else if (!line.shown_by_exit) {
            add_instant(line, std::string(line.point->text), std::string(word_of(line.point->kind)));
        }
    }

    void add_operation(const Line &entry) {
        const Operation &operation = trace_.operations[entry.operation];
        Json args = values_of(entry);
        double duration = span_us(entry.record->time_ns, ends_[entry.operation]);
        if (operation.exit != kNone) {
            const Line &exit = trace_.lines[operation.exit];
            args.update(values_of(exit));
            args["failed"] = operation.failed();
            duration = exit.elapsed_us.value_or(duration);
            if (exit.run_time_us) {
                args["run_time_us"] = *exit.run_time_us;
            }
        } else {
            args["note"] = entry.pairing == Pairing::left_early ? "left early" : "no exit";
        }
        Json event = event_at(entry, "X", std::string(operation.name));
        event["dur"] = std::max(std::round(duration * 1e3) / 1e3, 0.0); // to the nanosecond, as the times
        event["cat"] = operation.failed() ? "operation,failed" : "operation";
        if (operation.failed()) {
            event["cname"] = "terrible"; // red, in viewers that take colours
        }
        event["args"] = std::move(args);
        add(std::move(event));
    }

    void add_instant(const Line &line, const std::string &name, const std::string &category) {
        Json event = event_at(line, "i", name);
        event["s"] = "t";
        event["cat"] = category;
        event["args"] = values_of(line);
        add(std::move(event));
    }

    void add_gap(uint64_t lost, const Line &near) {
        Json event = event_at(near, "i", fmt::format("{} {} lost", lost, lost == 1 ? "record" : "records"));
        event["s"] = "g";
        event["cat"] = "gap";
        event["args"] = {{"lost", lost}};
        add(std::move(event));
    }

    Json event_at(const Line &line, const char *phase, const std::string &name) const {
        return {{"ph", phase},
                {"name", name},
                {"pid", process_of(line)},
                {"tid", line.record->writer},
                {"ts", span_us(start_ns_, line.record->time_ns)}};
    }

    static double span_us(uint64_t from_ns, uint64_t to_ns) {
        return static_cast<double>(static_cast<int64_t>(to_ns - from_ns)) / 1e3;
    }

    static Json values_of(const Line &line) {
        Json values = Json::object();
        for (uint32_t i = 0; i < line.record->value_count; ++i) {
            const uint32_t value = line.record->values[i];
            if (line.point == nullptr) {
                values[fmt::format("v{}", i)] = fmt::format("0x{:08x}", value);
                continue;
            }
            const auto &[name, type] = line.point->values[i];
            Json &place = values[std::string(name)];
            if (type == ValueType::decimal) {
                place = value;
            } else if (type == ValueType::signed_int) {
                place = static_cast<int32_t>(value);
            } else {
                place = render_value(type, value);
            }
        }
        if (const std::string name = register_of(line); !name.empty()) {
            values["register"] = name;
        }
        return values;
    }

    void add(Json event) { events_.push_back(std::move(event)); }

    const Trace &trace_;
    const std::vector<bool> &wanted_;
    uint64_t start_ns_ = UINT64_MAX;
    std::vector<uint64_t> ends_; // by operation: time of the last record in it
    std::set<std::pair<size_t, uint32_t>> named_;
    Json events_ = Json::array();
};

} // namespace

std::string render_perfetto(const Buffers &buffers, const Trace &trace, const std::vector<bool> &wanted) {
    Events events(trace, wanted);
    std::vector<std::string> names = trace.sources;
    std::string buffer = fmt::format("{}", fmt::join(names, ", "));
    if (names.empty()) {
        buffer = buffers.front()->name;
        names.push_back(buffer);
    }
    const Json document = {{"displayTimeUnit", "ns"},
                           {"otherData", {{"buffer", buffer}, {"start", render_time(events.start_ns())}}},
                           {"traceEvents", events.make(names)}};
    return document.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace ksltrace
