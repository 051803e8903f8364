// SPDX-License-Identifier: Apache-2.0
#include "hand_made_trace.h"
#include "ksltrace/render_json.h"
#include "ksltrace/render_text.h"

namespace {

using namespace hand_made;

TEST(RenderText, TimeIsUtcWithMicroseconds) {
    EXPECT_EQ(render_time(0), "1970-01-01T00:00:00.000000Z");
    EXPECT_EQ(render_time(kStart + 999), "2024-02-29T23:59:58.999999Z");
    EXPECT_EQ(render_time(kStart + 1000), "2024-02-29T23:59:59.000000Z");
    EXPECT_EQ(render_time(4'102'444'800'000'001'000), "2100-01-01T00:00:00.000001Z");
    EXPECT_EQ(render_time(UINT64_MAX), "2554-07-21T23:34:33.709551Z");
}

TEST(RenderText, EachRecordIsALine) {
    Recording recording;
    recording.lose(1)
        .add(kOuterEntry, {0xFFFFFFFF})
        .add(kInnerEntry)
        .add(kStep)
        .add(kInnerExit)
        .add(kElapsed, {7})
        .lose(2)
        .add(kInnerEntry)
        .add(kFailure, {1})
        .add(kOuterExit, {0xFFFFFFFF})
        .add(kElapsed, {4000000000})
        .add(kInnerExit)
        .add(kOuterEntry, {3})
        .add(kElapsed, {12})
        .lose(1);
    EXPECT_EQ(render_text(recording.decode()), R"(-- 1 record lost --
2024-02-29T23:59:59.000000Z > outer chip=4294967295
2024-02-29T23:59:59.000001Z   > inner
2024-02-29T23:59:59.000002Z     - a step
2024-02-29T23:59:59.000003Z   < inner (100.0 us, run time 7 us)
-- 2 records lost --
2024-02-29T23:59:59.000007Z   > inner (left early)
2024-02-29T23:59:59.000008Z     ! it failed page=0x01
2024-02-29T23:59:59.000009Z < outer result=-1 (450.0 us, run time 4000000000 us)
2024-02-29T23:59:59.000011Z < inner (entry lost)
2024-02-29T23:59:59.000012Z > outer chip=3 (no exit)
2024-02-29T23:59:59.000013Z   - run time microseconds=12
-- 1 record lost --
)");
}

TEST(RenderText, ValuesAreShownByTheirTypes) {
    Recording recording;
    recording.add(kTypes, {4294967295, 0x80000000, 0x5, 0xBFF, 0x7})
        .add(kTypes, {0, 5, 0x12345, 0xFFFFFFFF, 0xAB})
        .add(kBytes, {0x81, 0x02, 0xFF});
    EXPECT_EQ(
        render_text(recording.decode()),
        R"(2024-02-29T23:59:58.999999Z - all types count=4294967295 code=-2147483648 word=0x05 place=0x00000bff last=07
2024-02-29T23:59:59.000000Z - all types count=0 code=5 word=0x12345 place=0xffffffff last=ab
2024-02-29T23:59:59.000001Z - bytes 81 02 ff
)");
}

TEST(RenderText, RecordsThatNoTableExplainsArePlainNumbers) {
    Recording recording;
    recording.add(kUnknown).add(kUnknown, {1, 0xFFFFFFFF, 3, 4, 5, 6, 7, 8, 9}).add(kStep, {0x10}).add(kFailure);
    EXPECT_EQ(render_text(recording.decode()), R"(2024-02-29T23:59:58.999999Z ? 0xdeadbeef line 77 (in no table)
2024-02-29T23:59:59.000000Z ? 0xdeadbeef line 77: 0x00000001 0xffffffff 0x00000003 0x00000004 0x00000005 0x00000006 0x00000007 0x00000008 0x00000009 (in no table)
2024-02-29T23:59:59.000001Z ? 0x00000005 line 77: 0x00000010 (another number of values than in the table)
2024-02-29T23:59:59.000002Z ? 0x00000006 line 77 (another number of values than in the table)
)");
}

TEST(RenderText, SeveralWritersAreNamed) {
    Recording recording;
    recording.add(kOuterEntry, {0}, 7).add(kInnerEntry, {}, 12345).add(kOuterExit, {0}, 7).add(kInnerExit, {}, 12345);
    EXPECT_EQ(render_text(recording.decode()), R"(2024-02-29T23:59:58.999999Z [7] > outer chip=0
2024-02-29T23:59:59.000000Z [12345] > inner
2024-02-29T23:59:59.000001Z [7] < outer result=0 (100.0 us)
2024-02-29T23:59:59.000002Z [12345] < inner (100.0 us)
)");
}

TEST(RenderText, NothingRecordedIsNothing) {
    Recording recording;
    EXPECT_EQ(render_text(recording.decode()), "");
}

TEST(RenderJson, EachRecordIsAnObjectWithAllKeys) {
    Recording recording;
    recording.lose(2).add(kOuterEntry, {1}).add(kOuterExit, {0xFFFFFFFF}).add(kElapsed, {9}).add(kUnknown, {5});
    const nlohmann::ordered_json json = render_json(recording.decode());
    EXPECT_EQ(json, nlohmann::ordered_json::parse(R"([
        {"sequence": 2, "lost_before": 2, "time": "2024-02-29T23:59:59.000001Z", "writer": 100, "depth": 0,
         "identifier": "0x00000001", "line": 77, "kind": "entry", "point": "outer_entry", "text": "outer",
         "values": [{"name": "chip", "value": 1}], "note": null, "elapsed_us": null, "run_time_us": null},
        {"sequence": 3, "lost_before": 0, "time": "2024-02-29T23:59:59.000002Z", "writer": 100, "depth": 0,
         "identifier": "0x00000002", "line": 77, "kind": "exit", "point": "outer_exit", "text": "outer",
         "values": [{"name": "result", "value": -1}], "note": null, "elapsed_us": 50.0, "run_time_us": 9},
        {"sequence": 4, "lost_before": 0, "time": "2024-02-29T23:59:59.000003Z", "writer": 100, "depth": 0,
         "identifier": "0x00000007", "line": 77, "kind": "elapsed", "point": "elapsed", "text": "run time",
         "values": [{"name": "microseconds", "value": 9}], "note": null, "elapsed_us": null, "run_time_us": null},
        {"sequence": 5, "lost_before": 0, "time": "2024-02-29T23:59:59.000004Z", "writer": 100, "depth": 0,
         "identifier": "0xdeadbeef", "line": 77, "kind": "unknown", "point": null, "text": null,
         "values": [{"name": null, "value": 5}], "note": null, "elapsed_us": null, "run_time_us": null}
    ])"));
}

TEST(RenderJson, NotesTellWhatIsMissing) {
    Recording recording;
    recording.add(kInnerExit).add(kOuterEntry, {0}).add(kInnerEntry).add(kOuterExit, {0}).add(kInnerEntry);
    const nlohmann::ordered_json json = render_json(recording.decode());
    EXPECT_EQ(json[0]["note"], "entry lost");
    EXPECT_EQ(json[1]["note"], nullptr);
    EXPECT_EQ(json[2]["note"], "left early");
    EXPECT_EQ(json[4]["note"], "no exit");
}

} // namespace
