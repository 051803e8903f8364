// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/render_json.h"

#include "ksltrace/render_text.h"

#include <cmath>
#include <fmt/format.h>

namespace ksltrace {

namespace {

using Json = nlohmann::ordered_json;

const char *kind_of(const Line &line) {
    if (line.point == nullptr) {
        return "unknown";
    }
    switch (line.point->kind) {
    case Kind::entry:
        return "entry";
    case Kind::exit:
        return "exit";
    case Kind::failure:
        return "failure";
    case Kind::step:
        return "step";
    case Kind::elapsed:
        break;
    }
    return "elapsed";
}

Json note_of(Lone lone) {
    switch (lone) {
    case Lone::left_early:
        return "left early";
    case Lone::no_exit:
        return "no exit";
    case Lone::no_entry:
        return "entry lost";
    case Lone::no:
        break;
    }
    return nullptr;
}

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
Json rounded(double microseconds) {
    return std::round(microseconds * 1000) / 1000;
}

Json render_line(const Line &line) {
    const trace_kbuf_record &record = *line.record;
    Json json;
    json["sequence"] = record.sequence;
    json["lost_before"] = line.lost_before;
    json["time"] = render_time(record.time_ns);
    json["writer"] = record.writer;
    json["depth"] = line.depth;
    json["identifier"] = fmt::format("0x{:08x}", record.identifier);
    json["line"] = record.line;
    json["kind"] = kind_of(line);
    json["point"] = line.point == nullptr ? Json(nullptr) : Json(line.point->name);
    json["text"] = line.point == nullptr ? Json(nullptr) : Json(line.point->text);
    json["values"] = values_of(line);
    json["note"] = note_of(line.lone);
    json["elapsed_us"] = line.elapsed_us ? rounded(*line.elapsed_us) : Json(nullptr);
    json["run_time_us"] = line.run_time_us ? Json(*line.run_time_us) : Json(nullptr);
    return json;
}

} // namespace

Json render_json(const Trace &trace) {
    Json lines = Json::array();
    for (const Line &line : trace.lines) {
        lines.push_back(render_line(line));
    }
    return lines;
}

} // namespace ksltrace
