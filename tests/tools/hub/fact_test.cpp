// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/fact.h"

#include <gtest/gtest.h>

namespace {

using namespace kslctl::hub;

const Failure kFailure{1, "operation", "register", 17};

TEST(Fact, MeansNothingAtFirst) {
    const Fact<int> fact;
    EXPECT_FALSE(fact.is_read());
    EXPECT_EQ(fact.failure(), nullptr);
}

TEST(Fact, HoldsAValueOrItsFailure) {
    const Fact<int> read = 5;
    ASSERT_TRUE(read.is_read());
    EXPECT_EQ(*read, 5);
    EXPECT_EQ(read.failure(), nullptr);

    const Fact<int> not_read = kFailure;
    EXPECT_FALSE(not_read.is_read());
    ASSERT_NE(not_read.failure(), nullptr);
    EXPECT_EQ(*not_read.failure(), kFailure);
}

TEST(Fact, OnlyAValueIsSeenInAnotherWay) {
    int asked = 0;
    const auto text = [&](int value) {
        ++asked;
        return std::to_string(value);
    };
    EXPECT_EQ(Fact<int>(5).map(text), Fact<std::string>("5"));
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(Fact<int>(kFailure).map(text), Fact<std::string>(kFailure));
    EXPECT_EQ(Fact<int>().map(text), Fact<std::string>());
    EXPECT_EQ(asked, 1);
}

TEST(Fact, OnlyAValueThatIsSuchMeansSomething) {
    const auto is_five = [](int value) { return value == 5; };
    EXPECT_EQ(Fact<int>(5).where(is_five), Fact<int>(5));
    EXPECT_EQ(Fact<int>(6).where(is_five), Fact<int>());
    EXPECT_EQ(Fact<int>(kFailure).where(is_five), Fact<int>(kFailure));
    EXPECT_EQ(Fact<int>().where(is_five), Fact<int>());
}

} // namespace
