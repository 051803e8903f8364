// SPDX-License-Identifier: Apache-2.0
// Any bytes as a trace file, read and shown as the tools do it: first as they are, then with their checksums mended,
// which random bytes never get past.
#include "require.h"

#include "ksltrace/ctf.h"
#include "ksltrace/decoder.h"
#include "ksltrace/perfetto.h"
#include "ksltrace/render_text.h"
#include "ksltrace/snapshot.h"
#include "ksltrace/statistics.h"

#include <format.h>
#include <image.h>
#include <trace_kbuf_reader.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using namespace fuzz;
using namespace trace_kbuf;

using Bytes = std::vector<uint8_t>;

bool ends_within(const char *text, size_t room) {
    return std::find(text, text + room, '\0') != text + room;
}

bool steers_a_terminal(const std::string &text) {
    return std::any_of(text.begin(), text.end(), [](char letter) {
        return (static_cast<unsigned char>(letter) < ' ' && letter != '\n' && letter != '\t') || letter == 0x7F;
    });
}

void check_texts(const trace_kbuf_snapshot &snapshot) {
    require(ends_within(snapshot.problem, sizeof snapshot.problem) &&
                ends_within(snapshot.name, sizeof snapshot.name) &&
                ends_within(snapshot.writer, sizeof snapshot.writer),
            "texts end within their room");
    require((snapshot.status == TRACE_KBUF_WHOLE) == (snapshot.problem[0] == '\0'), "what is not whole has a problem");
    require(!steers_a_terminal(snapshot.problem) && !steers_a_terminal(snapshot.name) &&
                !steers_a_terminal(snapshot.writer),
            "nothing that a file says of itself steers a terminal");
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

// The lines that show records, and the number that the others call lost.
struct Lines {
    size_t records = 0;
    uint64_t lost = 0;
};

Lines lines_of(const std::string &text) {
    Lines lines;
    for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
        if (text.compare(at, 3, "-- ") == 0) {
            lines.lost += std::strtoull(&text[at + 3], nullptr, 10);
        } else {
            ++lines.records;
        }
    }
    return lines;
}

void check_text(const ksltrace::Trace &trace) {
    size_t shown = 0;
    uint64_t lost = trace.lost_at_end;
    for (const ksltrace::Line &line : trace.lines) {
        shown += line.shown_by_exit ? 0U : 1U;
        lost += line.lost_before;
    }
    const std::string text = ksltrace::render_text(trace);
    const Lines lines = lines_of(text);
    require(lines.records == shown, "a line of text for each record that no other shows");
    require(lines.lost == lost, "what is lost is shown once");
    const std::string summary = ksltrace::render_text(trace, {.summary = true});
    require(lines_of(summary).lost == lost, "a summary shows it, too");
    require(!steers_a_terminal(text + summary), "nothing in the text steers a terminal");
}

void check_statistics(const ksltrace::Trace &trace, const std::vector<bool> &all) {
    size_t count = 0;
    for (const ksltrace::OperationStatistics &of : ksltrace::statistics_of(trace, all)) {
        require(of.failed + of.no_exit <= of.count, "an operation ended in one way");
        const auto in_order = [](const std::optional<ksltrace::Times> &times) {
            return !times ||
                   (times->least <= times->median && times->median <= times->p99 && times->p99 <= times->most);
        };
        require(in_order(of.elapsed_us) && in_order(of.run_time_us), "the least time comes first");
        count += of.count;
    }
    require(count == trace.operations.size(), "every operation is counted once");
}

void check_rendering(const trace_kbuf_snapshot &snapshot) {
    const ksltrace::Trace trace = ksltrace::decode(snapshot, ksltrace::library_catalogue());
    const std::vector<bool> all(trace.lines.size(), true);
    require(trace.lines.size() == snapshot.record_count, "a line for each record");
    check_text(trace);
    check_statistics(trace, all);
    require(!steers_a_terminal(ksltrace::render_perfetto({&snapshot}, trace, all)), "an export is text");
    const ksltrace::CtfTrace exported = ksltrace::render_ctf({&snapshot}, trace, all);
    require(!steers_a_terminal(exported.metadata), "and so is what describes one");
}

void check(const Bytes &bytes) {
    const ksltrace::Snapshot snapshot = ksltrace::owned(trace_kbuf_snapshot_bytes(bytes.data(), bytes.size(), "input"));
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
        const Image image(bytes, order);
        const SlotWords words = image.slot(offset);
        const uint32_t values = words[kHeaderWord] >> 16 > kFewValues ? kValues : kFewValues;
        const uint32_t checksum = image.version() == 1 ? slot_checksum_of_version_1(words, words[kCommit])
                                                       : slot_checksum(words, words[kCommit], values);
        const bool used = std::any_of(words.begin(), words.end(), [](uint32_t word) { return word != 0; });
        // One whose checksum is 0 stays torn.
        if (used && words[kChecksum] != 0) {
            set_word(bytes, offset + kChecksum * sizeof(uint32_t), checksum, order);
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
