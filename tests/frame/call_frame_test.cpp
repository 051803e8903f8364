// SPDX-License-Identifier: Apache-2.0
#include "operations.h"
#include "scripted_test.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <map>

namespace ksl::test {
namespace {

using Helpers = Opened;

const uint8_t kBytes[9] = {0x81, 0x82, 0x83, 0xFF, 0x05, 0x06, 0x07, 0x08, 0x09};

TEST_F(Helpers, EveryLengthIsDumpedByAPointOfItsOwn) {
    const std::array<TracePoint, 8> points{
        points::status_bytes_1, points::status_bytes_2, points::status_bytes_3, points::status_bytes_4,
        points::status_bytes_5, points::status_bytes_6, points::status_bytes_7, points::status_bytes_8,
    };
    for (uint32_t length = 1; length <= 8; ++length) {
        SCOPED_TRACE(length);
        platform.trace_result = static_cast<int32_t>(40 + length);
        EXPECT_EQ(__print_status_array(kBytes, length), platform.trace_result);
        EXPECT_EQ(platform.take(), (Calls{record(points[length - 1], std::vector<uint32_t>(kBytes, kBytes + length))}));
    }
}

TEST_F(Helpers, OtherLengthsLeaveARecordWithoutBytes) {
    platform.trace_result = -3;
    for (const uint32_t length : {0u, 9u, 256u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(length);
        EXPECT_EQ(__print_status_array(nullptr, length), -3);
        EXPECT_EQ(platform.take(), (Calls{record(points::status_bytes_unsupported)}));
    }
}

struct Elapsed {
    timeval start;
    timeval end;
    uint32_t microseconds;
};

TEST_F(Helpers, TheRunTimeIsRightAcrossEveryWrap) {
    const Elapsed rows[] = {
        {{100, 999999}, {101, 2}, 3},
        {{4295, 17}, {4296, 17}, 1000000},
        {{0, 0}, {0, 0}, 0},
        {{4294, 967295}, {4294, 967296}, 1},
        {{1, 0}, {4295, 967295}, 4294967295u},
        {{1, 0}, {4295, 967296}, 0},
        {{2000000000, 5}, {2000000001, 4}, 999999},
        {{5, 1}, {5, 0}, 4294967295u},
    };
    platform.trace_result = 6;
    for (const Elapsed &row : rows) {
        SCOPED_TRACE(row.microseconds);
        EXPECT_EQ(__print_time_diff(&row.end, &row.start), 6);
        EXPECT_EQ(platform.take(), (Calls{record(points::elapsed_time, row.microseconds)}));
    }
}

TEST_F(Helpers, CopyTakesTheSourceFirstAndReturnsTheDestination) {
    uint8_t destination[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(__hwa_copy_status_bytes(kBytes, destination, 3), destination);
    EXPECT_EQ(Bytes(destination, destination + 4), (Bytes{0x81, 0x82, 0x83, 0xEE}));
    EXPECT_EQ(platform.take(), Calls{});
}

TEST_F(Helpers, TimingIsSwitchedWithoutATrace) {
    ksl_enable_time();
    EXPECT_EQ(ksl_time_enabled, 1u);
    ksl_enable_time();
    EXPECT_EQ(ksl_time_enabled, 1u);
    ksl_disable_time();
    EXPECT_EQ(ksl_time_enabled, 0u);
    EXPECT_EQ(platform.take(), Calls{});
}

// ---- The rules that hold for every operation ----

class EveryOperation : public Opened, public testing::WithParamInterface<Operation> {
protected:
    const Operation &operation = GetParam();

    static bool has(const Calls &calls, TracePoint point) {
        return std::any_of(calls.begin(), calls.end(),
                           [&](const Call &call) { return call.identifier == point.identifier; });
    }

    static long stamps(const Calls &calls) {
        return std::count_if(calls.begin(), calls.end(),
                             [](const Call &call) { return call.text.find("gettimeofday") == 0; });
    }

    // Its stamps by number: its own, around those of the operations that it runs.
    const uint32_t own_starts = operation.stamps_its_start ? 1 : 0;
    const uint32_t end = own_starts + 2 * operation.inner_operations;
    const uint32_t last_start = operation.inner_operations == 0 ? 0 : end - 2;
};

TEST_P(EveryOperation, StampsItsStartAndItsEnd) {
    platform.now = {5000, 999990};
    EXPECT_EQ(operation.run(0), 0);
    const Calls calls = platform.take();
    ASSERT_GE(calls.size(), 3u + own_starts);
    if (operation.stamps_its_start) {
        EXPECT_EQ(calls[0].text, stamp_start().text);
    }
    EXPECT_EQ(calls[own_starts].identifier, operation.entry.identifier);
    EXPECT_EQ(calls[calls.size() - 2].identifier, operation.exit.identifier);
    EXPECT_EQ(calls.back().text, stamp_end().text);
    EXPECT_EQ(stamps(calls), end + 1);
    EXPECT_FALSE(has(calls, points::elapsed_time));
    const uint32_t start_us = 999990 + last_start * platform.clock_step;
    const uint32_t end_us = 999990 + end * platform.clock_step;
    EXPECT_EQ(ksl_start_time.tv_sec, 5000 + start_us / 1000000);
    EXPECT_EQ(ksl_start_time.tv_usec, start_us % 1000000);
    EXPECT_EQ(ksl_end_time.tv_sec, 5000 + end_us / 1000000);
    EXPECT_EQ(ksl_end_time.tv_usec, end_us % 1000000);
}

TEST_P(EveryOperation, TracesItsRunTimeWhereTimingIsOn) {
    ksl_enable_time();
    platform.clock_step = 31;
    EXPECT_EQ(operation.run(0), 0);
    const Calls calls = platform.take();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[calls.size() - 3].identifier, operation.exit.identifier);
    EXPECT_EQ(calls[calls.size() - 2].text, stamp_end().text);
    // An operation inside has overwritten the start stamp.
    EXPECT_EQ(calls.back().text, record(points::elapsed_time, 31 * (end - last_start)).text);
}

TEST_P(EveryOperation, AnyNonZeroFlagTurnsTimingOn) {
    ksl_time_enabled = 0x80000000u;
    EXPECT_EQ(operation.run(0), 0);
    EXPECT_TRUE(has(platform.take(), points::elapsed_time));
}

TEST_P(EveryOperation, TracesTheWholeChipNumberAndAddressesItsLowByte) {
    EXPECT_EQ(operation.run(0x102), 0);
    const Calls calls = platform.take();
    EXPECT_EQ(calls[own_starts].text, record(operation.entry, operation.entry_values(0x102)).text);
    EXPECT_EQ(calls.text().find("chip=0x102"), std::string::npos);
}

TEST_P(EveryOperation, LeavesAtOnceWhenItRefuses) {
    if (operation.run_refused == nullptr) {
        return;
    }
    ksl_enable_time();
    ksl_end_time = {77, 78};
    EXPECT_EQ(operation.run_refused(3), -1);
    const Calls calls = platform.take();
    ASSERT_EQ(calls.size(), 2u) << calls;
    EXPECT_EQ(calls[0].text, stamp_start().text);
    EXPECT_EQ(calls[1].identifier, operation.entry.identifier);
    EXPECT_NE(calls[1].text.find("slots: 0x3 "), std::string::npos);
    EXPECT_EQ(ksl_end_time.tv_sec, 77);
    EXPECT_EQ(ksl_end_time.tv_usec, 78);
}

TEST_P(EveryOperation, IgnoresWhatTheTraceLibraryAnswers) {
    platform.trace_result = -9;
    EXPECT_EQ(operation.run(0), 0);
}

TEST_P(EveryOperation, RunsBeforeInitAndAfterTerminate) {
    ksl_terminate();
    platform.take();
    EXPECT_EQ(operation.run(0), 0);
    EXPECT_EQ(platform.take().back().text, stamp_end().text);
    ksl_init();
    platform.take();
}

// The source file of each operation's records: they are numbered from its entry record upwards, behind those that
// operations of the same group share.
std::string source_of(uint32_t identifier) {
    std::string source;
    uint32_t nearest = 0;
    for (const Operation &operation : operations()) {
        const uint32_t entry = operation.entry.identifier;
        if (entry >> 16 == identifier >> 16 && (source.empty() || (entry <= identifier && entry > nearest))) {
            source = operation.source;
            nearest = entry;
        }
    }
    return source;
}

const std::map<uint32_t, std::string> kNames{
#undef KSL_TRACE_POINT
#define KSL_TRACE_POINT(identifier, kind, name, values, text) {identifier, #name},
#include "trace_points.def"
};

std::vector<std::string> lines_of(const std::string &source) {
    std::ifstream file(KSL_SOURCE_DIR "/src/" + source);
    std::vector<std::string> lines{""};
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

// What stands from a line to the end of its statement.
std::string statement_at(const std::vector<std::string> &lines, size_t line) {
    std::string statement = lines[line];
    while (statement.find(';') == std::string::npos && ++line < lines.size()) {
        statement += lines[line];
    }
    return statement;
}

// A record's line is where its operation writes it, also when a helper does the writing.
TEST_P(EveryOperation, NamesTheLinesOfItsOwnSource) {
    platform.failures[1] = 5;
    operation.run(0);
    Calls calls = platform.take();
    platform.failures.clear();
    operation.run(0);
    calls += platform.take();
    std::string source;
    std::vector<std::string> lines;
    for (const Call &call : calls) {
        if (call.identifier == 0) {
            continue;
        }
        // The failure records belong to the operation that wrote last; the other shared ones have lines of the frame.
        const bool failure = call.identifier >> 16 == points::register_read_failed.identifier >> 16;
        if (call.identifier >> 24 == 1 && !failure) {
            continue;
        }
        if (!failure && source != source_of(call.identifier)) {
            source = source_of(call.identifier);
            lines = lines_of(source);
        }
        ASSERT_LT(call.line, lines.size()) << call.text;
        const std::string statement = statement_at(lines, call.line);
        const bool named = statement.find("points::" + kNames.at(call.identifier)) != std::string::npos;
        EXPECT_TRUE(named || (failure && statement.find("_register(") != std::string::npos))
            << call.text << " names line " << call.line << " of " << source;
    }
}

INSTANTIATE_TEST_SUITE_P(Frame, EveryOperation, testing::ValuesIn(operations()),
                         [](const auto &row) { return row.param.name; });

} // namespace
} // namespace ksl::test
