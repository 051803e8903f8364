// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/ctf.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>

namespace ksltrace {

namespace {

constexpr uint32_t kMagic = 0xC1FC1FC1;

// Everything is whole bytes, little-endian whichever machine exports, and not aligned.
constexpr char kPreamble[] = R"(/* CTF 1.8 */

typealias integer { size = 8; align = 8; signed = false; } := uint8_t;
typealias integer { size = 16; align = 8; signed = false; } := uint16_t;
typealias integer { size = 32; align = 8; signed = false; } := uint32_t;
typealias integer { size = 64; align = 8; signed = false; } := uint64_t;
typealias integer { size = 32; align = 8; signed = true; } := int32_t;
typealias integer { size = 32; align = 8; signed = false; base = hexadecimal; } := hex32_t;

trace {
    major = 1;
    minor = 8;
    byte_order = le;
    packet.header := struct { uint32_t magic; uint32_t stream_id; };
};

)";

constexpr char kClockAndStream[] = R"(
clock {{
    name = writer;
    description = "nanoseconds since 1970-01-01 00:00:00 UTC, by the writer's clock";
    freq = 1000000000;
    offset = 0;
}};

typealias integer {{ size = 64; align = 8; signed = false; map = clock.writer.value; }} := time_t;

stream {{
    id = 0;
    packet.context := struct {{
        uint64_t packet_size;
        uint64_t content_size;
        time_t timestamp_begin;
        time_t timestamp_end;
        uint64_t events_discarded;
    }};
    event.header := struct {{ uint32_t id; time_t timestamp; }};
    event.context := struct {{ uint64_t _sequence; uint32_t _writer; uint16_t _line;{} }};
}};
)";

const char *type_name(ValueType type) {
    switch (type) {
    case ValueType::decimal:
        return "uint32_t";
    case ValueType::signed_int:
        return "int32_t";
    case ValueType::hex:
    case ValueType::address:
    case ValueType::byte:
        break;
    }
    return "hex32_t";
}

// Levels of the format: an error, or information.
int log_level(const Point &point) {
    return point.kind == Kind::failure ? 3 : 6;
}

std::string event_class(uint32_t id, const std::string &name, int level, const std::string &fields) {
    return fmt::format("\nevent {{\n    name = \"{}\";\n    id = {};\n    stream_id = 0;\n    loglevel = {};\n"
                       "    fields := struct {{ {}}};\n}};\n",
                       name, id, level, fields);
}

std::string event_class(uint32_t id, const Point &point) {
    std::string fields;
    for (const Value &value : point.values) {
        fields += fmt::format("{} _{}; ", type_name(value.type), value.name);
    }
    return event_class(id, std::string(point.name), log_level(point), fields);
}

std::string printable_ascii(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const bool is_plain = c >= ' ' && c <= '~' && c != '"' && c != '\\';
        result += is_plain ? c : '?';
    }
    return result;
}

class Bytes {
public:
    template <class Number>
    void add(Number number) {
        for (size_t i = 0; i < sizeof number; ++i) {
            bytes_ += static_cast<char>(number >> (8 * i) & 0xFF);
        }
    }

    void add_string(const std::string &text) { bytes_.append(text.c_str(), text.size() + 1); }

    const std::string &text() const { return bytes_; }

private:
    std::string bytes_;
};

class Export {
public:
    Export(const Trace &trace, const std::vector<bool> &wanted) : sources_(trace.sources) {
        uint64_t lost = 0;
        for (size_t i = 0; i < trace.lines.size(); ++i) {
            const Line &line = trace.lines[i];
            lost += line.lost_before;
            if (wanted[i]) {
                events_.push_back({&line, lost});
                lost = 0;
            }
        }
        lost_at_end_ = lost + trace.lost_at_end;
        // The format wants time to go on; several writers, or a clock that was set back, may not have it so.
        std::stable_sort(events_.begin(), events_.end(), [](const Event &a, const Event &b) {
            return a.line->record->time_ns < b.line->record->time_ns;
        });
    }

    CtfTrace make(const Buffers &buffers) {
        std::string classes;
        std::map<const Point *, uint32_t> ids;
        for (const Event &event : events_) {
            const Point *const point = event.line->point;
            if (const auto [at, is_new] = ids.try_emplace(point, static_cast<uint32_t>(ids.size())); is_new) {
                classes += point != nullptr
                               ? event_class(at->second, *point)
                               : event_class(at->second, "unknown", 6,
                                             "hex32_t _identifier; uint8_t _count; hex32_t _values[_count]; ");
            }
        }
        add_packets(ids);
        const std::string name = is_merged() ? fmt::format("{}", fmt::join(sources_, ", ")) : buffers.front()->name;
        const std::string environment = fmt::format(
            "env {{\n    tracer_name = \"ksltrace\";\n    buffer = \"{}\";\n    trace_library = \"{}\";\n}};\n",
            printable_ascii(name), printable_ascii(buffers.front()->writer));
        const std::string stream = fmt::format(kClockAndStream, is_merged() ? " string _source;" : "");
        return {kPreamble + environment + stream + classes, std::move(stream_)};
    }

private:
    struct Event {
        const Line *line;
        uint64_t lost_before;
    };

    bool is_merged() const { return !sources_.empty(); }

    // A packet ends where records are missing, since it is packets that count them.
    void add_packets(const std::map<const Point *, uint32_t> &ids) {
        uint64_t lost = 0;
        auto begin = events_.begin();
        while (begin != events_.end()) {
            const auto end =
                std::find_if(begin + 1, events_.end(), [](const Event &event) { return event.lost_before > 0; });
            lost += begin->lost_before;
            Bytes events;
            std::for_each(begin, end, [&](const Event &event) { add_event(events, *event.line, ids); });
            add_packet(begin->line->record->time_ns, (end - 1)->line->record->time_ns, lost, events.text());
            begin = end;
        }
        if (lost_at_end_ > 0 && !events_.empty()) {
            const uint64_t time = events_.back().line->record->time_ns;
            add_packet(time, time, lost + lost_at_end_, "");
        }
    }

    void add_packet(uint64_t begin_ns, uint64_t end_ns, uint64_t lost, const std::string &events) {
        constexpr uint64_t kHeaderBytes = 2 * sizeof(uint32_t) + 5 * sizeof(uint64_t);
        Bytes header;
        header.add(kMagic);
        header.add(uint32_t{0});
        const uint64_t bits = (kHeaderBytes + events.size()) * 8;
        header.add(bits);
        header.add(bits);
        header.add(begin_ns);
        header.add(end_ns);
        header.add(lost);
        stream_ += header.text() + events;
    }

    void add_event(Bytes &bytes, const Line &line, const std::map<const Point *, uint32_t> &ids) const {
        const trace_kbuf_record &record = *line.record;
        bytes.add(ids.at(line.point));
        bytes.add(record.time_ns);
        bytes.add(record.sequence);
        bytes.add(record.writer);
        bytes.add(static_cast<uint16_t>(record.line));
        if (is_merged()) {
            bytes.add_string(sources_[line.source]);
        }
        if (line.point == nullptr) {
            bytes.add(record.identifier);
            bytes.add(static_cast<uint8_t>(record.value_count));
        }
        for (uint32_t i = 0; i < record.value_count; ++i) {
            bytes.add(record.values[i]);
        }
    }

    const std::vector<std::string> &sources_;
    std::vector<Event> events_;
    uint64_t lost_at_end_ = 0;
    std::string stream_;
};

} // namespace

CtfTrace render_ctf(const Buffers &buffers, const Trace &trace, const std::vector<bool> &wanted) {
    return Export(trace, wanted).make(buffers);
}

} // namespace ksltrace
