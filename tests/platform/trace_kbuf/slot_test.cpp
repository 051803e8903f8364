// SPDX-License-Identifier: Apache-2.0
// The slot: which mixtures of two records it must refuse, and what a reader sees of one in the making.
#include <cstring>
#include <gtest/gtest.h>
#include <ring.h>
#include <thread>
#include <version_1.h>

using namespace trace_kbuf;

namespace {

SlotWords words_of(uint32_t sequence, uint32_t ticks, std::array<uint32_t, kValues> values) {
    Slot slot{};
    SlotWords words{0, 0, 1, ticks, 4711, 0x1000, (9u << 16) | 77};
    std::copy(values.begin(), values.end(), words.begin() + kFirstValue);
    write_slot<kValues>(slot, sequence, words);
    return slot.words;
}

TEST(Slot, HoldsWhatWasWritten) {
    SlotWords words = words_of(70, 5, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(words[kCommit], 70u);
    EXPECT_EQ(words[kTicksHigh], 1u);
    EXPECT_EQ(words[kTicksLow], 5u);
    EXPECT_EQ(words[kWriter], 4711u);
    EXPECT_EQ(words[kIdentifier], 0x1000u);
    EXPECT_EQ(words[kHeaderWord], (9u << 16) | 77);
    for (uint32_t i = 0; i < kValues; ++i) {
        EXPECT_EQ(words[kFirstValue + i], i + 1);
    }
    EXPECT_TRUE(is_record(words, 6, 64));
    EXPECT_FALSE(is_record(words, 5, 64)) << "another slot's number";
}

TEST(Slot, TheFormOfTheChecksumIsFixed) {
    // Files of today have to be readable tomorrow.
    const SlotWords words = {0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    EXPECT_EQ(slot_checksum(words, 15, kValues), 0x604ebed1u);
    EXPECT_EQ(slot_checksum(words, 15, kFewValues), 0xf59c35d6u);
    EXPECT_EQ(slot_checksum({}, 0, kValues), 0x1459befcu);
    EXPECT_EQ(slot_checksum_of_version_1(words, 15), 0x92cafec1u);
    EXPECT_EQ(slot_checksum_of_version_1({}, 0), 0xa71b5504u);
}

// A writer that was stopped for a whole turn of the ring goes on with its late words over those of the next
// record: every set of words may come from one, the rest from the other.
TEST(Slot, NoMixtureOfTwoRecordsIsGood) {
    struct {
        const char *what;
        SlotWords a, b;
    } pairs[] = {
        {"next turn, same values", words_of(3, 100, {1, 2, 3, 4, 5, 0, 0, 0, 0}),
         words_of(67, 228, {1, 2, 3, 4, 5, 0, 0, 0, 0})},
        {"exchanged values", words_of(3, 100, {1, 2, 0, 0, 0, 0, 0, 0, 0}),
         words_of(67, 101, {2, 1, 0, 0, 0, 0, 0, 0, 0})},
        {"opposite changes", words_of(3, 100, {10, 20, 30, 40, 50, 60, 70, 80, 90}),
         words_of(67, 101, {11, 19, 31, 39, 51, 59, 71, 79, 90})},
        {"top bytes only", words_of(3, 100, {0x01000000, 0x02000000, 0x03000000, 0x04000000, 0, 0, 0, 0, 0}),
         words_of(67, 101, {0x81000000, 0x82000000, 0x83000000, 0x84000000, 0, 0, 0, 0, 0})},
        {"none and all bits", words_of(3, 100, {0, 0, 0, 0, 0, 0, 0, 0, 0}),
         words_of(67, 101, {~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u})},
    };
    for (auto &pair : pairs) {
        ASSERT_TRUE(is_record(pair.a, 3, 64) && is_record(pair.b, 3, 64));
        for (uint32_t from_b = 0; from_b < 1u << kSlotWords; ++from_b) {
            SlotWords mixture{};
            for (uint32_t i = 0; i < kSlotWords; ++i) {
                mixture[i] = (from_b >> i & 1) != 0 ? pair.b[i] : pair.a[i];
            }
            const bool whole = mixture == pair.a || mixture == pair.b;
            ASSERT_EQ(is_record(mixture, 3, 64), whole) << pair.what << ": " << from_b;
        }
    }
}

// It leaves what an earlier record wrote there, and does not show it.
TEST(Slot, OfFewValuesHasNoOthers) {
    Slot slot{};
    SlotWords words{0, 0, 1, 100, 4711, 0x1000, (9u << 16) | 77, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    write_slot<kValues>(slot, 3, words);
    write_slot<kFewValues>(slot, 67, words);
    EXPECT_EQ(slot.words[kFirstValue + 5], 6u);
    for (const uint32_t left : {6u, 0u, 0xffffffffu}) {
        slot.words[kFirstValue + 5] = left;
        SlotWords copy = slot.words;
        EXPECT_TRUE(is_record(copy, 3, 64));
        EXPECT_EQ(copy[kFirstValue + 4], 5u);
        for (uint32_t i = kFirstValue + kFewValues; i < kSlotWords; ++i) {
            EXPECT_EQ(copy[i], 0u);
        }
    }
    for (uint32_t bit = 0; bit < 32 * (kFirstValue + kFewValues); ++bit) {
        SlotWords copy = slot.words;
        copy[bit / 32] ^= 1u << (bit % 32);
        EXPECT_FALSE(is_record(copy, 3, 64)) << bit;
    }
}

TEST(Slot, OneChangedBitIsSeen) {
    const SlotWords good = words_of(3, 100, {1, 2, 3, 0, 0, ~0u, 7, 8, 0x80000000});
    for (uint32_t bit = 0; bit < 32 * kSlotWords; ++bit) {
        SlotWords words = good;
        words[bit / 32] ^= 1u << (bit % 32);
        EXPECT_FALSE(is_record(words, 3, 64)) << bit;
    }
}

TEST(Slot, OneInTheMakingIsNoRecord) {
    SlotWords words = words_of(3, 100, {});
    words[kCommit] = ~words[kCommit];
    for (uint32_t slots = 2; slots <= 1u << 18; slots *= 2) {
        EXPECT_FALSE(is_record(words, 3 % slots, slots));
    }
    SlotWords never_used{};
    EXPECT_FALSE(is_record(never_used, 0, 64));
    EXPECT_TRUE(is_empty({}));
    EXPECT_FALSE(is_empty(words));
}

TEST(Slot, CopiesAreWhole) {
    Slot slot{};
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        for (uint32_t i = 0; !stop; ++i) {
            SlotWords words{};
            words.fill(i);
            write_slot<kValues>(slot, i * 2, words);
        }
    });
    uint32_t good = 0;
    for (uint32_t i = 0; i < 300'000 || good < 1000; ++i) {
        SlotWords copy;
        copy_slot(slot, copy);
        if ((copy[kCommit] & 1) != 0 || is_empty(copy)) {
            continue; // in the making
        }
        ++good;
        for (uint32_t word = kTicksHigh; word < kSlotWords; ++word) {
            ASSERT_EQ(copy[word], copy[kCommit] / 2); // without a look at the checksum
        }
    }
    stop = true;
    writer.join();
}

} // namespace
