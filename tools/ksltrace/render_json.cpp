// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/render_json.h"

#include "ksltrace/values.h"

#include <cmath>
#include <fmt/core.h>

namespace ksltrace {

namespace {

using tools::Json;

Json values_of(const Line &line) {
    Json values = Json::array();
    for (uint32_t i = 0; i < line.record->value_count; ++i) {
        const uint32_t value = line.record->values[i];
        if (line.point == nullptr) {
            values.push_back({{"name", nullptr}, {"value", value}});
        } else if (line.point->values[i].type == ValueType::signed_int) {
            values.push_back({{"name", line.point->values[i].name}, {"value", static_cast<int32_t>(value)}});
        } else {
            values.push_back({{"name", line.point->values[i].name}, {"value", value}});
        }
    }
    return values;
}

// To the nanosecond; more digits are noise.
double rounded(double microseconds) {
    return std::round(microseconds * 1000) / 1000;
}

Json times_json(const std::optional<Times> &times) {
    if (!times) {
        return nullptr;
    }
    return {{"min", rounded(times->least)},
            {"median", rounded(times->median)},
            {"p99", rounded(times->p99)},
            {"max", rounded(times->most)}};
}

std::string text_of(const Json &json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json buffer_json(const trace_kbuf_snapshot &snapshot) {
    return {{"name", snapshot.name},
            {"writer", snapshot.writer},
            {"byte_order", snapshot.byte_order == TRACE_KBUF_BIG_ENDIAN ? "big" : "little"},
            {"word_bits", snapshot.word_bits},
            {"capacity", snapshot.capacity},
            {"written", snapshot.written},
            {"overwritten", snapshot.overwritten},
            {"incomplete", snapshot.incomplete},
            {"problem", snapshot.status == TRACE_KBUF_WHOLE ? Json(nullptr) : Json(snapshot.problem)}};
}

Json render_line(const Trace &trace, const Line &line) {
    const trace_kbuf_record &record = *line.record;
    Json json;
    if (!trace.sources.empty()) {
        json["source"] = trace.sources[line.source];
    }
    json["sequence"] = record.sequence;
    json["lost_before"] = line.lost_before;
    json["overwritten_before"] = line.overwritten_before;
    json["time"] = render_time(record.time_ns);
    json["writer"] = record.writer;
    json["depth"] = line.depth;
    json["identifier"] = fmt::format("0x{:08x}", record.identifier);
    json["line"] = record.line;
    json["kind"] = line.point == nullptr ? "unknown" : word_of(line.point->kind);
    json["point"] = line.point == nullptr ? Json(nullptr) : Json(line.point->name);
    json["text"] = line.point == nullptr ? Json(nullptr) : Json(line.point->text);
    json["values"] = values_of(line);
    const std::string name = register_of(line);
    json["register"] = name.empty() ? Json(nullptr) : Json(name);
    const std::string_view note = note_of(line.pairing);
    json["note"] = note.empty() ? Json() : Json(note);
    json["elapsed_us"] = line.elapsed_us ? Json(rounded(*line.elapsed_us)) : Json(nullptr);
    json["run_time_us"] = line.run_time_us ? Json(*line.run_time_us) : Json(nullptr);
    return json;
}

} // namespace

Json render_json(const Trace &trace) {
    Json lines = Json::array();
    for (const Line &line : trace.lines) {
        lines.push_back(render_line(trace, line));
    }
    return lines;
}

std::string render_json_lines(const Buffers &buffers, const Trace &trace, const std::vector<bool> &wanted) {
    std::string text;
    for (size_t i = 0; i < buffers.size(); ++i) {
        Json json{{"schema", "ksl.trace/1"}};
        if (!trace.sources.empty()) {
            json["source"] = trace.sources[i];
        }
        json["buffer"] = buffer_json(*buffers[i]);
        json["lost_at_end"] = trace.lost_at_end;
        text += text_of(json);
    }
    for (size_t i = 0; i < trace.lines.size(); ++i) {
        text += wanted[i] ? text_of(render_line(trace, trace.lines[i])) : "";
    }
    return text;
}

std::string render_json(const Buffers &buffers, const Trace &trace,
                        const std::vector<OperationStatistics> &statistics) {
    Json operations = Json::array();
    for (const OperationStatistics &row : statistics) {
        Json codes = Json::array();
        for (const auto &[code, count] : row.codes) {
            codes.push_back({{"code", code}, {"count", count}});
        }
        operations.push_back({{"operation", row.name},
                              {"count", row.count},
                              {"failed", row.failed},
                              {"no_exit", row.no_exit},
                              {"codes", codes},
                              {"elapsed_us", times_json(row.elapsed_us)},
                              {"run_time_us", times_json(row.run_time_us)}});
    }
    Json document{{"schema", "ksl.trace-stats/1"}};
    if (trace.sources.empty()) {
        document["buffer"] = buffer_json(*buffers.front());
    } else {
        document["buffers"] = Json::array();
        for (size_t i = 0; i < buffers.size(); ++i) {
            document["buffers"].push_back({{"source", trace.sources[i]}, {"buffer", buffer_json(*buffers[i])}});
        }
    }
    document["operations"] = operations;
    return text_of(document);
}

} // namespace ksltrace
