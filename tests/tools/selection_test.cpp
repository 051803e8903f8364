// SPDX-License-Identifier: Apache-2.0
#include "hand_made_trace.h"
#include "ksltrace/selection.h"

namespace {

using namespace hand_made;

constexpr uint64_t kSecond = 1'000'000'000;

// Lines: 0 step; 1-4 outer on chip 0 with an inner one at 2-3; 5-6 outer on chip 1, failed; 7 failure; 8-9 inner
// that has no exit, with a step; 10 unknown; 11-12 outer on chip 0.
Recording &recorded() {
    static Recording recording = [] {
        Recording made;
        made.add(kStep)
            .add(kOuterEntry, {0})
            .add(kInnerEntry)
            .add(kInnerExit)
            .add(kOuterExit, {0})
            .add(kOuterEntry, {1})
            .add(kOuterExit, {101})
            .add(kFailure, {1})
            .add(kInnerEntry)
            .add(kStep)
            .add(kUnknown)
            .add(kOuterEntry, {0})
            .add(kOuterExit, {0});
        return made;
    }();
    return recording;
}

std::string chosen(const Selection &selection) {
    std::string lines;
    const std::vector<bool> wanted = select(recorded().decode(), selection);
    for (size_t i = 0; i < wanted.size(); ++i) {
        lines += wanted[i] ? (lines.empty() ? "" : " ") + std::to_string(i) : "";
    }
    return lines;
}

TEST(Selection, IsEverythingUnlessSaid) {
    EXPECT_EQ(chosen({}), "0 1 2 3 4 5 6 7 8 9 10 11 12");
}

TEST(Selection, AnOperationComesWithAllInsideIt) {
    EXPECT_EQ(chosen({.operations = {"outer"}}), "1 2 3 4 5 6 11 12");
    EXPECT_EQ(chosen({.operations = {"inner"}}), "2 3 8 9 10");
    EXPECT_EQ(chosen({.operations = {"*ner", "nothing"}}), "2 3 8 9 10");
    EXPECT_EQ(chosen({.operations = {"oute"}}), "");
    EXPECT_EQ(chosen({.operations = {"inner", "outer"}}), "1 2 3 4 5 6 8 9 10 11 12");
}

TEST(Selection, FailedIsABadResultANoExitAndALooseFailure) {
    EXPECT_EQ(chosen({.failed = true}), "5 6 7 8 9 10");
    EXPECT_EQ(chosen({.operations = {"outer"}, .failed = true}), "5 6");
}

TEST(Selection, AChipHasOperationsOnly) {
    EXPECT_EQ(chosen({.chips = {0}}), "1 2 3 4 11 12");
    EXPECT_EQ(chosen({.chips = {1}}), "5 6");
    EXPECT_EQ(chosen({.chips = {0, 1}}), "1 2 3 4 5 6 11 12");
    EXPECT_EQ(chosen({.chips = {2}}), "");
}

TEST(Selection, SinceIsWhenAnOperationBegan) {
    EXPECT_EQ(chosen({.since_ns = kStart + 4000}), "5 6 7 8 9 10 11 12");
    EXPECT_EQ(chosen({.since_ns = kStart + 5001}), "7 8 9 10 11 12");
    EXPECT_EQ(chosen({.since_ns = kStart + 2000}), "2 3 5 6 7 8 9 10 11 12");
}

TEST(Selection, LastCountsOutermostOperationsOfThoseWanted) {
    EXPECT_EQ(chosen({.last = 0}), "");
    EXPECT_EQ(chosen({.last = 1}), "11 12");
    EXPECT_EQ(chosen({.last = 2}), "8 9 10 11 12");
    EXPECT_EQ(chosen({.last = 4}), "1 2 3 4 5 6 7 8 9 10 11 12");
    EXPECT_EQ(chosen({.last = 5}), "0 1 2 3 4 5 6 7 8 9 10 11 12");
    EXPECT_EQ(chosen({.operations = {"inner"}, .last = 2}), "2 3 8 9 10");
    EXPECT_EQ(chosen({.failed = true, .last = 1}), "8 9 10");
}

TEST(Since, IsATime) {
    EXPECT_EQ(parse_since("2024-02-29T23:59:58.999999Z", 0), kStart);
    EXPECT_EQ(parse_since("2024-02-29T23:59:58", 0), kStart - 999'999'000);
    EXPECT_EQ(parse_since("2024-02-29T23:59:59.000000001", 0), kStart + 1001);
    EXPECT_EQ(parse_since("1970-01-01T00:00:01.5Z", 0), kSecond * 3 / 2);
    EXPECT_EQ(parse_since("2100-01-01T00:00:00Z", 0), 4'102'444'800 * kSecond);
    EXPECT_EQ(parse_since("2999-12-31T23:59:59.25Z", 0), 18'446'744'072 * kSecond + kSecond / 4);
}

TEST(Since, IsAnAge) {
    EXPECT_EQ(parse_since("90s", 100 * kSecond), 10 * kSecond);
    EXPECT_EQ(parse_since("2m", 200 * kSecond), 80 * kSecond);
    EXPECT_EQ(parse_since("1h", 3601 * kSecond), kSecond);
    EXPECT_EQ(parse_since("1d", 86402 * kSecond), 2 * kSecond);
    EXPECT_EQ(parse_since("1d", kSecond), 0U);
}

TEST(Since, IsNothingElse) {
    for (const char *const text :
         {"", "10", "s", "-1s", "1w", "1 s", "99999999999s", "2024-02-30x", "2024-02-30T00:00:00Z", "2024-02-29",
          "2024-02-29T23:59:58.", "2024-02-29T23:59:58+1", "1960-01-01T00:00:00Z"}) {
        EXPECT_FALSE(parse_since(text, 100 * kSecond)) << text;
    }
}

TEST(KnowsOperation, ByNameOrPattern) {
    EXPECT_TRUE(knows_operation(catalogue(), "outer"));
    EXPECT_TRUE(knows_operation(catalogue(), "[oi]*"));
    EXPECT_FALSE(knows_operation(catalogue(), "a step")); // no operation
    EXPECT_FALSE(knows_operation(catalogue(), "out"));
}

} // namespace
