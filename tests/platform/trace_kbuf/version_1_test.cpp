// SPDX-License-Identifier: Apache-2.0
// Files that a trace library of version 1 wrote, on machines of either byte order, are still read.
#include "trace_files.h"

#include <image.h>
#include <version_1.h>

using namespace trace_files;
using namespace trace_kbuf;

namespace {

class Version1 : public TraceTest, public ::testing::WithParamInterface<std::endian> {
protected:
    static bool is_big() { return GetParam() == std::endian::big; }

    // 11 numbered records in a ring of 8.
    static std::string file() {
        return std::string(VERSION_1_FILES "/") + (is_big() ? "big-endian.kbuf" : "little-endian.kbuf");
    }

    static void expect_records(const Snapshot &snapshot) {
        ASSERT_EQ(snapshot->record_count, 8u);
        for (uint32_t i = 0; i < 8; ++i) {
            const trace_kbuf_record &record = snapshot->records[i];
            EXPECT_EQ(record.sequence, i + 3);
            EXPECT_EQ(record.identifier, i + 3);
            EXPECT_TRUE(is_numbered(record));
            EXPECT_EQ(record.time_ns / 1'000'000'000, 1795308395u);
        }
    }
};

TEST_P(Version1, IsRead) {
    const Snapshot snapshot = of_file(file());
    EXPECT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
    EXPECT_EQ(snapshot->version, 1u);
    EXPECT_STREQ(snapshot->name, "OLD");
    EXPECT_EQ(snapshot->byte_order, is_big() ? TRACE_KBUF_BIG_ENDIAN : TRACE_KBUF_LITTLE_ENDIAN);
    EXPECT_EQ(snapshot->written, 11u);
    EXPECT_EQ(snapshot->overwritten, 3u);
    EXPECT_EQ(snapshot->incomplete, 0u);
    expect_records(snapshot);
}

TEST_P(Version1, TornRecordsAreRefused) {
    const Bytes good = read_bytes(file());
    for (uint32_t word_index = 1; word_index < kSlotWords; ++word_index) {
        Bytes bytes = good;
        bytes[slot_at(4) + 4 * word_index] ^= 0x10;
        EXPECT_EQ(of_bytes(bytes)->record_count, 7u);
        EXPECT_EQ(of_bytes(bytes)->incomplete, 1u);
    }
}

TEST_P(Version1, TheOrderOfBytesIsFoundWithoutItsMark) {
    Bytes bytes = read_bytes(file());
    set_word(bytes, offsetof(Description, byte_order), 0);
    const Snapshot snapshot = of_bytes(bytes);
    EXPECT_EQ(snapshot->status, TRACE_KBUF_DAMAGED);
    expect_records(snapshot);
}

// Its records are no records of today, and the other way round.
TEST_P(Version1, HasItsOwnChecksum) {
    Bytes bytes = read_bytes(file());
    const Image image(bytes, GetParam());
    SlotWords words = image.slot(slot_at(0));
    EXPECT_TRUE(image.is_record(words, 0, 8));
    EXPECT_EQ(words[kChecksum], slot_checksum_of_version_1(words, words[kCommit]));
    EXPECT_FALSE(is_record(words, 0, 8));
    bytes[offsetof(Description, version) + (is_big() ? 3 : 0)] = 2;
    EXPECT_FALSE(Image(bytes, GetParam()).is_record(words, 0, 8));
}

TEST_P(Version1, IsMovedAsideByAWriter) {
    use_files();
    write_bytes(path("OLD.kbuf"), read_bytes(file()));
    if (GetParam() != std::endian::native) {
        GTEST_SKIP() << "another machine's file is left alone";
    }
    uint32_t descriptor = open("OLD", 512);
    write_numbered(descriptor, 1);
    trace_kbuf_free(&descriptor);
    EXPECT_EQ(of_file(path("OLD.kbuf"))->version, 2u);
    EXPECT_EQ(of_file(path("OLD.kbuf"))->record_count, 1u);
    expect_records(of_file(path("OLD.kbuf.old")));
}

INSTANTIATE_TEST_SUITE_P(ByteOrders, Version1, ::testing::Values(std::endian::little, std::endian::big),
                         [](const auto &order) {
                             return std::string(order.param == std::endian::big ? "big" : "little");
                         });

} // namespace
