// SPDX-License-Identifier: Apache-2.0
#include "hand_made_trace.h"
#include "ksltrace/render_json.h"
#include "ksltrace/statistics.h"

namespace {

using namespace hand_made;

// Operations "outer" that take 50, 100, ... microseconds.
void add_outer(Recording &recording, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        recording.add(kOuterEntry, {0});
        for (unsigned step = 0; step < i; ++step) {
            recording.add(kStep);
        }
        recording.add(kOuterExit, {0}).add(kElapsed, {i + 1});
    }
}

std::vector<OperationStatistics> all_of(const Trace &trace) {
    return statistics_of(trace, std::vector<bool>(trace.lines.size(), true));
}

TEST(Statistics, TimesAreOfTheNearestRank) {
    Recording recording;
    add_outer(recording, 101);
    const Trace trace = recording.decode();
    const auto outer = all_of(trace).at(0);
    EXPECT_EQ(outer.count, 101U);
    EXPECT_EQ(outer.elapsed_us->least, 50.0);
    EXPECT_EQ(outer.elapsed_us->median, 51 * 50.0);
    EXPECT_EQ(outer.elapsed_us->p99, 100 * 50.0);
    EXPECT_EQ(outer.elapsed_us->most, 101 * 50.0);
    EXPECT_EQ(outer.run_time_us->least, 1);
    EXPECT_EQ(outer.run_time_us->median, 51);
    EXPECT_EQ(outer.run_time_us->p99, 100);
    EXPECT_EQ(outer.run_time_us->most, 101);
}

Recording &mixed() {
    static Recording recording = [] {
        Recording made;
        add_outer(made, 2);
        made.add(kOuterEntry, {0}).add(kOuterExit, {101}).add(kOuterEntry, {0}).add(kOuterExit, {101});
        made.add(kOuterEntry, {0}).add(kOuterExit, {0xFFFFFFFF}).add(kOuterEntry, {0});
        made.add(kInnerEntry).add(kFailure, {0}).add(kInnerExit).add(kInnerExit);
        return made;
    }();
    return recording;
}

TEST(Statistics, AreATable) {
    const Trace trace = mixed().decode();
    EXPECT_EQ(render_statistics(all_of(trace), true, false),
              R"(operation  count  failed  no exit      min   median    99 %     max  codes
inner          2       1        0   100 µs   100 µs  100 µs  100 µs  1 without a code
outer          6       3        1  50.0 µs  50.0 µs  100 µs  100 µs  -1, 101 x2
)");
}

TEST(Statistics, AreJson) {
    const Trace trace = mixed().decode();
    const trace_kbuf_snapshot snapshot = mixed().snapshot();
    const auto json = nlohmann::json::parse(render_json({&snapshot}, trace, all_of(trace)));
    EXPECT_EQ(json["schema"], "ksl.trace-stats/1");
    EXPECT_EQ(json["buffer"]["name"], "HAND");
    EXPECT_EQ(json["operations"], nlohmann::json::parse(R"([
        {"operation": "inner", "count": 2, "failed": 1, "no_exit": 0, "codes": [],
         "elapsed_us": {"min": 100.0, "median": 100.0, "p99": 100.0, "max": 100.0}, "run_time_us": null},
        {"operation": "outer", "count": 6, "failed": 3, "no_exit": 1,
         "codes": [{"code": -1, "count": 1}, {"code": 101, "count": 2}],
         "elapsed_us": {"min": 50.0, "median": 50.0, "p99": 100.0, "max": 100.0},
         "run_time_us": {"min": 1.0, "median": 1.0, "p99": 2.0, "max": 2.0}}])"));
}

TEST(Statistics, CountWhatIsWanted) {
    const Trace trace = mixed().decode();
    std::vector<bool> wanted(trace.lines.size(), false);
    wanted[0] = true;
    ASSERT_EQ(statistics_of(trace, wanted).size(), 1U);
    EXPECT_EQ(statistics_of(trace, wanted)[0].count, 1U);
    EXPECT_EQ(render_statistics({}, false, false),
              "operation  count  failed  no exit  min  median  99 %  max  codes\n");
}

} // namespace
