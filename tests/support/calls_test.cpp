// SPDX-License-Identifier: Apache-2.0
#include "scripted_platform.h"

#include <gtest/gtest.h>

namespace ksl::test {
namespace {

// People read a failed comparison of calls.
TEST(CallList, IsPrintedACallToALine) {
    const Calls calls{platform_call("free"), lookup_missing("hwa_getreg")};
    EXPECT_EQ(testing::PrintToString(calls), "\n" + calls.text());
    EXPECT_NE(calls.text().find("free\n"), std::string::npos);
    EXPECT_NE(calls.text().find("hwa_getreg"), std::string::npos);
}

} // namespace
} // namespace ksl::test
