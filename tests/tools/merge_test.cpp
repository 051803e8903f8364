// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/merge.h"

#include "hand_made_trace.h"
#include "ksltrace/render_text.h"
#include "ksltrace/selection.h"
#include "ksltrace/statistics.h"

namespace {

using namespace hand_made;

// Their records come a microsecond after each other; those of the second begin so many microseconds later.
struct Two {
    Recording first;
    Recording second;
    trace_kbuf_snapshot snapshots[2]{};

    Trace merge(uint64_t later_us) {
        snapshots[0] = first.snapshot();
        snapshots[1] = second.snapshot();
        for (size_t i = 0; i < snapshots[1].record_count; ++i) {
            snapshots[1].records[i].time_ns += later_us * 1000;
        }
        return ksltrace::merge({decode(snapshots[0], catalogue()), decode(snapshots[1], catalogue())}, {"one", "two"});
    }
};

std::string shown(const Trace &trace) {
    return render_text(trace, {.summary = true});
}

TEST(Merge, TimeDecidesBetweenTraces) {
    Two two;
    two.first.add(kOuterEntry, {1}, 7).add(kStep, {}, 7).lose(2).add(kFailure, {1}, 7).add(kOuterExit, {3}, 7);
    two.second.add(kOuterEntry, {2}, 9).add(kInnerEntry, {}, 9).add(kInnerExit, {}, 9).add(kOuterExit, {0}, 9);
    EXPECT_EQ(shown(two.merge(2)), R"(2024-02-29T23:59:58.999999Z [one 7] outer chip=1 -> 3 in 250 us
2024-02-29T23:59:59.000001Z [two 9] outer chip=2 -> 0 in 150 us
2024-02-29T23:59:59.000002Z [two 9]   inner -> done in 50.0 us
-- 2 records of one damaged or not finished --
2024-02-29T23:59:59.000003Z [one 7]   ! it failed page=0x01
)");
}

TEST(Merge, WithinATraceTheOrderOfWritingStays) {
    Two two;
    two.first.add(kInnerEntry).add(kInnerExit).add(kOuterEntry, {1}).add(kOuterExit, {0});
    two.second.add(kOuterEntry, {2}).add(kOuterExit, {0});
    two.merge(10);
    for (size_t i = 2; i < 4; ++i) {
        two.snapshots[0].records[i].time_ns -= 1'000'000; // the clock was set back before the third record
    }
    const Trace trace =
        merge({decode(two.snapshots[0], catalogue()), decode(two.snapshots[1], catalogue())}, {"one", "two"});
    EXPECT_EQ(shown(trace), R"(2024-02-29T23:59:58.999999Z [one 100] inner -> done in 50.0 us
2024-02-29T23:59:58.999001Z [one 100] outer chip=1 -> 0 in 50.0 us
2024-02-29T23:59:59.000009Z [two 100] outer chip=2 -> 0 in 50.0 us
)");
}

TEST(Merge, OperationsAreInTheOrderOfTheirFirstLines) {
    Two two;
    two.first.add(kOuterEntry, {1}).add(kOuterExit, {0}).add(kOuterExit, {5});
    two.second.add(kOuterEntry, {2}).add(kInnerEntry).add(kInnerExit).add(kOuterExit, {0});
    const Trace trace = two.merge(1);
    ASSERT_EQ(trace.operations.size(), 4U);
    size_t last = 0;
    for (const Operation &operation : trace.operations) {
        EXPECT_GE(operation.first_line(), last);
        last = operation.first_line();
        EXPECT_EQ(trace.lines[operation.first_line()].point->text, operation.name);
        if (operation.entry != kNone && operation.exit != kNone) {
            EXPECT_EQ(trace.lines[operation.entry].operation, trace.lines[operation.exit].operation);
        }
    }
    const std::vector<bool> wanted = select(trace, {.last = 1});
    EXPECT_EQ(render_text(trace, {.summary = true}, {.wanted = &wanted}),
              "2024-02-29T23:59:59.000001Z [one 100] outer -> 5 (entry lost)\n"
              "2024-02-29T23:59:59.000001Z [two 100]   inner -> done in 50.0 us\n");
}

TEST(Merge, NothingIsATraceToo) {
    EXPECT_TRUE(merge({}, {}).lines.empty());
}

} // namespace
