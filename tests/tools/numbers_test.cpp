// SPDX-License-Identifier: Apache-2.0
#include "kslctl/command_line/numbers.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl;
using testing::ElementsAre;

constexpr NumberKind kKind{"thing", 2, 300};

std::string complaint(std::string_view text) {
    try {
        parse_list(text, kKind);
    } catch (const ArgumentError &error) {
        return error.what();
    }
    return "none";
}

TEST(Numbers, ListsHoldNumbersAndRangesInTheOrderGiven) {
    EXPECT_THAT(parse_list("7", kKind), ElementsAre(7));
    EXPECT_THAT(parse_list("9,2,9", kKind), ElementsAre(9, 2, 9));
    EXPECT_THAT(parse_list("3-5,2-2,0x10-0x11", kKind), ElementsAre(3, 4, 5, 2, 16, 17));
}

TEST(Numbers, BothLimitsBelongToTheKind) {
    EXPECT_EQ(parse_number("2", kKind), 2U);
    EXPECT_EQ(parse_number("0x12c", kKind), 300U);
    EXPECT_EQ(parse_list("299-300", kKind).size(), 2U);
    EXPECT_THROW(parse_number("1", kKind), ArgumentError);
    EXPECT_THROW(parse_number("301", kKind), ArgumentError);
    EXPECT_EQ(parse_number("4294967295", {"index", 0, 0xFFFFFFFF}), 0xFFFFFFFFU);
}

TEST(Numbers, WhatIsNoNumberIsNamed) {
    for (const char *text : {"", "x", "3x", "0x", "-3", "3-", "3--4", "3-4-5", "1-4", "300-301", "4294967296"}) {
        EXPECT_EQ(complaint(text), "\"" + std::string(text) + "\" is no thing; they go from 2 to 300");
    }
    EXPECT_EQ(complaint("3,,4"), "\"\" is no thing; they go from 2 to 300");
    EXPECT_EQ(complaint("3,4,"), "\"\" is no thing; they go from 2 to 300");
    EXPECT_EQ(complaint("7,9-4"), "the range \"9-4\" runs backwards");
}

TEST(Numbers, AlsoTheLastNumberOfAllEndsARange) {
    EXPECT_THAT(parse_list("4294967294-4294967295", {"index", 0, 0xFFFFFFFF}), ElementsAre(0xFFFFFFFE, 0xFFFFFFFF));
}

} // namespace
