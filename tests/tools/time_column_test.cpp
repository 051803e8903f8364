// SPDX-License-Identifier: Apache-2.0
#include "ksltrace/time_column.h"

#include <gmock/gmock.h>

namespace {

using namespace ksltrace;

// 2024-02-29 23:59:58.999999 UTC.
constexpr uint64_t kStart = 1'709'251'198'999'999'000;
constexpr uint64_t kSecond = 1'000'000'000;

TEST(TimeColumn, ADaysDateIsThereOnce) {
    TimeColumn times(TimeStyle::of_day);
    EXPECT_EQ(times.heading(kStart), "2024-02-29 UTC\n");
    EXPECT_EQ(times.next(kStart), "23:59:58.999999");
    EXPECT_EQ(times.heading(kStart + kSecond), "");
    EXPECT_EQ(times.next(kStart + kSecond), "23:59:59.999999");
    EXPECT_EQ(times.heading(kStart + 2 * kSecond), "2024-03-01 UTC\n");
    EXPECT_EQ(times.next(kStart + 2 * kSecond), "00:00:00.999999");
    EXPECT_EQ(times.heading(kStart), "2024-02-29 UTC\n"); // the clock was set back
}

TEST(TimeColumn, CountsFromTheFirstLine) {
    TimeColumn times(TimeStyle::relative);
    EXPECT_EQ(times.heading(kStart), "seconds since 2024-02-29T23:59:58.999999Z\n");
    EXPECT_EQ(times.next(kStart), "     0.000000");
    EXPECT_EQ(times.heading(kStart + 1000), "");
    EXPECT_EQ(times.next(kStart + 1000), "     0.000001");
    EXPECT_EQ(times.next(kStart + 90 * kSecond), "    90.000000");
    EXPECT_EQ(times.next(kStart - kSecond), "    -1.000000");
}

TEST(TimeColumn, CountsFromLineToLine) {
    TimeColumn times(TimeStyle::delta);
    EXPECT_EQ(times.heading(kStart), "seconds since the line before, from 2024-02-29T23:59:58.999999Z\n");
    EXPECT_EQ(times.next(kStart), "    +0.000000");
    EXPECT_EQ(times.next(kStart + 1000), "    +0.000001");
    EXPECT_EQ(times.next(kStart + 90 * kSecond + 1000), "   +90.000000");
    EXPECT_EQ(times.next(kStart), "   -90.000001");
}

TEST(TimeColumn, FullTimesNeedNoHeading) {
    TimeColumn times;
    EXPECT_EQ(times.heading(kStart), "");
    EXPECT_EQ(times.next(kStart), "2024-02-29T23:59:58.999999Z");
    EXPECT_EQ(times.width(), 27U);
}

} // namespace
