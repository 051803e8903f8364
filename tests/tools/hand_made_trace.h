// SPDX-License-Identifier: Apache-2.0
// Traces made by hand, with a catalogue of their own.
#pragma once

#include "ksltrace/decoder.h"

#include <cstring>
#include <gmock/gmock.h>
#include <vector>

namespace hand_made {

using namespace ksltrace;

constexpr uint32_t kOuterEntry = 1, kOuterExit = 2, kInnerEntry = 3, kInnerExit = 4, kStep = 5, kFailure = 6,
                   kElapsed = 7, kTypes = 8, kBytes = 9, kRegister = 10, kUnknown = 0xDEADBEEF;

constexpr Row kRows[] = {
    {kOuterEntry, Kind::entry, "outer_entry", "chip", "outer"},
    {kOuterExit, Kind::exit, "outer_exit", "result:int", "outer"},
    {kInnerEntry, Kind::entry, "inner_entry", "", "inner"},
    {kInnerExit, Kind::exit, "inner_exit", "", "inner"},
    {kStep, Kind::step, "a_step", "", "a step"},
    {kFailure, Kind::failure, "a_failure", "page:hex", "it failed"},
    {kElapsed, Kind::elapsed, "elapsed", "microseconds", "run time"},
    {kTypes, Kind::step, "types", "count code:int word:hex place:address last:byte", "all types"},
    {kRegister, Kind::failure, "register", "page:hex offset:hex", "register read failed"},
    {kBytes, Kind::step, "bytes", "b0:byte b1:byte b2:byte", "bytes"},
};

inline const Catalogue &catalogue() {
    static const Catalogue made(kRows);
    return made;
}

// 2024-02-29 23:59:58.999999 UTC.
constexpr uint64_t kStart = 1'709'251'198'999'999'000;
constexpr uint32_t kWriter = 100;

// A snapshot that grows record by record. Each record comes a microsecond and 50 ticks after the one before, and has
// the next number.
class Recording {
public:
    Recording &add(uint32_t identifier, const std::vector<uint32_t> &values = {}, uint32_t writer = kWriter) {
        trace_kbuf_record record{};
        record.sequence = next_;
        record.time_ns = kStart + next_ * 1000;
        record.ticks = next_ * 50;
        record.identifier = identifier;
        record.line = 77;
        record.value_count = static_cast<uint32_t>(values.size());
        record.header = record.value_count << 16 | record.line;
        std::copy(values.begin(), values.end(), record.values);
        record.writer = writer;
        records_.push_back(record);
        ++next_;
        return *this;
    }

    Recording &lose(uint64_t count) {
        next_ += count;
        return *this;
    }

    Recording &ticks_per_second(double rate) {
        ticks_per_second_ = rate;
        return *this;
    }

    // So many of the last records fit into the ring.
    Recording &capacity(uint32_t records) {
        capacity_ = records;
        return *this;
    }

    // Valid as long as the recording is and nothing more is added.
    trace_kbuf_snapshot snapshot() {
        trace_kbuf_snapshot snapshot{};
        snapshot.version = 1;
        snapshot.byte_order = TRACE_KBUF_BIG_ENDIAN;
        snapshot.word_bits = 32;
        std::strcpy(snapshot.name, "HAND");
        std::strcpy(snapshot.writer, "made by hand");
        snapshot.ticks_per_second = ticks_per_second_;
        snapshot.capacity = capacity_;
        snapshot.written = next_;
        snapshot.record_count = records_.size();
        snapshot.records = records_.data();
        return snapshot;
    }
    Trace decode() { return ksltrace::decode(snapshot(), catalogue()); }

private:
    std::vector<trace_kbuf_record> records_;
    uint64_t next_ = 0;
    double ticks_per_second_ = 1e6;
    uint32_t capacity_ = 1000;
};

} // namespace hand_made
