// SPDX-License-Identifier: Apache-2.0
// What other programs get. Whether they take it is tried with export_formats_test.py.
#include "hand_made_trace.h"
#include "ksltrace/ctf.h"
#include "ksltrace/perfetto.h"
#include "ksltrace/render_json.h"

namespace {

using namespace hand_made;
using nlohmann::json;

struct Exported {
    Recording recording;
    trace_kbuf_snapshot snapshot{};
    Trace trace;
    std::vector<bool> wanted;

    void finish() {
        snapshot = recording.snapshot();
        trace = recording.decode();
        wanted.assign(trace.lines.size(), true);
    }
};

TEST(JsonLines, BeginWithTheBuffer) {
    Exported made;
    made.recording.add(kStep).add(kOuterEntry, {1}).lose(2);
    made.finish();
    made.wanted[0] = false;
    std::istringstream lines(render_json_lines({&made.snapshot}, made.trace, made.wanted));
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(json::parse(line), json::parse(R"({"schema": "ksl.trace/1", "lost_at_end": 2, "buffer": {
        "name": "HAND", "writer": "made by hand", "byte_order": "big", "word_bits": 32, "capacity": 1000,
        "written": 4, "overwritten": 0, "incomplete": 0, "problem": null}})"));
    std::getline(lines, line);
    EXPECT_EQ(json::parse(line)["point"], "outer_entry");
    EXPECT_FALSE(std::getline(lines, line));
}

TEST(Perfetto, OperationsAreSpansAndRecordsInstants) {
    Exported made;
    made.recording
        .ticks_per_second(50e6) // as fast as the clock goes on
        .add(kOuterEntry, {3})
        .add(kRegister, {0x01, 0x10})
        .add(kOuterExit, {0xFFFFFFFF})
        .add(kElapsed, {2})
        .lose(2)
        .add(kInnerEntry, {}, 7)
        .add(kTypes, {1, 0xFFFFFFFF, 3, 4, 5}, 7)
        .add(kUnknown, {9})
        .add(kOuterExit, {0})
        .lose(1);
    made.finish();
    const json document = json::parse(render_perfetto({&made.snapshot}, made.trace, made.wanted));
    EXPECT_EQ(document["otherData"], json::parse(R"({"buffer": "HAND", "start": "2024-02-29T23:59:58.999999Z"})"));
    EXPECT_EQ(document["traceEvents"], json::parse(R"json([
        {"ph": "M", "name": "process_name", "pid": 1, "args": {"name": "trace buffer HAND"}},
        {"ph": "M", "name": "thread_name", "pid": 1, "tid": 100, "args": {"name": "writer 100"}},
        {"ph": "X", "name": "outer", "pid": 1, "tid": 100, "ts": 0.0, "dur": 2.0, "cat": "operation,failed",
         "cname": "terrible", "args": {"chip": 3, "result": -1, "failed": true, "run_time_us": 2}},
        {"ph": "i", "name": "register read failed", "pid": 1, "tid": 100, "ts": 1.0, "s": "t", "cat": "failure",
         "args": {"page": "0x01", "offset": "0x10", "register": "link status"}},
        {"ph": "M", "name": "thread_name", "pid": 1, "tid": 7, "args": {"name": "writer 7"}},
        {"ph": "i", "name": "2 records lost", "pid": 1, "tid": 7, "ts": 6.0, "s": "g", "cat": "gap",
         "args": {"lost": 2}},
        {"ph": "X", "name": "inner", "pid": 1, "tid": 7, "ts": 6.0, "dur": 1.0, "cat": "operation",
         "args": {"note": "no exit"}},
        {"ph": "i", "name": "all types", "pid": 1, "tid": 7, "ts": 7.0, "s": "t", "cat": "step",
         "args": {"count": 1, "code": -1, "word": "0x03", "place": "0x00000004", "last": "05"}},
        {"ph": "i", "name": "0xdeadbeef", "pid": 1, "tid": 100, "ts": 8.0, "s": "t", "cat": "unknown",
         "args": {"v0": "0x00000009"}},
        {"ph": "i", "name": "outer (entry lost)", "pid": 1, "tid": 100, "ts": 9.0, "s": "t", "cat": "exit",
         "args": {
        "result" : 0}
},
        {"ph": "i", "name": "1 record lost", "pid": 1, "tid": 100, "ts": 9.0, "s": "g", "cat": "gap",
         "args": {"lost": 1}}])json"));
}

TEST(Perfetto, NothingIsADocumentToo) {
    Exported made;
    made.finish();
    const json document = json::parse(render_perfetto({&made.snapshot}, made.trace, made.wanted));
    EXPECT_EQ(document["traceEvents"].size(), 1U);
    EXPECT_EQ(document["otherData"]["start"], "1970-01-01T00:00:00.000000Z");
}

TEST(Ctf, TheBytesAreTheSameOnEveryMachine) {
    Exported made;
    made.recording.lose(1).add(kOuterExit, {0xFFFFFFFE}).lose(1);
    made.finish();
    const CtfTrace trace = render_ctf({&made.snapshot}, made.trace, made.wanted);
    const auto le = [](uint64_t number, int bytes) {
        std::string text;
        for (int i = 0; i < bytes; ++i) {
            text += static_cast<char>(number >> (8 * i));
        }
        return text;
    };
    const auto packet = [&](uint64_t lost, const std::string &events) {
        const uint64_t bits = (48 + events.size()) * 8;
        const uint64_t time = kStart + 1000;
        return le(0xC1FC1FC1, 4) + le(0, 4) + le(bits, 8) + le(bits, 8) + le(time, 8) + le(time, 8) + le(lost, 8) +
               events;
    };
    EXPECT_EQ(trace.stream,
              packet(1, le(0, 4) + le(kStart + 1000, 8) + le(1, 8) + le(kWriter, 4) + le(77, 2) + le(0xFFFFFFFE, 4)) +
                  packet(2, ""));
    EXPECT_THAT(trace.metadata, testing::StartsWith("/* CTF 1.8 */"));
    EXPECT_THAT(trace.metadata, testing::HasSubstr("name = \"outer_exit\";\n    id = 0;\n    stream_id = 0;\n"
                                                   "    loglevel = 6;\n    fields := struct { int32_t _result; };"));
}

TEST(Ctf, EventsAreInTheOrderOfTheirTimes) {
    Exported made;
    made.recording.add(kStep).add(kBytes, {1, 2, 3}).add(kFailure, {4});
    made.finish();
    trace_kbuf_record early = *made.trace.lines[2].record;
    early.time_ns = kStart - 1;
    made.trace.lines[2].record = &early;
    const CtfTrace trace = render_ctf({&made.snapshot}, made.trace, made.wanted);
    const size_t failure = trace.metadata.find("\"a_failure\";\n    id = 0;\n    stream_id = 0;\n    loglevel = 3;");
    const size_t step = trace.metadata.find("\"a_step\";\n    id = 1;");
    EXPECT_NE(failure, std::string::npos);
    EXPECT_NE(step, std::string::npos);
}

} // namespace
