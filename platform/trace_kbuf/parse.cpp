// SPDX-License-Identifier: Apache-2.0
#include "parse.h"

#include "image.h"
#include "timeline.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <vector>

namespace trace_kbuf {

namespace {

using Snapshot = std::unique_ptr<trace_kbuf_snapshot, decltype(&trace_kbuf_snapshot_free)>;

Snapshot make_snapshot() {
    return {new trace_kbuf_snapshot{}, &trace_kbuf_snapshot_free};
}

// The first problem found is the one that is reported.
void report(trace_kbuf_snapshot &snapshot, trace_kbuf_status status, const std::string &label,
            const std::string &problem) {
    if (snapshot.status == TRACE_KBUF_WHOLE) {
        snapshot.status = status;
        (void)std::snprintf(snapshot.problem, sizeof snapshot.problem, "%s: %s", label.c_str(), problem.c_str());
    }
}

uint32_t count_records(const Image &image) {
    uint32_t count = 0;
    for (size_t offset = kHeaderBytes; offset + sizeof(Slot) <= image.size(); offset += sizeof(Slot)) {
        SlotWords words = image.slot(offset);
        count += image.is_record(words, 0, 1);
    }
    return count;
}

// A damaged mark is made good by what the slots look like.
std::endian byte_order(std::span<const unsigned char> bytes) {
    const Image little(bytes, std::endian::little);
    const Image big(bytes, std::endian::big);
    constexpr size_t mark = offsetof(Description, byte_order);
    if (little.word(mark) == kByteOrderMark || big.word(mark) == kByteOrderMark) {
        return little.word(mark) == kByteOrderMark ? std::endian::little : std::endian::big;
    }
    return count_records(little) >= count_records(big) ? std::endian::little : std::endian::big;
}

template <size_t Room>
void copy_text(char (&text)[Room], const unsigned char *from) {
    std::memcpy(text, from, Room - 1);
    text[Room - 1] = '\0';
}

void read_description(const Image &image, trace_kbuf_snapshot &snapshot) {
    snapshot.version = image.version();
    snapshot.byte_order = image.order() == std::endian::big ? TRACE_KBUF_BIG_ENDIAN : TRACE_KBUF_LITTLE_ENDIAN;
    snapshot.word_bits = image.word(offsetof(Description, word_bits));
    snapshot.size = image.word(offsetof(Description, size));
    copy_text(snapshot.name, image.at(offsetof(Description, name)));
    copy_text(snapshot.writer, image.at(offsetof(Description, writer)));
}

// The checksum covers the byte-order mark too.
bool description_is_good(const Image &image) {
    const uint32_t size = image.word(offsetof(Description, size));
    return image.word(offsetof(Description, checksum)) == description_checksum(image.at(0)) &&
           std::has_single_bit(size) && size >= kMinSize && size <= kMaxSize;
}

// A number of 64 bits from its low half, counted back from a later or equal one.
uint64_t extend(uint64_t later, uint32_t low) {
    return later - static_cast<uint32_t>(static_cast<uint32_t>(later) - low);
}

trace_kbuf_record record_of(const SlotWords &words) {
    trace_kbuf_record record{};
    record.sequence = words[kCommit];
    record.ticks = (uint64_t{words[kTicksHigh]} << 32) | words[kTicksLow];
    record.identifier = words[kIdentifier];
    record.header = words[kHeaderWord];
    record.line = record.header & 0xffff;
    record.value_count = std::min<uint32_t>(record.header >> 16, TRACE_KBUF_VALUES);
    std::copy_n(&words[kFirstValue], record.value_count, record.values);
    record.writer = words[kWriter];
    return record;
}

std::vector<trace_kbuf_record> good_records(const Image &image, uint32_t capacity) {
    std::vector<trace_kbuf_record> records;
    const size_t present = std::min<size_t>(capacity, (image.size() - kHeaderBytes) / sizeof(Slot));
    for (uint32_t i = 0; i < present; ++i) {
        SlotWords words = image.slot(kHeaderBytes + i * sizeof(Slot));
        if (image.is_record(words, i, capacity)) {
            records.push_back(record_of(words));
        }
    }
    return records;
}

// Widens the sequence numbers to 64 bits and puts the records in order. Returns the number written in all,
// which is more than `head` when the head is damaged and comes after a record.
uint64_t put_in_order(std::vector<trace_kbuf_record> &records, uint64_t head) {
    uint64_t end = head;
    for (const trace_kbuf_record &record : records) {
        const auto ahead = static_cast<int32_t>(static_cast<uint32_t>(record.sequence) - static_cast<uint32_t>(head));
        if (ahead >= 0) {
            end = std::max(end, head + static_cast<uint32_t>(ahead) + 1);
        }
    }
    const bool first_turn_only = std::all_of(records.begin(), records.end(), [&](const trace_kbuf_record &record) {
        return extend(end - 1, static_cast<uint32_t>(record.sequence)) < end;
    });
    if (!records.empty() && !first_turn_only) {
        end += uint64_t{1} << 32; // the count of the head's own turns is lost
    }
    for (trace_kbuf_record &record : records) {
        record.sequence = extend(end - 1, static_cast<uint32_t>(record.sequence));
    }
    std::sort(records.begin(), records.end(),
              [](const trace_kbuf_record &a, const trace_kbuf_record &b) { return a.sequence < b.sequence; });
    return end;
}

void read_records(const Image &image, trace_kbuf_snapshot &snapshot, const std::string &label) {
    std::vector<trace_kbuf_record> records = good_records(image, snapshot.capacity);
    const uint64_t head = (uint64_t{image.word(offsetof(Header, turns))} << 32) | image.word(offsetof(Header, head));
    snapshot.written = put_in_order(records, head);
    if (snapshot.written != head) {
        report(snapshot, TRACE_KBUF_DAMAGED, label, "damaged: its count of records is lower than the newest record's");
    }

    const uint64_t oldest_kept = snapshot.written - std::min<uint64_t>(snapshot.written, snapshot.capacity);
    const auto kept =
        static_cast<uint64_t>(std::count_if(records.begin(), records.end(), [&](const trace_kbuf_record &record) {
            return record.sequence >= oldest_kept;
        }));
    snapshot.incomplete = snapshot.written - oldest_kept - kept;
    snapshot.overwritten = snapshot.written - snapshot.incomplete - records.size();

    const Timeline timeline(image, snapshot.written);
    snapshot.ticks_per_second = timeline.ticks_per_second();
    for (trace_kbuf_record &record : records) {
        record.time_ns = timeline.time_ns(record.sequence, record.ticks);
    }
    if (timeline.empty() && !records.empty()) {
        report(snapshot, TRACE_KBUF_DAMAGED, label,
               "damaged: what ties its ticks to the clock is lost, times are unknown");
    }
    snapshot.records = new trace_kbuf_record[records.size()];
    snapshot.record_count = records.size();
    std::copy(records.begin(), records.end(), snapshot.records);
}

} // namespace

trace_kbuf_snapshot *problem_snapshot(trace_kbuf_status status, const std::string &label, const std::string &problem) {
    Snapshot snapshot = make_snapshot();
    report(*snapshot, status, label, problem);
    return snapshot.release();
}

trace_kbuf_snapshot *parse(std::span<const unsigned char> bytes, const std::string &label) {
    if (bytes.empty()) {
        return problem_snapshot(TRACE_KBUF_EMPTY, label, "empty, there is no trace in it");
    }
    const size_t compared = std::min(bytes.size(), sizeof kMagic);
    if (std::memcmp(bytes.data(), kMagic.data(), compared) != 0) {
        return problem_snapshot(TRACE_KBUF_NOT_A_TRACE, label, "not a trace file");
    }
    if (bytes.size() < sizeof(Description)) {
        return problem_snapshot(TRACE_KBUF_CUT_SHORT, label, "cut short: not even its description is whole");
    }
    const Image image(bytes, byte_order(bytes));
    Snapshot snapshot = make_snapshot();
    read_description(image, *snapshot);
    if (snapshot->version != 1 && snapshot->version != kVersion) {
        report(*snapshot, TRACE_KBUF_UNKNOWN_VERSION, label,
               "a trace file of version " + std::to_string(snapshot->version) + ", only versions 1 and " +
                   std::to_string(kVersion) + " can be read");
        return snapshot.release();
    }
    const bool good = description_is_good(image);
    if (!good) {
        const size_t room = bytes.size() - std::min(bytes.size(), kHeaderBytes);
        snapshot->size = static_cast<uint32_t>(std::bit_floor(std::min<size_t>(room, kMaxSize)));
    }
    snapshot->capacity = snapshot->size / static_cast<uint32_t>(sizeof(Slot));
    const size_t whole = kHeaderBytes + snapshot->size;
    if (bytes.size() < whole) {
        report(*snapshot, TRACE_KBUF_CUT_SHORT, label,
               "cut short: " + std::to_string(bytes.size()) + " of " + std::to_string(whole) + " bytes");
    }
    if (!good) {
        report(*snapshot, TRACE_KBUF_DAMAGED, label, "damaged: its description contradicts itself");
    }
    if (bytes.size() >= kHeaderBytes) {
        read_records(image, *snapshot, label);
    }
    return snapshot.release();
}

} // namespace trace_kbuf

extern "C" void trace_kbuf_snapshot_free(trace_kbuf_snapshot *snapshot) {
    if (snapshot != nullptr) {
        delete[] snapshot->records;
        delete snapshot;
    }
}
