// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/decoder.h"

#include <algorithm>
#include <map>

namespace ksltrace {

namespace {

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
        const uint64_t oldest_kept = snapshot.written - std::min<uint64_t>(snapshot.written, snapshot.capacity);
        uint64_t expected = 0;
        for (size_t i = 0; i < trace_.lines.size(); ++i) {
            Line &line = trace_.lines[i];
            line.record = &snapshot.records[i];
            line.lost_before = line.record->sequence > expected ? line.record->sequence - expected : 0;
            if (line.lost_before > 0 && expected < oldest_kept) {
                line.overwritten_before = std::min(line.record->sequence, oldest_kept) - expected;
            }
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
                line.pairing = Pairing::no_exit; // until it is found
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
            trace_.lines[exit].pairing = Pairing::no_entry;
            return;
        }
        for (size_t inner = level; inner < open.size(); ++inner) {
            trace_.lines[open[inner]].pairing = Pairing::left_early;
        }
        const size_t entry = open[level - 1];
        trace_.lines[entry].pairing = Pairing::complete;
        partners_[entry] = exit;
        partners_[exit] = entry;
        open.resize(level - 1);
    }

    struct Writer {
        std::vector<size_t> open;          // operations whose exit is still to come
        size_t entry_without_exit = kNone; // the operation of an entry without exit, as long as its steps follow
        Line *last = nullptr;
    };

    void nest() {
        std::map<uint32_t, Writer> writers;
        for (size_t i = 0; i < trace_.lines.size(); ++i) {
            Line &line = trace_.lines[i];
            Writer &writer = writers[line.record->writer];
            if (is_kind(line, Kind::entry)) {
                enter(i, writer);
            } else if (is_kind(line, Kind::exit)) {
                leave(i, writer);
            } else {
                stay(line, writer);
            }
            writer.last = &line;
        }
    }

    size_t begin_operation(const Line &line, const Writer &writer) {
        Operation operation;
        operation.name = line.point->text;
        operation.parent = writer.open.empty() ? kNone : writer.open.back();
        trace_.operations.push_back(operation);
        return trace_.operations.size() - 1;
    }

    void enter(size_t index, Writer &writer) {
        Line &line = trace_.lines[index];
        line.depth = static_cast<unsigned>(writer.open.size());
        line.operation = begin_operation(line, writer);
        trace_.operations[line.operation].entry = index;
        trace_.operations[line.operation].chip = value_of(line, "chip", ValueType::decimal);
        const bool has_no_exit = partners_[index] == kNone;
        writer.entry_without_exit = has_no_exit ? line.operation : kNone;
        if (!has_no_exit) {
            writer.open.push_back(line.operation);
        }
    }

    void leave(size_t index, Writer &writer) {
        Line &line = trace_.lines[index];
        writer.entry_without_exit = kNone;
        if (partners_[index] != kNone) {
            line.operation = writer.open.back();
            writer.open.pop_back();
            line.elapsed_us = microseconds_between(trace_.lines[partners_[index]], line);
        } else {
            line.operation = begin_operation(line, writer);
        }
        line.depth = static_cast<unsigned>(writer.open.size());
        Operation &operation = trace_.operations[line.operation];
        operation.exit = index;
        if (const std::optional<uint32_t> result = value_of(line, "result", ValueType::signed_int)) {
            operation.result = static_cast<int32_t>(*result);
        }
    }

    void stay(Line &line, Writer &writer) {
        const bool follows_entry = writer.entry_without_exit != kNone;
        line.depth = static_cast<unsigned>(writer.open.size()) + (follows_entry ? 1 : 0);
        if (follows_entry) {
            line.operation = writer.entry_without_exit;
        } else if (!writer.open.empty()) {
            line.operation = writer.open.back();
        }
        if (is_kind(line, Kind::failure) && line.operation != kNone) {
            trace_.operations[line.operation].has_failure = true;
        }
        // The run time is the first record after its operation's exit.
        if (is_kind(line, Kind::elapsed) && writer.last != nullptr && is_kind(*writer.last, Kind::exit)) {
            writer.last->run_time_us = line.record->values[0];
            line.shown_by_exit = true;
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

std::optional<uint32_t> value_of(const Line &line, std::string_view name, ValueType type) {
    if (line.point != nullptr) {
        for (size_t i = 0; i < line.point->values.size(); ++i) {
            if (line.point->values[i].name == name && line.point->values[i].type == type) {
                return line.record->values[i];
            }
        }
    }
    return std::nullopt;
}

Trace decode(const trace_kbuf_snapshot &snapshot, const Catalogue &catalogue) {
    return Decoder(snapshot, catalogue).take();
}

} // namespace ksltrace
