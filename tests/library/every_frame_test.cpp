// SPDX-License-Identifier: Apache-2.0
// The rules that hold for every operation: stamps, entry and exit records, refused arguments, lines of records.
#include "exports/export.h"
#include "scripted_test.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

namespace ksl::test {
namespace {

class EveryOperation : public Opened, public testing::WithParamInterface<Export> {
protected:
    const Export &operation = GetParam();
    const Frame &frame = *operation.frame;

    int32_t run() {
        prepare(platform, operation);
        return operation.run();
    }

    static bool has(const Calls &calls, TracePoint point) {
        return std::any_of(calls.begin(), calls.end(),
                           [&](const Call &call) { return call.identifier == point.identifier; });
    }

    static long stamps(const Calls &calls) {
        return std::count_if(calls.begin(), calls.end(),
                             [](const Call &call) { return call.text.find("gettimeofday") == 0; });
    }

    // Its stamps by number: its own, around those of the operations that it runs.
    const uint32_t own_starts = frame.stamps_its_start ? 1 : 0;
    const uint32_t end = own_starts + 2 * frame.inner_operations;
    const uint32_t last_start = frame.inner_operations == 0 ? 0 : end - 2;
};

TEST_P(EveryOperation, StampsItsStartAndItsEnd) {
    platform.now = {5000, 999990};
    EXPECT_EQ(run(), 0);
    const Calls calls = platform.take();
    ASSERT_GE(calls.size(), 3u + own_starts);
    if (frame.stamps_its_start) {
        EXPECT_EQ(calls[0].text, stamp_start().text);
    }
    EXPECT_EQ(calls[own_starts].identifier, frame.entry.identifier);
    EXPECT_EQ(calls[calls.size() - 2].identifier, frame.exit.identifier);
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
    EXPECT_EQ(run(), 0);
    const Calls calls = platform.take();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[calls.size() - 3].identifier, frame.exit.identifier);
    EXPECT_EQ(calls[calls.size() - 2].text, stamp_end().text);
    // An operation inside has overwritten the start stamp.
    EXPECT_EQ(calls.back().text, record(points::elapsed_time, 31 * (end - last_start)).text);
}

TEST_P(EveryOperation, AnyNonZeroFlagTurnsTimingOn) {
    ksl_time_enabled = 0x80000000u;
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(has(platform.take(), points::elapsed_time));
}

TEST_P(EveryOperation, TracesTheWholeChipNumberAndAddressesItsLowByte) {
    EXPECT_EQ(run(), 0);
    const Calls calls = platform.take();
    EXPECT_EQ(calls[own_starts].text, record(frame.entry, frame.values).text);
    EXPECT_EQ(calls.text().find("chip=0x102"), std::string::npos);
}

TEST_P(EveryOperation, LeavesAtOnceWhenItRefuses) {
    if (!operation.refused) {
        return;
    }
    ksl_enable_time();
    ksl_end_time = {77, 78};
    EXPECT_EQ(operation.refused(), -1);
    const Calls calls = platform.take();
    ASSERT_EQ(calls.size(), 2u) << calls;
    EXPECT_EQ(calls[0].text, stamp_start().text);
    EXPECT_EQ(calls[1].identifier, frame.entry.identifier);
    EXPECT_NE(calls[1].text.find("slots: 0x102 "), std::string::npos);
    EXPECT_EQ(ksl_end_time.tv_sec, 77);
    EXPECT_EQ(ksl_end_time.tv_usec, 78);
}

TEST_P(EveryOperation, IgnoresWhatTheTraceLibraryAnswers) {
    platform.trace_result = -9;
    EXPECT_EQ(run(), 0);
}

TEST_P(EveryOperation, RunsBeforeInitAndAfterTerminate) {
    ksl_terminate();
    platform.take();
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(platform.take().back().text, stamp_end().text);
    ksl_init();
    platform.take();
}

const std::map<uint32_t, std::string> kNames{
#undef KSL_TRACE_POINT
#define KSL_TRACE_POINT(identifier, kind, name, values, text) {identifier, #name},
#include "trace_points.def"
};

struct Source {
    std::string path;
    std::vector<std::string> lines;
};

// All sources of the operations.
const std::vector<Source> &sources() {
    static const std::vector<Source> all = [] {
        std::vector<Source> found;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(KSL_SOURCE_DIR "/src")) {
            if (entry.path().extension() != ".cpp") {
                continue;
            }
            found.push_back({entry.path(), {""}});
            std::ifstream file(entry.path());
            for (std::string line; std::getline(file, line);) {
                found.back().lines.push_back(line);
            }
        }
        return found;
    }();
    return all;
}

// A line and what follows to the end of its statement.
std::string statement_at(const Source &source, size_t line) {
    std::string statement = source.lines[line];
    while (statement.find(';') == std::string::npos && ++line < source.lines.size()) {
        statement += source.lines[line];
    }
    return statement;
}

// Whether the text names a trace point, and not only one whose name begins with it.
bool names(const std::string &text, const std::string &point) {
    const size_t at = text.find("points::" + point);
    const size_t end = at + std::strlen("points::") + point.size();
    return at != std::string::npos && (end == text.size() || (std::isalnum(text[end]) == 0 && text[end] != '_'));
}

const Source *find_source_of(const std::string &point) {
    for (const Source &source : sources()) {
        for (const std::string &line : source.lines) {
            if (names(line, point)) {
                return &source;
            }
        }
    }
    return nullptr;
}

// The source that writes a record.
const Source *source_of(const std::string &point) {
    static std::map<std::string, const Source *> known;
    const auto [at, added] = known.try_emplace(point);
    if (added) {
        at->second = find_source_of(point);
    }
    return at->second;
}

// A record's line is where its operation writes it, also when a helper does the writing.
TEST_P(EveryOperation, NamesTheLinesOfItsOwnSource) {
    platform.failures[1] = 5;
    run();
    Calls calls = platform.take();
    platform.failures.clear();
    run();
    calls += platform.take();
    const Source *source = nullptr;
    for (const Call &call : calls) {
        if (call.identifier == 0) {
            continue;
        }
        // The failure records belong to the operation that wrote last; the other shared ones have lines of the frame.
        const bool failure = call.identifier >> 16 == points::register_read_failed.identifier >> 16;
        if (call.identifier >> 24 == 1 && !failure) {
            continue;
        }
        const std::string &point = kNames.at(call.identifier);
        if (!failure) {
            source = source_of(point);
        }
        ASSERT_NE(source, nullptr) << "no source writes " << point;
        ASSERT_LT(call.line, source->lines.size()) << call.text;
        const std::string statement = statement_at(*source, call.line);
        EXPECT_TRUE(names(statement, point) || (failure && statement.find("_register(") != std::string::npos))
            << call.text << " names line " << call.line << " of " << source->path;
    }
}

// Those that run in a frame, once each.
Exports operations() {
    Exports all = exports();
    std::erase_if(all, [](const Export &exported) { return !exported.frame || !exported.without.empty(); });
    return all;
}

INSTANTIATE_TEST_SUITE_P(Frame, EveryOperation, testing::ValuesIn(operations()),
                         [](const auto &row) { return row.param.name; });

} // namespace
} // namespace ksl::test
