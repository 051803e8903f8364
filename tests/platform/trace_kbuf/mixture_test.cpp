// SPDX-License-Identifier: Apache-2.0
// No mixture of two records passes for one: every mixture of many pairs that differ little. A writer that was stopped
// for a whole turn of the ring leaves such a mixture when it goes on.
//
// TRACE_KBUF_TEST_MIXTURES says how many random pairs are tried of each kind, TRACE_KBUF_TEST_SEED which.
#include "settings.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <ring.h>
#include <vector>

using namespace trace_kbuf;

namespace {

constexpr uint32_t kSlots = 64;
constexpr uint32_t kStep = MIXTURES < 20000 ? 11 : 1; // fewer where processes are slow

class Mixture : public ::testing::Test {
protected:
    Mixture() : seed_(setting("TRACE_KBUF_TEST_SEED", 1)), random_(seed_) {}

    ~Mixture() override {
        std::cout << tried_ << " mixtures of two records tried, " << accepted_ << " of them accepted" << std::endl;
    }

    uint32_t random() { return static_cast<uint32_t>(random_()); }
    uint32_t random(uint32_t below) { return random() % below; }
    uint32_t end() const { return kFirstValue + (few_values_ ? kFewValues : kValues); }
    uint32_t random_word() { return kTicksHigh + random(end() - kTicksHigh); }

    // Numbers as programs record them: mostly small, some addresses, some with all bits.
    uint32_t value() {
        switch (random(8)) {
        case 0:
            return random();
        case 1:
            return 0xffffffff;
        case 2:
            return 0x7f000000 | (random() & 0xfffff0);
        case 3:
        case 4:
            return 0;
        default:
            return random(256);
        }
    }

    SlotWords record() {
        SlotWords words{0, 0, random(4096), random(), 1000 + random(30000), 0x01000000 | random(0x40000), 0};
        words[kHeaderWord] = random(10) << 16 | random(1000);
        for (uint32_t i = 0; i < kValues; ++i) {
            words[kFirstValue + i] = value();
        }
        return words;
    }

    SlotWords finished(const SlotWords &words, uint32_t sequence) {
        Slot slot{};
        if (few_values_) {
            write_slot<kFewValues>(slot, sequence, words);
        } else {
            write_slot<kValues>(slot, sequence, words);
        }
        return slot.words;
    }

    // The later one overtook the other by some turns of the ring.
    void try_pair(const SlotWords &one, const SlotWords &other) {
        const uint32_t sequence = random();
        try_mixtures(finished(one, sequence), finished(other, sequence + kSlots * (1 + random(3))));
    }

    void try_mixtures(SlotWords a, SlotWords b) {
        const uint32_t index = a[kCommit] % kSlots;
        EXPECT_TRUE(is_record(a, index, kSlots) && is_record(b, index, kSlots));
        std::vector<uint32_t> differing;
        for (uint32_t i = 0; i < kSlotWords; ++i) {
            if (a[i] != b[i]) {
                differing.push_back(i);
            }
        }
        const uint32_t all = (1u << differing.size()) - 1;
        for (uint32_t from_b = 1; from_b < all; ++from_b) { // neither record alone
            SlotWords words = a;
            for (uint32_t i = 0; i < differing.size(); ++i) {
                if ((from_b >> i & 1) != 0) {
                    words[differing[i]] = b[differing[i]];
                }
            }
            ++tried_;
            accepted_ += is_record(words, index, kSlots);
        }
    }

    template <class Change>
    void try_random_pairs(Change change) {
        for (uint32_t round = setting("TRACE_KBUF_TEST_MIXTURES", MIXTURES); round > 0; --round) {
            few_values_ = round % 2 == 0;
            const SlotWords one = record();
            SlotWords other = one;
            if (round % 4 < 2) {
                other[kTicksLow] += random(1u << random(32));
            }
            change(other);
            try_pair(one, other);
        }
        // A checksum of 32 bits cannot do better than chance: one in four thousand million.
        EXPECT_LE(accepted_, tried_ >> 30 == 0 ? 2 : tried_ >> 29) << "seed " << seed_;
    }

    uint32_t seed_;
    std::mt19937 random_;
    bool few_values_ = false;
    uint64_t tried_ = 0;
    uint64_t accepted_ = 0;
};

TEST_F(Mixture, OfRecordsWithOneOrTwoOtherBits) {
    for (const SlotWords &one : {SlotWords{}, record()}) {
        for (uint32_t first = 32 * kTicksHigh; first < 32 * end(); ++first) {
            for (uint32_t second = first; second < 32 * end(); second += kStep) {
                SlotWords other = one;
                other[first / 32] ^= 1u << first % 32;
                other[second / 32] |= 1u << second % 32;
                try_pair(one, other);
            }
        }
        few_values_ = true;
    }
    EXPECT_EQ(accepted_, 0u);
}

TEST_F(Mixture, OfRecordsWithOppositeChanges) {
    try_random_pairs([&](SlotWords &words) {
        for (uint32_t pairs = 1 + random(3); pairs > 0; --pairs) {
            const uint32_t amount = 1 + random(1u << random(32));
            words[random_word()] += amount;
            words[random_word()] -= amount;
        }
    });
}

TEST_F(Mixture, OfRecordsWithOppositeChangesOfTheTopBits) {
    try_random_pairs([&](SlotWords &words) {
        for (uint32_t changes = 2 + random(6); changes > 0; --changes) {
            words[random_word()] ^= 0xc0000000 & (random() << 24);
        }
    });
}

TEST_F(Mixture, OfRecordsWithSwappedWords) {
    try_random_pairs([&](SlotWords &words) {
        for (uint32_t swaps = 1 + random(4); swaps > 0; --swaps) {
            std::swap(words[random_word()], words[random_word()]);
        }
    });
}

TEST_F(Mixture, OfRecordsWithSmallChanges) {
    try_random_pairs([&](SlotWords &words) {
        for (uint32_t changes = 1 + random(8); changes > 0; --changes) {
            words[random_word()] += random(9) - 4;
        }
    });
}

TEST_F(Mixture, OfRecordsThatHaveLittleInCommon) {
    try_random_pairs([&](SlotWords &words) {
        const SlotWords another = record();
        for (uint32_t changes = random(9); changes > 0; --changes) {
            const uint32_t at = random_word();
            words[at] = another[at];
        }
    });
}

} // namespace
