// SPDX-License-Identifier: Apache-2.0
#include "hand_made_trace.h"
#include "kslctl/hub/own_trace.h"

namespace {

using namespace hand_made;
using kslctl::hub::lines_of;

constexpr uint32_t kOther = 200;
constexpr uint64_t kSecond = 1'000'000'000;

TEST(OwnTrace, LeavesOutOtherWriters) {
    Recording recording;
    recording.add(kStep, {}, kOther).add(kStep).add(kStep, {}, kOther).add(kStep);
    const Trace own = lines_of(recording.decode(), kWriter, kStart);
    ASSERT_EQ(own.lines.size(), 2U);
    EXPECT_EQ(own.lines[0].record->sequence, 1U);
    EXPECT_EQ(own.lines[1].record->sequence, 3U);
}

TEST(OwnTrace, LeavesOutAnEarlierProcessOfTheSameNumber) {
    Recording recording;
    recording.add(kStep).add(kStep);
    EXPECT_EQ(lines_of(recording.decode(), kWriter, kStart + kSecond).lines.size(), 0U);
    EXPECT_EQ(lines_of(recording.decode(), kWriter, kStart).lines.size(), 2U);
}

TEST(OwnTrace, RecordsLostBeforeItsOwnBeginAreNoLoss) {
    Recording recording;
    recording.lose(9).add(kStep, {}, kOther).lose(1).add(kStep).add(kStep);
    const Trace own = lines_of(recording.decode(), kWriter, kStart);
    ASSERT_EQ(own.lines.size(), 2U);
    EXPECT_EQ(own.lines[0].lost_before, 0U);
}

TEST(OwnTrace, ARingThatHoldsOnlyItsOwnMayHaveLostSomeOfThem) {
    Recording recording;
    recording.lose(9).add(kStep);
    EXPECT_EQ(lines_of(recording.decode(), kWriter, kStart).lines[0].lost_before, 9U);
}

TEST(OwnTrace, RecordsLostAmongItsOwnAreTold) {
    Recording recording;
    recording.add(kStep).lose(2).add(kStep, {}, kOther).lose(3).add(kStep).lose(4).add(kStep, {}, kOther).lose(1);
    const Trace own = lines_of(recording.decode(), kWriter, kStart);
    ASSERT_EQ(own.lines.size(), 2U);
    EXPECT_EQ(own.lines[1].lost_before, 5U);
    EXPECT_EQ(own.lost_at_end, 5U);
}

} // namespace
