// SPDX-License-Identifier: Apache-2.0
// From ticks to time: rates, clocks that are set, and machines that start anew.
#include <clock.h>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <ring.h>
#include <ticks.h>
#include <timeline.h>
#include <vector>

using namespace trace_kbuf;

namespace {

constexpr uint64_t kSecond = 1'000'000'000;

// A counter of 2 ticks a nanosecond, calibrated a little wrong: 2.001.
class TimelineTest : public ::testing::Test {
protected:
    void anchor(uint64_t ticks, uint64_t ns, uint32_t head) {
        const uint32_t sequence = header_.anchors_head++;
        SlotWords words{0,
                        0,
                        static_cast<uint32_t>(ticks >> 32),
                        static_cast<uint32_t>(ticks),
                        1,
                        kAnchorIdentifier,
                        kAnchorValues << 16,
                        static_cast<uint32_t>(ns >> 32),
                        static_cast<uint32_t>(ns),
                        head,
                        200'100,
                        100'000};
        write_slot<kAnchorValues>(header_.anchors[sequence % kAnchors], sequence, words);
    }

    void forget() { std::memset(static_cast<void *>(&header_), 0, sizeof header_); }

    Timeline timeline(uint64_t head) {
        bytes_.resize(sizeof header_);
        std::memcpy(bytes_.data(), static_cast<const void *>(&header_), sizeof header_);
        return {Image(bytes_, std::endian::native), head};
    }

    Header header_{};
    std::vector<unsigned char> bytes_;
};

TEST_F(TimelineTest, WithoutAnchorsThereIsNoTime) {
    EXPECT_TRUE(timeline(5).empty());
    EXPECT_EQ(timeline(5).time_ns(1, 1000), 0u);
    EXPECT_EQ(timeline(5).ticks_per_second(), 0);
}

TEST_F(TimelineTest, OneAnchorUsesTheCalibratedRate) {
    anchor(1000, 50 * kSecond, 0);
    const Timeline line = timeline(10);
    EXPECT_NEAR(line.ticks_per_second(), 2.001e9, 1);
    EXPECT_EQ(line.time_ns(0, 1000), 50 * kSecond);
    EXPECT_EQ(line.time_ns(5, 1000 + 2'001'000), 50 * kSecond + 1'000'000);
    EXPECT_EQ(line.time_ns(0, 1000 - 200), 50 * kSecond - 99) << "a stamp taken just before the anchor";
}

TEST_F(TimelineTest, BetweenAndAfterAnchorsTheMeasuredRateIsUsed) {
    anchor(0x1'0000'0000, 50 * kSecond, 0);
    anchor(0x1'0000'0000 + 4 * kSecond, 52 * kSecond, 10);
    const Timeline line = timeline(20);
    EXPECT_NEAR(line.ticks_per_second(), 2e9, 1);
    EXPECT_EQ(line.time_ns(5, 0x1'0000'0000 + kSecond), 50 * kSecond + kSecond / 2);
    EXPECT_EQ(line.time_ns(15, 0x1'0000'0000 + 6 * kSecond), 53 * kSecond);
}

TEST_F(TimelineTest, AClockThatIsSetChangesLaterRecordsOnly) {
    for (const uint64_t set_to : {1000 * kSecond, 10 * kSecond}) {
        forget();
        anchor(1000, 50 * kSecond, 0);
        anchor(1000 + 2 * kSecond, set_to, 10);
        const Timeline line = timeline(20);
        EXPECT_EQ(line.time_ns(9, 1000 + 2'001'000), 50 * kSecond + 1'000'000);
        EXPECT_EQ(line.time_ns(10, 1000 + 2 * kSecond), set_to);
        EXPECT_EQ(line.time_ns(11, 1000 + 2 * kSecond + 2'001'000), set_to + 1'000'000);
    }
}

TEST_F(TimelineTest, ACounterThatStartsAnewIsNotMixedUp) {
    anchor(900 * kSecond, 50 * kSecond, 0);
    anchor(1000, 60 * kSecond, 10);
    const Timeline line = timeline(20);
    EXPECT_EQ(line.time_ns(9, 900 * kSecond + 2'001'000), 50 * kSecond + 1'000'000);
    EXPECT_EQ(line.time_ns(10, 1000 + 2'001'000), 60 * kSecond + 1'000'000);
}

TEST_F(TimelineTest, OldAnchorsAreForgottenAndNumbersMayPass32Bits) {
    const uint64_t first = (uint64_t{7} << 32) - 50;
    for (uint32_t i = 0; i < 40; ++i) { // the first 8 are overwritten
        anchor(2 * i * kSecond, i * i * kSecond, static_cast<uint32_t>(first + 10 * i));
    }
    const Timeline line = timeline(first + 400);
    for (uint32_t i = 8; i < 40; ++i) {
        EXPECT_EQ(line.time_ns(first + 10 * i, 2 * i * kSecond), i * i * kSecond);
        EXPECT_EQ(line.time_ns(first + 10 * i + 9, 2 * i * kSecond), i * i * kSecond);
    }
    EXPECT_EQ(line.time_ns(first, 16 * kSecond), 64 * kSecond) << "the oldest anchor left serves";
}

TEST_F(TimelineTest, DamagedAnchorsAreLeftOut) {
    anchor(1000, 50 * kSecond, 0);
    anchor(2000, 90 * kSecond, 5);
    header_.anchors[1].words[kClockLow] ^= 1;
    EXPECT_EQ(timeline(10).time_ns(7, 1000), 50 * kSecond);
}

TEST_F(TimelineTest, AnAnchorIsAddedOnlyWhenTheOthersAreWrong) {
    check_clock(header_, 7);
    EXPECT_EQ(header_.anchors_head, 1u);
    check_clock(header_, 7);
    EXPECT_EQ(header_.anchors_head, 1u);

    // The clock was set since: as if the last anchor had a time one second ahead.
    const Anchor last = anchor_of(header_.anchors[0].words);
    forget();
    header_.head = 33;
    anchor(last.ticks, last.clock_ns + kSecond, 0);
    check_clock(header_, 7);
    ASSERT_EQ(header_.anchors_head, 2u);
    SlotWords words = header_.anchors[1].words;
    EXPECT_TRUE(is_record(words, 1, kAnchors));
    EXPECT_EQ(words[kWriter], 7u);
    EXPECT_EQ(anchor_of(words).head, 33u);
    EXPECT_NEAR(static_cast<double>(anchor_of(words).clock_ns), static_cast<double>(time(nullptr)) * 1e9, 3e9);
    EXPECT_GT(calibrated_rate(anchor_of(words)), 0);
}

} // namespace
