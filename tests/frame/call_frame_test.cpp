// SPDX-License-Identifier: Apache-2.0
#include "scripted_test.h"

#include <array>

namespace ksl::test {
namespace {

using Helpers = Opened;

const uint8_t kBytes[9] = {0x81, 0x82, 0x83, 0xFF, 0x05, 0x06, 0x07, 0x08, 0x09};

TEST_F(Helpers, EveryLengthHasItsTracePoint) {
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

} // namespace
} // namespace ksl::test
