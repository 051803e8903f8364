// SPDX-License-Identifier: Apache-2.0
#include "hand_made_trace.h"
#include "ksltrace/register_names.h"
#include "ksltrace/render_json.h"
#include "ksltrace/render_text.h"
#include "ksltrace/snapshot.h"
#include "ksltrace/values.h"

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
    EXPECT_EQ(render_text(recording.decode()), R"(-- 1 record damaged or not finished --
2024-02-29T23:59:59.000000Z > outer chip=4294967295
2024-02-29T23:59:59.000001Z   > inner
2024-02-29T23:59:59.000002Z     - a step
2024-02-29T23:59:59.000003Z   < inner (100.0 us, run time 7 us)
-- 2 records damaged or not finished --
2024-02-29T23:59:59.000007Z   > inner (left early)
2024-02-29T23:59:59.000008Z     ! it failed page=0x01
2024-02-29T23:59:59.000009Z < outer result=-1 (450.0 us, run time 4000000000 us)
2024-02-29T23:59:59.000011Z < inner (entry lost)
2024-02-29T23:59:59.000012Z > outer chip=3 (no exit)
2024-02-29T23:59:59.000013Z   - run time microseconds=12
-- 1 record damaged or not finished --
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

TEST(RenderText, OverwrittenRecordsAreTold) {
    Recording recording;
    recording.capacity(2).lose(3).add(kStep).lose(1);
    EXPECT_EQ(render_text(recording.decode()), R"(-- 3 records overwritten --
2024-02-29T23:59:59.000002Z - a step
-- 1 record damaged or not finished --
)");
}

TEST(RenderText, RegistersAreNamed) {
    Recording recording;
    recording.add(kRegister, {0x34, 0x10 + 2 * 23}).add(kRegister, {0x34, 0x10 + 2 * 24});
    EXPECT_EQ(render_text(recording.decode()),
              R"(2024-02-29T23:59:58.999999Z ! register read failed page=0x34 offset=0x3e (PVID of port 23)
2024-02-29T23:59:59.000000Z ! register read failed page=0x34 offset=0x40
)");
}

TEST(RenderText, SourceLinesAndMicroSignsAreThereIfWanted) {
    Recording recording;
    recording.add(kOuterEntry, {0}).add(kOuterExit, {0}).add(kElapsed, {3}).add(kRegister, {0x00, 0x00}).add(kUnknown);
    EXPECT_EQ(render_text(recording.decode(), {.source_lines = true, .unicode = true}),
              R"(2024-02-29T23:59:58.999999Z > outer chip=0 (line 77)
2024-02-29T23:59:59.000000Z < outer result=0 (line 77, 50.0 µs, run time 3 µs)
2024-02-29T23:59:59.000002Z ! register read failed page=0x00 offset=0x00 (switch mode, line 77)
2024-02-29T23:59:59.000003Z ? 0xdeadbeef line 77 (in no table)
)");
}

TEST(RenderSummary, EachOperationIsALine) {
    Recording recording;
    recording.add(kStep)
        .add(kOuterEntry, {4})
        .add(kStep)
        .add(kInnerEntry)
        .add(kRegister, {0x01, 0x10})
        .add(kInnerExit)
        .add(kInnerEntry)
        .add(kInnerExit)
        .add(kUnknown, {1})
        .add(kOuterExit, {0xFFFFFFFF})
        .add(kElapsed, {7})
        .add(kInnerEntry)
        .add(kFailure, {1})
        .add(kElapsed, {8})
        .add(kOuterEntry, {5})
        .add(kInnerEntry)
        .add(kOuterExit, {0})
        .add(kInnerExit, {}, kWriter + 1);
    EXPECT_EQ(render_text(recording.decode(), {.summary = true}), R"(2024-02-29T23:59:58.999999Z [100] - a step
2024-02-29T23:59:59.000000Z [100] outer chip=4 -> -1 in 400 us (run time 7 us)
2024-02-29T23:59:59.000002Z [100]   inner -> failed in 100 us
2024-02-29T23:59:59.000003Z [100]     ! register read failed page=0x01 offset=0x10 (link status)
2024-02-29T23:59:59.000005Z [100]   inner -> done in 50.0 us
2024-02-29T23:59:59.000007Z [100]   ? 0xdeadbeef line 77: 0x00000001 (in no table)
2024-02-29T23:59:59.000010Z [100] inner -> no exit
2024-02-29T23:59:59.000011Z [100]   ! it failed page=0x01
2024-02-29T23:59:59.000013Z [100] outer chip=5 -> 0 in 100 us
2024-02-29T23:59:59.000014Z [100]   inner -> left early
2024-02-29T23:59:59.000016Z [101] inner -> done (entry lost)
)");
}

TEST(RenderSummary, OnlyWantedLinesAreThereAndGapsStayTold) {
    Recording recording;
    recording.lose(1).add(kStep).lose(2).add(kOuterEntry, {0}).add(kOuterExit, {0}).add(kStep);
    const std::vector<bool> wanted{false, true, true, false};
    EXPECT_EQ(render_text(recording.decode(), {.summary = true}, {.wanted = &wanted}),
              R"(-- 3 records damaged or not finished --
2024-02-29T23:59:59.000003Z outer chip=0 -> 0 in 50.0 us
)");
}

TEST(RenderSummary, TheExitOfAnOperationThatWasShownOpenIsShown) {
    Recording recording;
    recording.add(kOuterEntry, {0}).add(kInnerEntry).add(kInnerExit).add(kOuterExit, {3});
    const std::set<std::pair<size_t, uint64_t>> open{{0, 0}};
    EXPECT_EQ(render_text(recording.decode(), {.summary = true}, {.begin = 1, .open_before = &open}),
              R"(2024-02-29T23:59:59.000000Z   inner -> done in 50.0 us
2024-02-29T23:59:59.000002Z outer -> 3 in 150 us
)");
}

TEST(RenderSummary, TerminalsGetEmphasisAndArrows) {
    Recording recording;
    recording.add(kOuterEntry, {0}).add(kFailure, {1}).add(kOuterExit, {9}).add(kOuterEntry, {0}).add(kOuterExit, {0});
    EXPECT_EQ(render_text(recording.decode(), {.summary = true, .unicode = true, .emphasis = true}),
              "\x1b[2m2024-02-29T23:59:58.999999Z\x1b[0m \x1b[1mouter\x1b[0m chip=0 → \x1b[31m9\x1b[0m in 100 µs\n"
              "\x1b[2m2024-02-29T23:59:59.000000Z\x1b[0m   ! \x1b[31mit failed\x1b[0m page=0x01\n"
              "\x1b[2m2024-02-29T23:59:59.000002Z\x1b[0m \x1b[1mouter\x1b[0m chip=0 → 0 in 50.0 µs\n");
}

TEST(RenderDuration, HasThreeDigitsAndAUnit) {
    EXPECT_EQ(render_duration(0, false), "0.00 us");
    EXPECT_EQ(render_duration(9.994, false), "9.99 us");
    EXPECT_EQ(render_duration(9.996, false), "10.0 us");
    EXPECT_EQ(render_duration(99.96, false), "100 us");
    EXPECT_EQ(render_duration(999.4, true), "999 µs");
    EXPECT_EQ(render_duration(999.6, false), "1.00 ms");
    EXPECT_EQ(render_duration(999'600, true), "1.00 s");
    EXPECT_EQ(render_duration(123'456'789, false), "123 s");
    EXPECT_EQ(render_duration(-31, false), "-31.0 us"); // a clock that was set back
}

TEST(RegisterName, IsThatOfThePlace) {
    const struct {
        uint32_t page;
        uint32_t offset;
        const char *name;
    } kSingle[] = {
        {0x00, 0x00, "switch mode"},
        {0x01, 0x00, "self-test status"},
        {0x01, 0x10, "link status"},
        {0x01, 0x14, "link change"},
        {0x01, 0x18, "port speed status"},
        {0x01, 0x1C, "port duplex status"},
        {0x02, 0x06, "age timer"},
        {0x02, 0x10, "mirror control"},
        {0x02, 0x14, "ingress mirror mask"},
        {0x02, 0x20, "egress mirror mask"},
        {0x05, 0x20, "address search control"},
        {0x05, 0x24, "address entry"},
        {0x05, 0x2C, "address VLAN"},
        {0x08, 0x30, "VLAN table command"},
        {0x08, 0x32, "VLAN table address"},
        {0x08, 0x38, "VLAN table entry"},
        {0x32, 0x00, "trunk control"},
        {0x32, 0x10, "trunk group 0"},
        {0x34, 0x00, "VLAN enable"},
        {0x34, 0x01, "VLAN control 1"},
        {0x34, 0x08, "VLAN control 8"},
        {0x02, 0x21, ""},
    };
    for (const auto &[page, offset, name] : kSingle) {
        EXPECT_EQ(register_name(page, offset), name) << page << ' ' << offset;
    }
}

TEST(RegisterName, OfAPortsRegisterHasThePort) {
    EXPECT_EQ(register_name(0x10, 0x00), "PHY control of port 0");
    EXPECT_EQ(register_name(0x27, 0x00), "PHY control of port 23");
    EXPECT_EQ(register_name(0x34, 0x10), "PVID of port 0");
    EXPECT_EQ(register_name(0x41, 0x9E), "learning limit of port 23");
    EXPECT_EQ(register_name(0x27, 0x30), "speed indication of port 23");
    EXPECT_EQ(register_name(0x28, 0x30), "");
    EXPECT_EQ(register_name(0x00, 0xE7), "port control of port 23");
    EXPECT_EQ(register_name(0x41, 0x5E), "learned addresses of port 23");
    EXPECT_EQ(register_name(0x41, 0x5F), "");
    EXPECT_EQ(register_name(0x101, 0x210), "link status"); // the chip sees the low 8 bits
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
        {"sequence": 2, "lost_before": 2, "overwritten_before": 0, "time": "2024-02-29T23:59:59.000001Z", "writer": 100, "depth": 0,
         "identifier": "0x00000001", "line": 77, "kind": "entry", "point": "outer_entry", "text": "outer",
         "values": [{"name": "chip", "value": 1}], "register": null, "note": null, "elapsed_us": null, "run_time_us": null},
        {"sequence": 3, "lost_before": 0, "overwritten_before": 0, "time": "2024-02-29T23:59:59.000002Z", "writer": 100, "depth": 0,
         "identifier": "0x00000002", "line": 77, "kind": "exit", "point": "outer_exit", "text": "outer",
         "values": [{"name": "result", "value": -1}], "register": null, "note": null, "elapsed_us": 50.0, "run_time_us": 9},
        {"sequence": 4, "lost_before": 0, "overwritten_before": 0, "time": "2024-02-29T23:59:59.000003Z", "writer": 100, "depth": 0,
         "identifier": "0x00000007", "line": 77, "kind": "elapsed", "point": "elapsed", "text": "run time",
         "values": [{"name": "microseconds", "value": 9}], "register": null, "note": null, "elapsed_us": null, "run_time_us": null},
        {"sequence": 5, "lost_before": 0, "overwritten_before": 0, "time": "2024-02-29T23:59:59.000004Z", "writer": 100, "depth": 0,
         "identifier": "0xdeadbeef", "line": 77, "kind": "unknown", "point": null, "text": null,
         "values": [{"name": null, "value": 5}], "register": null, "note": null, "elapsed_us": null, "run_time_us": null}
    ])"));
}

TEST(RenderJson, TellsOverwrittenRecordsAndRegisters) {
    Recording recording;
    recording.capacity(2).lose(4).add(kRegister, {0x01, 0x10});
    const nlohmann::ordered_json json = render_json(recording.decode());
    EXPECT_EQ(json[0]["lost_before"], 4);
    EXPECT_EQ(json[0]["overwritten_before"], 3);
    EXPECT_EQ(json[0]["register"], "link status");
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

// A trace may come from anybody.
TEST(Snapshot, WhatAFileSaysOfItselfSteersNoTerminal) {
    std::string bytes(192, '\0');
    bytes.replace(0, 20, std::string("TRCEKBUF\1\2\3\4\0\0\0\1\0\0\0\40", 20));
    bytes.replace(32, 13, "\x1b[2J\n\x7f \t\u009b\u202e");
    bytes.replace(96, 5, "\x1b]0;\x07");
    const Snapshot snapshot = owned(trace_kbuf_snapshot_bytes(bytes.data(), bytes.size(), "bytes"));
    EXPECT_STREQ(snapshot->name, "?[2J?? ???");
    EXPECT_STREQ(snapshot->writer, "?]0;?");
}

} // namespace
