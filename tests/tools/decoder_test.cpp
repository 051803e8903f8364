// SPDX-License-Identifier: Apache-2.0
#include "hand_made_trace.h"

namespace {

using namespace hand_made;
using testing::ElementsAre;

std::vector<unsigned> depths(const Trace &trace) {
    std::vector<unsigned> result;
    for (const Line &line : trace.lines) {
        result.push_back(line.depth);
    }
    return result;
}

std::vector<Pairing> pairings(const Trace &trace) {
    std::vector<Pairing> result;
    for (const Line &line : trace.lines) {
        result.push_back(line.pairing);
    }
    return result;
}

TEST(Decoder, NothingRecorded) {
    Recording recording;
    const Trace trace = recording.decode();
    EXPECT_TRUE(trace.lines.empty());
    EXPECT_EQ(trace.lost_at_end, 0U);
}

TEST(Decoder, AnOperationEnclosesItsSteps) {
    Recording recording;
    recording.add(kStep).add(kOuterEntry, {0}).add(kStep).add(kFailure, {1}).add(kOuterExit, {0}).add(kStep);
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 0, 1, 1, 0, 0));
    EXPECT_THAT(pairings(trace), testing::Each(Pairing::complete));
    EXPECT_EQ(trace.lines[4].elapsed_us, 150.0); // three records of 50 ticks at 1 MHz
    EXPECT_FALSE(trace.lines[1].elapsed_us);
    EXPECT_FALSE(trace.lines[4].run_time_us);
}

TEST(Decoder, ElapsedTimeGoesByTheWritersTicks) {
    Recording recording;
    recording.ticks_per_second(25e6).add(kOuterEntry, {0}).add(kOuterExit, {0});
    EXPECT_EQ(recording.decode().lines[1].elapsed_us, 2.0);
}

TEST(Decoder, ElapsedTimeGoesByTheClockWhereNoTickRateIsKnown) {
    Recording recording;
    recording.ticks_per_second(0).add(kOuterEntry, {0}).add(kStep).add(kOuterExit, {0});
    EXPECT_EQ(recording.decode().lines[2].elapsed_us, 2.0);
}

TEST(Decoder, InnerOperationsNestInOuterOnes) {
    Recording recording;
    recording.add(kOuterEntry, {0})
        .add(kInnerEntry)
        .add(kStep)
        .add(kInnerExit)
        .add(kStep)
        .add(kInnerEntry)
        .add(kInnerExit)
        .add(kOuterExit, {0});
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 1, 2, 1, 1, 1, 1, 0));
    EXPECT_THAT(pairings(trace), testing::Each(Pairing::complete));
    EXPECT_EQ(trace.lines[3].elapsed_us, 100.0);
    EXPECT_EQ(trace.lines[7].elapsed_us, 350.0);
}

TEST(Decoder, AnOperationMayRunWithinItself) {
    Recording recording;
    recording.add(kInnerEntry).add(kInnerEntry).add(kInnerExit).add(kInnerExit);
    EXPECT_THAT(depths(recording.decode()), ElementsAre(0, 1, 1, 0));
}

TEST(Decoder, AnInnerOperationThatWasLeftEarlyEnclosesNothing) {
    Recording recording;
    recording.add(kOuterEntry, {0})
        .add(kInnerEntry)
        .add(kInnerEntry)
        .add(kStep)
        .add(kInnerExit)
        .add(kInnerEntry)
        .add(kOuterExit, {0});
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 1, 1, 2, 1, 1, 0));
    EXPECT_THAT(pairings(trace),
                ElementsAre(Pairing::complete, Pairing::left_early, Pairing::complete, Pairing::complete,
                            Pairing::complete, Pairing::left_early, Pairing::complete));
}

TEST(Decoder, WhatFollowsTheOuterExitIsNotInAnOperationThatWasLeftEarly) {
    Recording recording;
    recording.add(kOuterEntry, {0}).add(kInnerEntry).add(kOuterExit, {0}).add(kStep);
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 1, 0, 0));
    EXPECT_EQ(trace.lines[3].operation, kNone);
}

TEST(Decoder, AnOutermostOperationThatWasLeftEarlyEnclosesNoLaterOne) {
    Recording recording;
    recording.add(kOuterEntry, {0}).add(kInnerEntry).add(kStep).add(kInnerExit).add(kInnerEntry).add(kInnerExit);
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 0, 1, 0, 0, 0));
    EXPECT_EQ(trace.lines[0].pairing, Pairing::no_exit);
}

TEST(Decoder, AnOperationCalledAgainAfterItWasLeftEarlyHasItsOwnExit) {
    Recording recording;
    recording.add(kOuterEntry, {0}).add(kOuterEntry, {1}).add(kOuterExit, {0});
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 0, 0));
    EXPECT_THAT(pairings(trace), ElementsAre(Pairing::no_exit, Pairing::complete, Pairing::complete));
    EXPECT_EQ(trace.lines[2].elapsed_us, 50.0);
}

TEST(Decoder, AnUnfinishedOperationEnclosesTheStepsBehindIt) {
    Recording recording;
    recording.add(kOuterEntry, {0}).add(kStep).add(kFailure, {1});
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 1, 1));
    EXPECT_EQ(trace.lines[0].pairing, Pairing::no_exit);
}

TEST(Decoder, ARingThatBeginsWithinAnOperationDoesNotConfuseTheNesting) {
    Recording recording;
    recording.lose(40)
        .add(kStep)
        .add(kInnerExit)
        .add(kOuterExit, {0})
        .add(kElapsed, {5})
        .add(kOuterEntry, {0})
        .add(kStep)
        .add(kOuterExit, {0});
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 0, 0, 0, 0, 1, 0));
    EXPECT_THAT(pairings(trace), ElementsAre(Pairing::complete, Pairing::no_entry, Pairing::no_entry, Pairing::complete,
                                             Pairing::complete, Pairing::complete, Pairing::complete));
    EXPECT_EQ(trace.lines[0].lost_before, 40U);
    EXPECT_FALSE(trace.lines[2].elapsed_us);
    EXPECT_EQ(trace.lines[2].run_time_us, 5U);
}

TEST(Decoder, AnExitWithoutEntryLeavesTheOperationAroundItOpen) {
    Recording recording;
    recording.add(kOuterEntry, {0}).lose(1).add(kInnerExit).add(kStep).add(kOuterExit, {0});
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 1, 1, 0));
    EXPECT_THAT(pairings(trace),
                ElementsAre(Pairing::complete, Pairing::no_entry, Pairing::complete, Pairing::complete));
}

TEST(Decoder, WritersAreNestedEachByItself) {
    Recording recording;
    recording.add(kOuterEntry, {0}, 1)
        .add(kInnerEntry, {}, 2)
        .add(kStep, {}, 1)
        .add(kOuterExit, {0}, 1)
        .add(kStep, {}, 2)
        .add(kElapsed, {8}, 2)
        .add(kElapsed, {9}, 1)
        .add(kInnerExit, {}, 2);
    const Trace trace = recording.decode();
    EXPECT_THAT(depths(trace), ElementsAre(0, 0, 1, 0, 1, 1, 0, 0));
    EXPECT_THAT(pairings(trace), testing::Each(Pairing::complete));
    EXPECT_EQ(trace.lines[3].run_time_us, 9U);
    EXPECT_EQ(trace.lines[3].elapsed_us, 150.0);
    EXPECT_EQ(trace.lines[7].elapsed_us, 300.0);
    EXPECT_FALSE(trace.lines[7].run_time_us);
}

TEST(Decoder, TheRunTimeBelongsToTheExitDirectlyBeforeIt) {
    Recording recording;
    recording.add(kElapsed, {1})
        .add(kOuterEntry, {0})
        .add(kElapsed, {2})
        .add(kOuterExit, {0})
        .add(kElapsed, {3})
        .add(kElapsed, {4});
    const Trace trace = recording.decode();
    EXPECT_EQ(trace.lines[3].run_time_us, 3U);
    std::vector<bool> shown;
    for (const Line &line : trace.lines) {
        shown.push_back(line.shown_by_exit);
    }
    EXPECT_THAT(shown, ElementsAre(false, false, false, false, true, false));
}

TEST(Decoder, LostRecordsAreCountedWhereTheyAreMissing) {
    Recording recording;
    recording.lose(3).add(kStep).add(kStep).lose(1).add(kStep).lose(2);
    const Trace trace = recording.decode();
    EXPECT_EQ(trace.lines[0].lost_before, 3U);
    EXPECT_EQ(trace.lines[1].lost_before, 0U);
    EXPECT_EQ(trace.lines[2].lost_before, 1U);
    EXPECT_EQ(trace.lost_at_end, 2U);
}

TEST(Decoder, RecordsBeforeTheRingsTurnAreOverwrittenAndLaterOnesDamaged) {
    Recording recording;
    recording.capacity(4).lose(5).add(kStep).lose(2).add(kStep).lose(1); // kept: 5 to 8
    const Trace trace = recording.decode();
    EXPECT_EQ(trace.lines[0].lost_before, 5U);
    EXPECT_EQ(trace.lines[0].overwritten_before, 5U);
    EXPECT_EQ(trace.lines[1].lost_before, 2U);
    EXPECT_EQ(trace.lines[1].overwritten_before, 0U);

    Recording damaged_at_the_turn;
    damaged_at_the_turn.capacity(4).lose(7).add(kStep).add(kStep); // 5 and 6 would be there
    EXPECT_EQ(damaged_at_the_turn.decode().lines[0].overwritten_before, 5U);
}

TEST(Decoder, OperationsTellHowTheyEnded) {
    Recording recording;
    recording.add(kOuterEntry, {7})
        .add(kInnerEntry)
        .add(kFailure, {1})
        .add(kInnerExit)
        .add(kOuterExit, {0})
        .add(kElapsed, {12})
        .add(kOuterEntry, {8})
        .add(kOuterExit, {0xFFFFFFFF})
        .add(kInnerEntry)
        .add(kFailure, {1})
        .add(kOuterExit, {5});
    const Trace trace = recording.decode();
    ASSERT_EQ(trace.operations.size(), 5U);

    const Operation &outer = trace.operations[0];
    EXPECT_EQ(outer.name, "outer");
    EXPECT_EQ(outer.entry, 0U);
    EXPECT_EQ(outer.exit, 4U);
    EXPECT_EQ(outer.parent, kNone);
    EXPECT_EQ(outer.chip, 7U);
    EXPECT_EQ(outer.result, 0);
    EXPECT_FALSE(outer.has_failure); // that of the inner one is not its own
    EXPECT_FALSE(outer.failed());

    const Operation &inner = trace.operations[1];
    EXPECT_EQ(inner.parent, 0U);
    EXPECT_FALSE(inner.chip);
    EXPECT_FALSE(inner.result);
    EXPECT_TRUE(inner.failed());

    EXPECT_EQ(trace.operations[2].result, -1);
    EXPECT_TRUE(trace.operations[2].failed());

    const Operation &unfinished = trace.operations[3];
    EXPECT_EQ(unfinished.exit, kNone);
    EXPECT_TRUE(unfinished.has_failure);
    EXPECT_FALSE(unfinished.failed()); // nobody knows

    const Operation &headless = trace.operations[4];
    EXPECT_EQ(headless.entry, kNone);
    EXPECT_EQ(headless.first_line(), 10U);
    EXPECT_TRUE(headless.failed());

    std::vector<size_t> operations;
    for (const Line &line : trace.lines) {
        operations.push_back(line.operation);
    }
    EXPECT_THAT(operations, ElementsAre(0, 1, 1, 1, 0, kNone, 2, 2, 3, 3, 4));
}

TEST(Decoder, AFailureInAnOperationThatTellsItsResultDoesNotMakeItFail) {
    Recording recording;
    recording.add(kOuterEntry, {0}).add(kFailure, {1}).add(kOuterExit, {0});
    const Trace trace = recording.decode();
    EXPECT_TRUE(trace.operations[0].has_failure);
    EXPECT_FALSE(trace.operations[0].failed());
}

TEST(Decoder, AnUnknownIdentifierIsKeptWithoutAPoint) {
    Recording recording;
    recording.add(kOuterEntry, {0}).add(kUnknown, {1, 2}).add(kOuterExit, {0});
    const Trace trace = recording.decode();
    EXPECT_EQ(trace.lines[1].point, nullptr);
    EXPECT_FALSE(trace.lines[1].values_differ);
    EXPECT_THAT(depths(trace), ElementsAre(0, 1, 0));
}

TEST(Decoder, AWrongNumberOfValuesIsNoRecordOfThatPoint) {
    Recording recording;
    recording.add(kOuterEntry, {0, 0}).add(kStep).add(kStep, {1}).add(kOuterExit).add(kElapsed);
    const Trace trace = recording.decode();
    for (const size_t wrong : {0U, 2U, 3U, 4U}) {
        EXPECT_EQ(trace.lines[wrong].point, nullptr) << wrong;
        EXPECT_TRUE(trace.lines[wrong].values_differ) << wrong;
    }
    EXPECT_THAT(depths(trace), testing::Each(0U));
    EXPECT_THAT(pairings(trace), testing::Each(Pairing::complete));
}

} // namespace
