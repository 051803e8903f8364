// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/decoder.h"

#include <map>

namespace ksltrace {

namespace {

constexpr size_t kNone = SIZE_MAX;

bool is_kind(const Line &line, Kind kind) {
    return line.point != nullptr && line.point->kind == kind;
}

class Decoder {
public:
    Decoder(const trace_kbuf_snapshot &snapshot, const Catalogue &catalogue)
        : ticks_per_second_(snapshot.ticks_per_second), partners_(snapshot.record_count, kNone) {
        trace_.lines.resize(snapshot.record_count);
        identify(snapshot, catalogue);
        pair();
        nest();
    }

    Trace take() { return std::move(trace_); }

private:
    // Finds each record's trace point, and the gaps between the records.
    void identify(const trace_kbuf_snapshot &snapshot, const Catalogue &catalogue) {
        uint64_t expected = 0;
        for (size_t i = 0; i < trace_.lines.size(); ++i) {
            Line &line = trace_.lines[i];
            line.record = &snapshot.records[i];
            line.lost_before = line.record->sequence > expected ? line.record->sequence - expected : 0;
            expected = line.record->sequence + 1;

            line.point = catalogue.find(line.record->identifier);
            line.values_differ = line.point != nullptr && line.point->values.size() != line.record->value_count;
            if (line.values_differ) {
                line.point = nullptr;
            }
        }
        trace_.lost_at_end = snapshot.written > expected ? snapshot.written - expected : 0;
    }

    // Finds the exit of each entry.
    void pair() {
        std::map<uint32_t, std::vector<size_t>> open_entries;
        for (size_t i = 0; i < trace_.lines.size(); ++i) {
            Line &line = trace_.lines[i];
            std::vector<size_t> &open = open_entries[line.record->writer];
            if (is_kind(line, Kind::entry)) {
                line.lone = Lone::no_exit; // until it is found
                open.push_back(i);
            } else if (is_kind(line, Kind::exit)) {
                close(i, open);
            }
        }
    }

    void close(size_t exit, std::vector<size_t> &open) {
        const Point &point = *trace_.lines[exit].point;
        size_t level = open.size();
        while (level > 0 && trace_.lines[open[level - 1]].point->text != point.text) {
            --level;
        }
        if (level == 0) {
            trace_.lines[exit].lone = Lone::no_entry;
            return;
        }
        for (size_t inner = level; inner < open.size(); ++inner) {
            trace_.lines[open[inner]].lone = Lone::left_early;
        }
        const size_t entry = open[level - 1];
        trace_.lines[entry].lone = Lone::no;
        partners_[entry] = exit;
        partners_[exit] = entry;
        open.resize(level - 1);
    }

    struct Writer {
        unsigned depth = 0;
        bool behind_lone_entry = false;
        Line *last = nullptr;
    };

    void nest() {
        std::map<uint32_t, Writer> writers;
        for (size_t i = 0; i < trace_.lines.size(); ++i) {
            Line &line = trace_.lines[i];
            Writer &writer = writers[line.record->writer];
            if (is_kind(line, Kind::entry)) {
                line.depth = writer.depth;
                writer.behind_lone_entry = partners_[i] == kNone;
                writer.depth += writer.behind_lone_entry ? 0 : 1;
            } else if (is_kind(line, Kind::exit)) {
                writer.behind_lone_entry = false;
                if (partners_[i] != kNone) {
                    --writer.depth;
                    line.elapsed_us = microseconds_between(trace_.lines[partners_[i]], line);
                }
                line.depth = writer.depth;
            } else {
                line.depth = writer.depth + (writer.behind_lone_entry ? 1 : 0);
                // The run time is the first record behind its operation's exit.
                if (is_kind(line, Kind::elapsed) && writer.last != nullptr && is_kind(*writer.last, Kind::exit)) {
                    writer.last->run_time_us = line.record->values[0];
                    line.told_by_exit = true;
                }
            }
            writer.last = &line;
        }
    }

    double microseconds_between(const Line &entry, const Line &exit) const {
        constexpr double kMicroseconds = 1e6;
        if (ticks_per_second_ > 0) {
            return static_cast<double>(static_cast<int64_t>(exit.record->ticks - entry.record->ticks)) /
                   ticks_per_second_ * kMicroseconds;
        }
        return static_cast<double>(static_cast<int64_t>(exit.record->time_ns - entry.record->time_ns)) / 1e3;
    }

    double ticks_per_second_;
    std::vector<size_t> partners_; // of an entry its exit and of an exit its entry, by index
    Trace trace_;
};

} // namespace

Trace decode(const trace_kbuf_snapshot &snapshot, const Catalogue &catalogue) {
    return Decoder(snapshot, catalogue).take();
}

} // namespace ksltrace
