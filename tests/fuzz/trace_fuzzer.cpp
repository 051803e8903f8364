// SPDX-License-Identifier: Apache-2.0
// Any bytes as a trace file: first as they are, then with their checksums mended, which random bytes never get past.
#include "require.h"

#include "ksltrace/decoder.h"
#include "ksltrace/render_text.h"

#include <format.h>
#include <image.h>
#include <trace_kbuf_reader.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using namespace fuzz;
using namespace trace_kbuf;

using Bytes = std::vector<uint8_t>;

bool ends_within(const char *text, size_t room) {
    return std::find(text, text + room, '\0') != text + room;
}

void check_texts(const trace_kbuf_snapshot &snapshot) {
    require(ends_within(snapshot.problem, sizeof snapshot.problem) &&
                ends_within(snapshot.name, sizeof snapshot.name) &&
                ends_within(snapshot.writer, sizeof snapshot.writer),
            "texts end within their room");
    require((snapshot.status == TRACE_KBUF_WHOLE) == (snapshot.problem[0] == '\0'),
            "what is not whole has a problem that is told");
}

void check_records(const trace_kbuf_snapshot &snapshot) {
    require(snapshot.record_count <= snapshot.capacity, "a ring holds no more records than fit into it");
    require(snapshot.written == snapshot.overwritten + snapshot.incomplete + snapshot.record_count,
            "every record is there, overwritten or incomplete");
    for (size_t i = 0; i < snapshot.record_count; ++i) {
        const trace_kbuf_record &record = snapshot.records[i];
        require(record.sequence < snapshot.written, "a record was written");
        require(i == 0 || snapshot.records[i - 1].sequence < record.sequence, "records are in their order");
        require(record.value_count <= TRACE_KBUF_VALUES, "a record has nine values at most");
        require(std::all_of(record.values + record.value_count, record.values + TRACE_KBUF_VALUES,
                            [](uint32_t value) { return value == 0; }),
                "values that a record does not have are zero");
    }
}

void check_rendering(const trace_kbuf_snapshot &snapshot) {
    const ksltrace::Trace trace = ksltrace::decode(snapshot, ksltrace::library_catalogue());
    require(trace.lines.size() == snapshot.record_count, "a line for each record");
    const std::string text = ksltrace::render_text(trace);
    size_t expected = trace.lost_at_end > 0 ? 1 : 0;
    for (const ksltrace::Line &line : trace.lines) {
        expected += (line.lost_before > 0 ? 1U : 0U) + (line.told_by_exit ? 0U : 1U);
    }
    require(static_cast<size_t>(std::count(text.begin(), text.end(), '\n')) == expected,
            "a line of text for each record that no other tells, and for what is lost");
    require(std::none_of(text.begin(), text.end(), [](char letter) { return letter == '\x1b' || letter == '\0'; }),
            "nothing in the text steers a terminal");
}

void check(const Bytes &bytes) {
    const std::unique_ptr<trace_kbuf_snapshot, decltype(&trace_kbuf_snapshot_free)> snapshot(
        trace_kbuf_snapshot_bytes(bytes.data(), bytes.size(), "input"), &trace_kbuf_snapshot_free);
    require(snapshot != nullptr, "there is a snapshot of any bytes");
    check_texts(*snapshot);
    check_records(*snapshot);
    check_rendering(*snapshot);
}

void set_word(Bytes &bytes, size_t offset, uint32_t value, std::endian order) {
    for (size_t i = 0; i < sizeof value; ++i) {
        const size_t shift = 8 * (order == std::endian::big ? 3 - i : i);
        bytes[offset + i] = static_cast<uint8_t>(value >> shift);
    }
}

void mend_slots(Bytes &bytes, size_t from, size_t to, std::endian order) {
    for (size_t offset = from; offset + sizeof(Slot) <= to; offset += sizeof(Slot)) {
        const SlotWords words = Image(bytes, order).slot(offset);
        const bool used = std::any_of(words.begin(), words.end(), [](uint32_t word) { return word != 0; });
        // One whose checksum is 0 stays torn.
        if (used && words[kChecksum] != 0) {
            set_word(bytes, offset + kChecksum * sizeof(uint32_t), slot_checksum(words, words[kCommit]), order);
        }
    }
}

void mend(Bytes &bytes) {
    const std::endian order =
        bytes[offsetof(Description, byte_order)] == kByteOrderMark >> 24 ? std::endian::big : std::endian::little;
    set_word(bytes, offsetof(Description, checksum), description_checksum(bytes.data()), order);
    mend_slots(bytes, offsetof(Header, anchors), bytes.size(), order);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *input, size_t size) {
    Bytes bytes(input, input + size);
    check(bytes);
    if (size >= kHeaderBytes) {
        mend(bytes);
        check(bytes);
    }
    return 0;
}
