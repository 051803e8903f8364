// SPDX-License-Identifier: Apache-2.0
// What a reader makes of files that are short, damaged, strange, of the other byte order, or at the end of
// 32-bit numbers.
#include "trace_files.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>

using namespace trace_files;
using namespace trace_kbuf;

namespace {

constexpr size_t kHead = offsetof(Header, head);
constexpr size_t kTurns = offsetof(Header, turns);

class Damage : public TraceTest {
protected:
    // The file of a ring of 64 with `count` numbered records.
    Bytes image_with(uint32_t count) { return read_bytes(file_with(count)); }

    static void expect_records(const Snapshot &snapshot, const std::vector<uint32_t> &numbers) {
        ASSERT_EQ(snapshot->record_count, numbers.size());
        for (size_t i = 0; i < numbers.size(); ++i) {
            EXPECT_EQ(snapshot->records[i].identifier, numbers[i]);
            EXPECT_TRUE(is_numbered(snapshot->records[i]));
        }
    }

    static std::vector<uint32_t> numbers(uint32_t first, uint32_t end) {
        std::vector<uint32_t> result;
        for (uint32_t i = first; i < end; ++i) {
            result.push_back(i);
        }
        return result;
    }
};

TEST_F(Damage, AMissingFileIsNamed) {
    const Snapshot snapshot = of_file(path("none"));
    EXPECT_EQ(snapshot->status, TRACE_KBUF_UNREADABLE);
    EXPECT_EQ(snapshot->problem, path("none") + ": cannot be read: No such file or directory");
    EXPECT_EQ(of_file(folder_)->problem, folder_ + ": cannot be read: Is a directory");
    EXPECT_EQ(snapshot->record_count, 0u);
}

TEST_F(Damage, AnEmptyFileIsNamed) {
    write_bytes(path("empty"), {});
    EXPECT_EQ(of_file(path("empty"))->status, TRACE_KBUF_EMPTY);
    EXPECT_EQ(of_file(path("empty"))->problem, path("empty") + ": empty, there is no trace in it");
    EXPECT_EQ(of_bytes({})->status, TRACE_KBUF_EMPTY);
}

TEST_F(Damage, SomethingElseIsNotATrace) {
    const Bytes strange[] = {{'x'}, Bytes(100'000, 'x'), Bytes(8192, 0), {'T', 'R', 'C', 'E', 'K', 'B', 'U', 'X'}};
    for (const Bytes &bytes : strange) {
        EXPECT_EQ(of_bytes(bytes)->status, TRACE_KBUF_NOT_A_TRACE);
        EXPECT_STREQ(of_bytes(bytes)->problem, "bytes: not a trace file");
    }
}

TEST_F(Damage, APipeWithoutAWriterIsEmpty) {
    ASSERT_EQ(mkfifo(path("pipe.kbuf").c_str(), 0600), 0);
    EXPECT_EQ(of_file(path("pipe.kbuf"))->status, TRACE_KBUF_EMPTY);
}

TEST_F(Damage, APipeIsReadAsItComes) {
    const std::string file = file_with(40);
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const int end = ::open(path("pipe").c_str(), O_RDWR);
    std::thread writer([&] {
        const Bytes bytes = read_bytes(file);
        for (size_t at = 0; at < bytes.size(); at += 512) {
            usleep(1000);
            EXPECT_EQ(write(end, &bytes[at], 512), 512);
        }
        close(end);
    });
    EXPECT_EQ(of_file(path("pipe"))->record_count, 40u);
    writer.join();
}

TEST_F(Damage, AnEndlessFileIsNotReadForEver) {
    EXPECT_EQ(of_file("/dev/zero")->status, TRACE_KBUF_NOT_A_TRACE);
}

TEST_F(Damage, AnotherVersionIsNamed) {
    Bytes bytes = image_with(3);
    set_word(bytes, offsetof(Description, version), 7);
    const Snapshot snapshot = of_bytes(bytes);
    EXPECT_EQ(snapshot->status, TRACE_KBUF_UNKNOWN_VERSION);
    EXPECT_STREQ(snapshot->problem, "bytes: a trace file of version 7, only versions 1 and 2 can be read");
    EXPECT_EQ(snapshot->version, 7u);
    EXPECT_EQ(snapshot->record_count, 0u);
}

TEST_F(Damage, WhatIsLeftOfAFileCutShortIsRead) {
    const Bytes whole = image_with(40);
    for (size_t length = 1; length < whole.size(); length += length < 200 ? 1 : 61) {
        const Snapshot snapshot = of_bytes(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length)));
        ASSERT_EQ(snapshot->status, TRACE_KBUF_CUT_SHORT) << length;
        const size_t slots = length < kHeaderBytes ? 0 : (length - kHeaderBytes) / sizeof(Slot);
        expect_records(snapshot, numbers(0, static_cast<uint32_t>(std::min<size_t>(slots, 40))));
        if (length >= kHeaderBytes) {
            ASSERT_EQ(snapshot->problem,
                      "bytes: cut short: " + std::to_string(length) + " of " + std::to_string(whole.size()) + " bytes");
            ASSERT_EQ(snapshot->written, 40u);
            ASSERT_EQ(snapshot->incomplete, 40 - snapshot->record_count);
            ASSERT_EQ(snapshot->overwritten, 0u);
        }
    }
    EXPECT_STREQ(of_bytes({'T', 'R'})->problem, "bytes: cut short: not even its description is whole");
}

TEST_F(Damage, ATornRecordIsNeverShown) {
    const Bytes good = image_with(10);
    for (uint32_t word_index = 0; word_index < kSlotWords; ++word_index) {
        Bytes bytes = good;
        set_word(bytes, slot_at(4) + 4 * word_index, 0x12345678);
        const Snapshot snapshot = of_bytes(bytes);
        EXPECT_EQ(snapshot->status, TRACE_KBUF_WHOLE);
        expect_records(snapshot, {0, 1, 2, 3, 5, 6, 7, 8, 9});
        EXPECT_EQ(snapshot->records[4].sequence, 5u);
        EXPECT_EQ(snapshot->written, 10u);
        EXPECT_EQ(snapshot->incomplete, 1u);
        EXPECT_EQ(snapshot->overwritten, 0u);
    }
}

// The writer of record 104 took its number and was stopped before, between, or after most of its words.
TEST_F(Damage, AWriterStoppedInMidRecordSpoilsOnlyItsOwn) {
    const Bytes before = image_with(104); // slot 40 holds record 40
    uint32_t descriptor = open("FILE");
    write_numbered(descriptor, 104);
    trace_kbuf_free(&descriptor);
    const Bytes after = read_bytes(path("FILE.kbuf"));
    const size_t slot = slot_at(40);
    ASSERT_EQ(word(before, slot), 40u);
    ASSERT_EQ(word(after, slot), 104u);

    Bytes bytes = after;
    std::copy_n(&before[slot], sizeof(Slot), &bytes[slot]);
    Snapshot snapshot = of_bytes(bytes); // not begun: the old record is still good
    expect_records(snapshot, numbers(40, 104));
    EXPECT_EQ(snapshot->written, 105u);
    EXPECT_EQ(snapshot->incomplete, 1u);
    EXPECT_EQ(snapshot->overwritten, 40u);

    set_word(bytes, slot, ~104u);
    for (size_t done = 4; done <= sizeof(Slot); done += 4) {
        snapshot = of_bytes(bytes);
        expect_records(snapshot, numbers(41, 104));
        EXPECT_EQ(snapshot->written, 105u);
        EXPECT_EQ(snapshot->incomplete, 1u);
        EXPECT_EQ(snapshot->overwritten, 41u);
        if (done < sizeof(Slot)) {
            std::copy_n(&after[slot + done], 4, &bytes[slot + done]);
        }
    }
}

// The writer of record 40 was stopped in mid-record, the ring turned, record 104 took the slot, and then the
// old writer wrote the rest of its words and its commit word over it.
TEST_F(Damage, AWriterStoppedForAWholeTurnLeavesNoMixture) {
    const Bytes early = image_with(64);
    uint32_t descriptor = open("FILE");
    for (uint32_t i = 64; i < 128; ++i) {
        write_numbered(descriptor, i);
    }
    trace_kbuf_free(&descriptor);
    const Bytes late = read_bytes(path("FILE.kbuf"));
    const size_t slot = slot_at(40);
    for (size_t resumed = 2; resumed <= kSlotWords; ++resumed) {
        Bytes bytes = late;
        std::copy_n(&early[slot + resumed * 4], sizeof(Slot) - resumed * 4, &bytes[slot + resumed * 4]);
        std::copy_n(&early[slot], 4, &bytes[slot]);
        const Snapshot snapshot = of_bytes(bytes);
        ASSERT_EQ(snapshot->record_count, 63u) << resumed;
        EXPECT_EQ(snapshot->incomplete, 1u);
        for (size_t i = 0; i < 63; ++i) {
            EXPECT_TRUE(is_numbered(snapshot->records[i]));
        }
    }
    // Stopped before its first word: a whole record, only an old one. It is shown in its place.
    Bytes bytes = late;
    std::copy_n(&early[slot], sizeof(Slot), &bytes[slot]);
    const Snapshot snapshot = of_bytes(bytes);
    ASSERT_EQ(snapshot->record_count, 64u);
    EXPECT_EQ(snapshot->records[0].identifier, 40u);
    EXPECT_EQ(snapshot->records[0].sequence, 40u);
    EXPECT_EQ(snapshot->records[1].sequence, 64u);
    EXPECT_EQ(snapshot->incomplete, 1u);
    EXPECT_EQ(snapshot->overwritten, 63u);
}

TEST_F(Damage, RecordsAroundADamageAreRead) {
    Bytes bytes = image_with(60);
    std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(slot_at(20)) + 30, 1000, static_cast<unsigned char>(0xa5));
    const Snapshot snapshot = of_bytes(bytes);
    std::vector<uint32_t> left = numbers(0, 20);
    for (uint32_t i = 37; i < 60; ++i) {
        left.push_back(i);
    }
    expect_records(snapshot, left);
    EXPECT_EQ(snapshot->incomplete, 17u);
}

TEST_F(Damage, RecordsAreReadWithoutAGoodDescription) {
    const Bytes good = image_with(80);
    for (const size_t offset :
         {offsetof(Description, byte_order), offsetof(Description, word_bits), offsetof(Description, size),
          offsetof(Description, checksum), offsetof(Description, name)}) {
        Bytes bytes = good;
        set_word(bytes, offset, 0xdeadbeef);
        const Snapshot snapshot = of_bytes(bytes);
        EXPECT_EQ(snapshot->status, TRACE_KBUF_DAMAGED) << offset;
        EXPECT_STREQ(snapshot->problem, "bytes: damaged: its description contradicts itself");
        EXPECT_EQ(snapshot->capacity, 64u);
        expect_records(snapshot, numbers(16, 80));
    }
}

TEST_F(Damage, RecordsAreReadWithoutAGoodHead) {
    Bytes bytes = image_with(80);
    set_word(bytes, kHead, 30);
    const Snapshot snapshot = of_bytes(bytes);
    EXPECT_EQ(snapshot->status, TRACE_KBUF_DAMAGED);
    EXPECT_STREQ(snapshot->problem, "bytes: damaged: its count of records is lower than the newest record's");
    EXPECT_EQ(snapshot->written, 80u);
    expect_records(snapshot, numbers(16, 80));
}

TEST_F(Damage, RecordsAreReadWithoutAnchors) {
    Bytes bytes = image_with(3);
    std::fill_n(bytes.begin() + offsetof(Header, anchors), kAnchors * sizeof(Slot), static_cast<unsigned char>(0));
    const Snapshot snapshot = of_bytes(bytes);
    EXPECT_EQ(snapshot->status, TRACE_KBUF_DAMAGED);
    EXPECT_STREQ(snapshot->problem, "bytes: damaged: what ties its ticks to the clock is lost, times are unknown");
    expect_records(snapshot, {0, 1, 2});
    EXPECT_EQ(snapshot->records[2].time_ns, 0u);
    EXPECT_NE(snapshot->records[2].ticks, 0u);
    EXPECT_EQ(snapshot->ticks_per_second, 0);
}

TEST_F(Damage, NumbersGoOnPast32Bits) {
    const std::string file = file_with(0);
    Bytes bytes = read_bytes(file);
    set_word(bytes, kHead, 0xffffffe0);
    set_word(bytes, kTurns, 5);
    write_bytes(file, bytes);
    const uint64_t start = (uint64_t{5} << 32) + 0xffffffe0;
    for (uint32_t done = 0; done < 100; ++done) {
        uint32_t descriptor = open("FILE");
        write_numbered(descriptor, done);
        trace_kbuf_free(&descriptor);
        const Snapshot snapshot = of_file(file);
        const uint32_t kept = std::min(done + 1, 64u);
        ASSERT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
        ASSERT_EQ(snapshot->written, start + done + 1);
        ASSERT_EQ(snapshot->record_count, kept);
        for (uint32_t i = 0; i < kept; ++i) {
            ASSERT_EQ(snapshot->records[i].sequence, start + done + 1 - kept + i);
            ASSERT_EQ(snapshot->records[i].identifier, done + 1 - kept + i);
        }
        ASSERT_GT(snapshot->records[0].time_ns, uint64_t{1'500'000'000} * 1'000'000'000);
    }
    EXPECT_EQ(word(read_bytes(file), kTurns), 6u);
}

// The same file as a machine of the other byte order would have written it.
Bytes swapped(Bytes bytes) {
    const auto swap = [&](size_t offset) { std::reverse(&bytes[offset], &bytes[offset] + 4); };
    for (size_t offset = sizeof kMagic; offset < bytes.size(); offset += 4) {
        if (offset < offsetof(Description, name) || offset >= sizeof(Description)) {
            swap(offset);
        }
    }
    set_word(bytes, offsetof(Description, checksum), description_checksum(bytes.data()));
    swap(offsetof(Description, checksum));
    return bytes;
}

TEST_F(Damage, EitherByteOrderIsRead) {
    const Bytes own = image_with(80);
    const Bytes other = swapped(own);
    const Snapshot expected = of_bytes(own);
    const Snapshot snapshot = of_bytes(other);
    ASSERT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
    EXPECT_NE(snapshot->byte_order, expected->byte_order);
    EXPECT_STREQ(snapshot->name, "FILE");
    EXPECT_STREQ(snapshot->writer, expected->writer);
    EXPECT_EQ(snapshot->version, 2u);
    EXPECT_EQ(snapshot->word_bits, expected->word_bits);
    EXPECT_EQ(snapshot->size, 4096u);
    EXPECT_EQ(snapshot->written, 80u);
    EXPECT_EQ(snapshot->overwritten, 16u);
    EXPECT_EQ(snapshot->ticks_per_second, expected->ticks_per_second);
    ASSERT_EQ(snapshot->record_count, 64u);
    EXPECT_EQ(std::memcmp(snapshot->records, expected->records, 64 * sizeof(trace_kbuf_record)), 0);

    // Found out from the records when the mark itself is damaged.
    Bytes unmarked = other;
    set_word(unmarked, offsetof(Description, byte_order), 0);
    EXPECT_EQ(of_bytes(unmarked)->status, TRACE_KBUF_DAMAGED);
    EXPECT_EQ(of_bytes(unmarked)->record_count, 64u);
}

TEST_F(Damage, FreeingNoSnapshotIsAllowed) {
    trace_kbuf_snapshot_free(nullptr);
}

} // namespace
